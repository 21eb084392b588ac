#include "platform/atomic_file.h"

#include <gtest/gtest.h>

#include <fstream>

#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

std::vector<std::string> entries(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(AtomicFile, ReplacesContentPrivatelyAndLeavesNoTemporaryFiles) {
  test::TemporaryDirectory tmp;
  const auto path = tmp.path() / "settings.json";
  for (std::string content : {"first, longer content", "second", ""}) {
    ASSERT_FALSE(platform::writeFileAtomically(path, platform::dataFromString(content)));
    platform::ReadFileResult read = platform::readFile(path);
    ASSERT_TRUE(read);
    EXPECT_EQ(platform::stringView(*read.data), content);
  }
  EXPECT_EQ(test::permissions(path), 0600u);
  EXPECT_EQ(entries(tmp.path()), std::vector<std::string>{"settings.json"});
}

TEST(AtomicFile, FailuresKeepTheTargetCleanUpAndNameThePath) {
  test::TemporaryDirectory tmp;
  // A non-empty folder cannot be renamed over, so the write fails at the last step.
  const auto target = tmp.path() / "busy";
  std::filesystem::create_directories(target / "inside");
  auto error = platform::writeFileAtomically(target, platform::dataFromString("new"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->operation, "rename");
  EXPECT_NE(error->message().find(target.string()), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_directory(target / "inside"));
  EXPECT_EQ(entries(tmp.path()), std::vector<std::string>{"busy"});

  auto missingFolder = platform::writeFileAtomically(tmp.path() / "no" / "file", platform::Data{});
  ASSERT_TRUE(missingFolder);
  EXPECT_TRUE(missingFolder->isNotFound());

  platform::ReadFileResult missing = platform::readFile(tmp.path() / "absent");
  ASSERT_FALSE(missing);
  EXPECT_TRUE(missing.error->isNotFound());
  EXPECT_EQ(missing.error->message(), "open " + (tmp.path() / "absent").string() + ": No such file or directory");

  platform::ReadFileResult folder = platform::readFile(tmp.path());
  ASSERT_FALSE(folder);
  EXPECT_EQ(folder.error->code(), std::errc::is_a_directory);
}

}  // namespace

}  // namespace aurimo
