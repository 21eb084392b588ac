// CacheHelper over a temporary caches directory. The storages are process-wide,
// so each test points the caches directory at a fresh folder and forgets the
// storages before and after (resetStoragesForTesting).

#include "app_context/media/cache_helper.h"

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

#include "cache/md5.h"
#include "platform/directories.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;

std::optional<platform::Data> readAndWait(CacheHelper& helper, const std::string& key) {
  std::promise<std::optional<platform::Data>> promise;
  helper.read(key, [&promise](std::optional<platform::Data> data) { promise.set_value(std::move(data)); });
  return promise.get_future().get();
}

// A read queued behind a write on the same serial queue completes after it.
void writeAndWait(CacheHelper& helper, const platform::Data& data, const std::string& key) {
  helper.write(data, key);
  (void)readAndWait(helper, key);
}

void pointCachesAt(const fs::path& caches) {
  platform::Directories::slot().replace(
      std::make_shared<platform::Directories>(platform::Directories::Locations{caches, caches, caches, caches}));
}

class CacheHelperTest : public ::testing::Test {
 protected:
  CacheHelperTest() {
    std::string pattern = (fs::temp_directory_path() / "aurimo-cache-helper-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    root_ = pattern;
    previous_ = platform::Directories::slot().replace(std::make_shared<platform::Directories>(
        platform::Directories::Locations{root_ / "data", root_ / "data", root_ / "caches", root_ / "pictures"}));
    CacheHelper::resetStoragesForTesting();
  }
  ~CacheHelperTest() override {
    CacheHelper::resetStoragesForTesting();
    platform::Directories::slot().replace(previous_);
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }

  fs::path storageDirectory(std::string_view name) const { return root_ / "caches" / name; }

  fs::path root_;
  std::shared_ptr<platform::Directories> previous_;
};

TEST_F(CacheHelperTest, KeysRouteByPlainPrefixAndAreStoredUnchanged) {
  struct Case {
    std::string key;
    std::string_view storage;
  };
  const std::vector<Case> cases = {
      {"/image/a", CacheHelper::kUserImageCacheName}, {"image/a", CacheHelper::kUserImageCacheName},
      {"images/a", CacheHelper::kImageCacheName},     {"/images/a", CacheHelper::kImageCacheName},
      {"x/image/a", CacheHelper::kImageCacheName},    {"Image/a", CacheHelper::kImageCacheName},
      {"image", CacheHelper::kImageCacheName},        {"//image/a", CacheHelper::kImageCacheName},
  };
  CacheHelper helper;
  for (const Case& c : cases) writeAndWait(helper, platform::dataFromString("bytes of " + c.key), c.key);

  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(CacheHelper::storageName(c.key), c.storage);
    const std::string_view other =
        c.storage == CacheHelper::kImageCacheName ? CacheHelper::kUserImageCacheName : CacheHelper::kImageCacheName;
    // The file is named after the whole key, prefix included.
    const std::string file = cache::MD5(c.key);
    EXPECT_TRUE(fs::is_regular_file(storageDirectory(c.storage) / file));
    EXPECT_FALSE(fs::exists(storageDirectory(other) / file));
    EXPECT_EQ(readAndWait(helper, c.key), platform::dataFromString("bytes of " + c.key));
  }
}

TEST_F(CacheHelperTest, NeverWrittenKeysReadAbsentInEitherStorage) {
  CacheHelper helper;
  writeAndWait(helper, platform::dataFromString("x"), "image/written");
  for (const std::string key : {"image/missing", "missing", "", "image/written.jpg"}) {
    EXPECT_EQ(readAndWait(helper, key), std::nullopt) << key;
  }
}

TEST_F(CacheHelperTest, InstancesShareTheSameEntries) {
  auto first = std::make_unique<CacheHelper>();
  CacheHelper second;
  for (const std::string key : {"image/shared.png", "https://cdn.example.com/shared.png"}) {
    writeAndWait(*first, platform::dataFromString("one"), key);
    EXPECT_EQ(readAndWait(second, key), platform::dataFromString("one")) << key;
    writeAndWait(second, platform::dataFromString("two"), key);
    EXPECT_EQ(readAndWait(*first, key), platform::dataFromString("two")) << key;
  }
  first.reset();
  EXPECT_EQ(readAndWait(second, "image/shared.png"), platform::dataFromString("two"))
      << "the storages outlive every instance";
}

TEST_F(CacheHelperTest, EachStorageIsCreatedByItsFirstUseOnly) {
  CacheHelper helper;
  EXPECT_FALSE(fs::exists(root_ / "caches"));

  EXPECT_EQ(readAndWait(helper, "image/a"), std::nullopt);
  EXPECT_TRUE(fs::is_directory(storageDirectory(CacheHelper::kUserImageCacheName)));
  EXPECT_FALSE(fs::exists(storageDirectory(CacheHelper::kImageCacheName)));

  helper.write(platform::dataFromString("x"), "b");
  EXPECT_TRUE(fs::is_directory(storageDirectory(CacheHelper::kImageCacheName)));
  (void)readAndWait(helper, "b");
}

TEST_F(CacheHelperTest, ConcurrentFirstUsesCreateOneStorage) {
  constexpr int kThreads = 8;
  std::vector<const CacheHelper::DataStorage*> seen(kThreads);
  std::promise<void> start;
  std::shared_future<void> go = start.get_future().share();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
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
  struct Case {
    std::string key;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"a", "Fatal error: .+: file AppContext/CacheHelper, line 15\n"},
      {"image/a", "Fatal error: .+: file AppContext/CacheHelper, line 23\n"},
  };
  for (const Case& c : cases) {
    // The child re-runs this fixture, so it drops its own folder before dying.
    EXPECT_DEATH(
        {
          fs::remove_all(root_);
          pointCachesAt("/dev/null/caches");
          CacheHelper().read(c.key, [](std::optional<platform::Data>) {});
        },
        c.message)
        << c.key;
  }
}

}  // namespace
}  // namespace aurimo
