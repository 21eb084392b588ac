#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "platform/run_loop.h"
#include "platform/user_defaults.h"
#include "testing/faulty_file_manager.h"
#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

using platform::UserDefaults;

// Holds the first save inside its write until released; counts the saves,
// one temporary file each.
struct HeldFiles : test::FaultyFileManager {
  platform::WritableFile createTemporaryFile(const std::string& directory, std::string_view prefix) override {
    if (saves++ == 0) {
      writing.set_value();
      released.get_future().wait();
    }
    return FaultyFileManager::createTemporaryFile(directory, prefix);
  }
  std::atomic<int> saves{0};
  std::promise<void> writing, released;
};

TEST(UserDefaultsConcurrency, ChangesShareTheSaveNotYetStartedAndNoneIsLostToTheDestructor) {
  test::TemporaryDirectory tmp;
  const std::filesystem::path file = tmp.path() / UserDefaults::kFileName;
  HeldFiles files;
  std::future<void> writing = files.writing.get_future();
  {
    UserDefaults defaults(file, files);
    defaults.set(0, "n");
    writing.wait();  // the first save is held in its write, and set() did not wait for it
    for (int n = 1; n <= 50; ++n) defaults.set(n, "n");
    EXPECT_EQ(defaults.integerForKey("n"), 50);
    files.released.set_value();
    platform::RunLoop::main().runUntilAllQueuesIdle();
    EXPECT_EQ(files.saves, 2);
    EXPECT_EQ(UserDefaults(file).integerForKey("n"), 50);
    for (int n = 51; n <= 500; ++n) defaults.set(n, "n");  // racing their saves, then the destructor
  }
  platform::RunLoop::main().runUntilAllQueuesIdle();
  EXPECT_EQ(UserDefaults(file).integerForKey("n"), 500);
}

}  // namespace
}  // namespace aurimo
