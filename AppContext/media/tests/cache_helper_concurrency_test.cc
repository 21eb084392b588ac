// The storages are process-wide, so each test points the caches directory at
// a fresh folder and forgets the storages before and after.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "app_context/media/cache_helper.h"
#include "cache/md5.h"
#include "platform/directories.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Locations = platform::Directories::Locations;

std::optional<platform::Data> readAndWait(CacheHelper& helper, const std::string& key) {
  std::promise<std::optional<platform::Data>> promise;
  helper.read(key, [&promise](std::optional<platform::Data> data) { promise.set_value(std::move(data)); });
  return promise.get_future().get();
}

// A read queued behind a write on the same serial queue completes after it.
void writeAndWait(CacheHelper& helper, const std::string& text, const std::string& key) {
  helper.write(platform::dataFromString(text), key);
  (void)readAndWait(helper, key);
}

class CacheHelperTest : public ::testing::Test {
 protected:
  CacheHelperTest() {
    std::string pattern = (fs::temp_directory_path() / "aurimo-cache-helper-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    root_ = pattern;
    previous_ = platform::Directories::slot().replace(
        std::make_shared<platform::Directories>(Locations{root_, root_, root_ / "caches", root_}));
    CacheHelper::resetStoragesForTesting();
  }
  ~CacheHelperTest() override {
    CacheHelper::resetStoragesForTesting();
    platform::Directories::slot().replace(previous_);
    fs::remove_all(root_);
  }

  fs::path user() const { return root_ / "caches" / CacheHelper::kUserImageCacheName; }
  fs::path images() const { return root_ / "caches" / CacheHelper::kImageCacheName; }

  fs::path root_;
  std::shared_ptr<platform::Directories> previous_;
};

TEST_F(CacheHelperTest, KeysRouteByPlainPrefixAndAreStoredUnchanged) {
  const std::vector<std::pair<std::string, bool>> cases = {
      // key, goes to UserImageCache
      {"/image/a", true},   {"image/a", true},  {"images/a", false}, {"/images/a", false},
      {"x/image/a", false}, {"Image/a", false}, {"image", false},    {"//image/a", false}};
  CacheHelper helper;
  for (const auto& [key, isUser] : cases) writeAndWait(helper, "bytes of " + key, key);
  for (const auto& [key, isUser] : cases) {
    SCOPED_TRACE(key);
    EXPECT_EQ(CacheHelper::storageName(key), isUser ? "UserImageCache" : "ImageCache");
    // Named after the whole key, prefix included.
    EXPECT_TRUE(fs::is_regular_file((isUser ? user() : images()) / cache::MD5(key)));
    EXPECT_FALSE(fs::exists((isUser ? images() : user()) / cache::MD5(key)));
    EXPECT_EQ(readAndWait(helper, key), platform::dataFromString("bytes of " + key));
  }
}

TEST_F(CacheHelperTest, NeverWrittenKeysReadAbsentInEitherStorage) {
  CacheHelper helper;
  writeAndWait(helper, "x", "image/written");
  for (const std::string key : {"image/missing", "missing", "", "image/written.jpg"}) {
    EXPECT_EQ(readAndWait(helper, key), std::nullopt) << key;
  }
}

TEST_F(CacheHelperTest, InstancesShareTheSameEntriesAndOutliveEachOther) {
  auto first = std::make_unique<CacheHelper>();
  CacheHelper second;
  writeAndWait(*first, "one", "image/shared.png");
  writeAndWait(second, "two", "shared.png");
  first.reset();
  EXPECT_EQ(readAndWait(second, "image/shared.png"), platform::dataFromString("one"));
  EXPECT_EQ(readAndWait(*std::make_unique<CacheHelper>(), "shared.png"), platform::dataFromString("two"));
}

TEST_F(CacheHelperTest, EachStorageIsCreatedByItsFirstUseOnly) {
  CacheHelper helper;
  EXPECT_FALSE(fs::exists(root_ / "caches"));
  EXPECT_EQ(readAndWait(helper, "image/a"), std::nullopt);
  EXPECT_TRUE(fs::is_directory(user()));
  EXPECT_FALSE(fs::exists(images()));
  writeAndWait(helper, "x", "b");
  EXPECT_TRUE(fs::is_directory(images()));
}

TEST_F(CacheHelperTest, ConcurrentFirstUsesCreateOneStorage) {
  std::vector<const CacheHelper::DataStorage*> seen(8);
  std::promise<void> start;
  std::shared_future<void> go = start.get_future().share();
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    threads.emplace_back([&seen, go, i] {
      go.wait();
      seen[i] = &CacheHelper::storage("image/" + std::to_string(i));
    });
  }
  start.set_value();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 1u);
}

TEST_F(CacheHelperTest, StorageThatCannotBeCreatedIsFatalNamingItsLine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const auto& [key, line] : {std::pair{"a", "15"}, std::pair{"image/a", "23"}}) {
    // The child re-runs this fixture, so it drops its own folder before dying.
    EXPECT_DEATH(
        {
          fs::remove_all(root_);
          platform::Directories::slot().replace(
              std::make_shared<platform::Directories>(Locations{root_, root_, "/dev/null/caches", root_}));
          CacheHelper().read(key, [](std::optional<platform::Data>) {});
        },
        std::string("Fatal error: .+: file AppContext/CacheHelper, line ") + line + "\n");
  }
}

}  // namespace
}  // namespace aurimo
