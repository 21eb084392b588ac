#include "platform/file_manager.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>

#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using platform::FileManager;
using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

using test::namesIn;
using namespace std::chrono_literals;

class FileManagerTest : public ::testing::Test {
 protected:
  test::TemporaryDirectory tmp_;
  const std::string root_ = tmp_.path().string();
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

TEST_F(FileManagerTest, ErrorsNameTheOperationPathAndErrno) {
  const auto errorOf = [](const std::function<void()>& operation) -> std::string {
    try {
      operation();
    } catch (const fs::filesystem_error& error) {
      return platform::fileErrorMessage(error);
    }
    return "";
  };
  const std::string missing = root_ + "/missing", kept = root_ + "/kept", other = root_ + "/other";
  std::ofstream(kept) << "kept";
  std::ofstream(other) << "other";
  EXPECT_EQ(errorOf([&] { files_.removeItem(missing); }), "unlink " + missing + ": No such file or directory");
  EXPECT_EQ(errorOf([&] { files_.contentsOfFile(missing); }), "open " + missing + ": No such file or directory");
  EXPECT_EQ(errorOf([&] { files_.contentsOfFile(root_); }), "read " + root_ + ": Is a directory");
  EXPECT_EQ(errorOf([&] { files_.renameItem(missing, kept); }), "rename " + kept + ": No such file or directory");
  EXPECT_EQ(errorOf([&] { files_.moveItem(other, kept); }), "rename " + kept + ": File exists");
  EXPECT_EQ(errorOf([&] { files_.createDirectory(root_, false); }), "mkdir " + root_ + ": File exists");
  EXPECT_EQ(errorOf([&] { files_.createDirectory(root_, true); }), "");
  EXPECT_EQ(errorOf([&] { files_.createDirectory(kept + "/sub", true); }), "mkdir " + kept + ": Not a directory");
  EXPECT_THAT(errorOf([&] { files_.writeFileAtomically(root_ + "/no/f", {}, ".t-", std::nullopt); }),
              AllOf(StartsWith("open " + root_ + "/no/.t-"), EndsWith(": No such file or directory")));
  EXPECT_EQ(platform::stringView(files_.contentsOfFile(kept).data), "kept");
  EXPECT_EQ(namesIn(root_), (std::vector<std::string>{"kept", "other"}));
}

// Notes the steps that decide what survives a power cut.
class RecordingFileManager : public platform::FileManagerWrapper {
 public:
  using FileManagerWrapper::FileManagerWrapper;
  void syncFile(platform::WritableFile& file) override {
    steps.push_back("sync file");
    FileManagerWrapper::syncFile(file);
  }
  void renameItem(const std::string& from, const std::string& to) override {
    steps.push_back("rename");
    FileManagerWrapper::renameItem(from, to);
  }
  void syncDirectory(const std::string& path) override {
    steps.push_back("sync " + path);
    FileManagerWrapper::syncDirectory(path);
  }
  std::vector<std::string> steps;
};

TEST_F(FileManagerTest, WritesAtomicallyAndKeepsFilesAndFoldersPrivate) {
  const platform::Date date = platform::dateFromUnixSeconds(2'000'000'000.25);
  const std::string file = root_ + "/f";
  const struct {
    FileManager::SyncPolicy policy;
    std::vector<std::string> steps;
  } cases[] = {
      {FileManager::SyncPolicy::none, {"rename"}},
      {FileManager::SyncPolicy::durable, {"sync file", "rename", "sync " + root_}},
  };
  for (const auto& c : cases) {
    for (std::string content : {"first, longer content", "second", ""}) {
      RecordingFileManager recording(files_);
      recording.writeFileAtomically(file, platform::dataFromString(content), ".t-", date, c.policy);
      EXPECT_EQ(recording.steps, c.steps);
      const platform::FileContents read = files_.contentsOfFile(file);
      EXPECT_EQ(platform::stringView(read.data), content);
      EXPECT_EQ(read.attributes.modificationDate, date);
    }
  }
  EXPECT_EQ(test::permissions(file), 0600u);
  EXPECT_EQ(namesIn(root_), std::vector<std::string>{"f"});

  // Private folders are narrowed even when they exist; whole trees are removed.
  files_.createPrivateDirectory(root_ + "/x/y");
  EXPECT_EQ(test::permissions(root_ + "/x"), 0700u);
  fs::permissions(root_ + "/x/y", fs::perms::all);
  files_.createPrivateDirectory(root_ + "/x/y");
  EXPECT_EQ(test::permissions(root_ + "/x/y"), 0700u);
  std::ofstream(root_ + "/x/y/f") << "f";
  files_.removeItem(root_ + "/x");
  EXPECT_FALSE(files_.fileExists(root_ + "/x"));
}

TEST_F(FileManagerTest, DatesBeyond1677To2262SaturateInsteadOfWrapping) {
  using platform::Date;
  for (const auto& [seconds, date] : std::vector<std::pair<double, Date>>{
           {1e10, Date::max()}, {-1e10, Date::min()}, {9'223'372'037.0, Date::max()}, {1e300, Date::max()},
           {-1e300, Date::min()}, {std::nan(""), Date()}, {-1.5, Date(-1500ms)}}) {
    EXPECT_EQ(platform::dateFromUnixSeconds(seconds), date) << seconds;
    EXPECT_EQ(Date() + platform::seconds(seconds), date) << seconds;
  }
  const std::string file = root_ + "/f";
  std::ofstream(file) << "f";
  const struct timespec year2300[2] = {{0, UTIME_OMIT}, {10'413'792'000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), year2300, 0), 0);
  EXPECT_EQ(files_.attributesOfItem(file).modificationDate, Date::max()) << "not 1861";
  EXPECT_EQ(files_.contentsOfFile(file).attributes.modificationDate, Date::max());
  for (const Date date : {Date::max(), Date::min()}) {
    files_.setModificationDate(file, date);
    EXPECT_EQ(files_.attributesOfItem(file).modificationDate >= Date(), date == Date::max());
  }
}

}  // namespace
}  // namespace aurimo
