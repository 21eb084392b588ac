#include "platform/file_manager.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

namespace aurimo {
namespace {

namespace fs = std::filesystem;

class FileManagerTest : public ::testing::Test {
 protected:
  FileManagerTest() {
    std::string pattern = (fs::temp_directory_path() / "file_manager_test.XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~FileManagerTest() override { fs::remove_all(root_); }

  std::string root_;
  platform::PosixFileManager files_;
};

TEST_F(FileManagerTest, EnumerationRecursesAndSkipsRejectedNamesWithoutEnteringThem) {
  files_.createDirectory(root_ + "/sub/deeper", true);
  files_.createDirectory(root_ + "/.hidden", false);
  for (const char* name : {"/a", "/sub/b", "/sub/deeper/c", "/.hidden/d", "/.e"}) {
    std::ofstream(root_ + name) << std::string(5000, 'z');
  }
  std::map<std::string, platform::FileAttributes> seen;
  ASSERT_TRUE(files_.enumerateDirectory(root_, [](std::string_view name) { return name.front() != '.'; },
                                        [&](const platform::DirectoryEntry& entry) {
                                          EXPECT_EQ(fs::path(entry.path).filename(), entry.name);
                                          seen.emplace(entry.path.substr(root_.size()), entry.attributes);
                                        }));
  std::vector<std::string> paths;
  for (const auto& [path, attributes] : seen) paths.push_back(path);
  EXPECT_EQ(paths, (std::vector<std::string>{"/a", "/sub", "/sub/b", "/sub/deeper", "/sub/deeper/c"}));
  struct stat status;
  ASSERT_EQ(::stat((root_ + "/a").c_str(), &status), 0);
  EXPECT_EQ(seen["/a"].size, 5000u);
  EXPECT_EQ(seen["/a"].totalFileAllocatedSize, static_cast<std::uint64_t>(status.st_blocks) * 512);
  EXPECT_TRUE(seen["/sub"].isDirectory());
  EXPECT_FALSE(files_.enumerateDirectory(root_ + "/missing", nullptr, [](const auto&) {}));
}

TEST_F(FileManagerTest, ErrorsCarryThePathAndErrno) {
  const auto errorOf = [](const std::function<void()>& operation) -> std::pair<int, std::string> {
    try {
      operation();
    } catch (const fs::filesystem_error& error) {
      return {error.code().value(), error.path1().string()};
    }
    return {0, ""};
  };
  const std::string missing = root_ + "/missing";
  EXPECT_EQ(errorOf([&] { files_.removeItem(missing); }), std::make_pair(ENOENT, missing));
  EXPECT_EQ(errorOf([&] { files_.contentsOfFile(missing); }), std::make_pair(ENOENT, missing));
  EXPECT_EQ(errorOf([&] { files_.createDirectory(root_, false); }), std::make_pair(EEXIST, root_));
  EXPECT_EQ(errorOf([&] { files_.createDirectory(root_, true); }).first, 0);
}

TEST_F(FileManagerTest, AtomicWriteSetsDateAndRemovesDirectoryTrees) {
  const platform::Date date = platform::dateFromUnixSeconds(2'000'000'000.25);
  files_.createDirectory(root_ + "/x/y", true);
  files_.writeFileAtomically(root_ + "/x/y/f", platform::dataFromString("hello"), ".t-", date);
  const platform::FileContents contents = files_.contentsOfFile(root_ + "/x/y/f");
  EXPECT_EQ(platform::stringView(contents.data), "hello");
  EXPECT_EQ(contents.attributes.modificationDate, date);
  EXPECT_EQ(std::distance(fs::directory_iterator(root_ + "/x/y"), fs::directory_iterator()), 1);
  EXPECT_EQ(fs::status(root_ + "/x").permissions() & fs::perms::all, fs::perms::owner_all);
  files_.removeItem(root_ + "/x");
  EXPECT_FALSE(files_.fileExists(root_ + "/x"));
}

}  // namespace

}  // namespace aurimo
