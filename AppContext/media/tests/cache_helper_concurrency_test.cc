#include <gtest/gtest.h>

#include <filesystem>
#include <latch>
#include <set>
#include <thread>

#include "app_context/media/cache_helper.h"
#include "cache/md5.h"
#include "platform/directories.h"
#include "testing/environment.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;

// The storages are process-wide: each test starts them afresh in its own caches folder.
class CacheHelperTest : public ::testing::Test {
 protected:
  CacheHelperTest() { CacheHelper::resetStoragesForTesting(); }
  ~CacheHelperTest() override {
    env_.runUntilIdle();
    CacheHelper::resetStoragesForTesting();
  }

  std::optional<platform::Data> read(const std::string& key) {
    std::optional<platform::Data> result = platform::dataFromString("never answered");
    CacheHelper().read(key, [&](std::optional<platform::Data> data) { result = std::move(data); });
    env_.runUntilIdle();
    return result;
  }
  fs::path folder(std::string_view storage) const { return env_.cachesDirectory() / storage; }

  test::Environment env_;
};

TEST_F(CacheHelperTest, KeysRouteByPlainPrefixToStoragesMadeOnFirstUseAndSharedByEveryInstance) {
  EXPECT_EQ(read("image/a"), std::nullopt);
  EXPECT_TRUE(fs::is_directory(folder("UserImageCache")));
  EXPECT_FALSE(fs::exists(folder("ImageCache")));

  const std::pair<std::string, bool> cases[] = {  // key, goes to UserImageCache
      {"/image/a", true},   {"image/a", true},  {"images/a", false}, {"/images/a", false},
      {"x/image/a", false}, {"Image/a", false}, {"image", false},    {"//image/a", false}};
  for (const auto& [key, isUser] : cases) CacheHelper().write(platform::dataFromString("bytes of " + key), key);
  env_.runUntilIdle();
  for (const auto& [key, isUser] : cases) {
    SCOPED_TRACE(key);
    EXPECT_EQ(CacheHelper::storageName(key), isUser ? "UserImageCache" : "ImageCache");
    // Named after the whole key, prefix included.
    EXPECT_TRUE(fs::is_regular_file(folder(isUser ? "UserImageCache" : "ImageCache") / cache::MD5(key)));
    EXPECT_FALSE(fs::exists(folder(isUser ? "ImageCache" : "UserImageCache") / cache::MD5(key)));
    EXPECT_EQ(read(key), platform::dataFromString("bytes of " + key));
  }
  for (const std::string key : {"image/missing", "missing", "", "image/a.jpg"}) EXPECT_EQ(read(key), std::nullopt);
}

TEST_F(CacheHelperTest, ConcurrentFirstUsesCreateOneStorage) {
  std::vector<const CacheHelper::DataStorage*> seen(8);
  std::latch go(1);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < seen.size(); ++i) {
      threads.emplace_back([&, i] {
        go.wait();
        seen[i] = &CacheHelper::storage("image/" + std::to_string(i));
      });
    }
    go.count_down();
  }
  EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 1u);
  EXPECT_EQ(seen[0], &CacheHelper::storage("/image/"));
}

TEST_F(CacheHelperTest, StorageThatCannotBeCreatedIsFatalNamingItsLine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const auto& [key, line] : {std::pair{"a", "15"}, std::pair{"image/a", "23"}}) {
    // The child runs this test afresh in its own world and drops that folder before dying.
    EXPECT_DEATH(
        {
          fs::remove_all(env_.root());
          platform::Directories::slot().replace(std::make_shared<platform::Directories>(
              platform::Directories::Locations{env_.root(), env_.root(), "/dev/null/caches", env_.root()}));
          CacheHelper().read(key, nullptr);
        },
        std::string("Fatal error: .+: file AppContext/CacheHelper, line ") + line + "\n");
  }
}

}  // namespace
}  // namespace aurimo
