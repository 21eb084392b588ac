#include "shared_views_kit/qz_cdn_image_loader_memory_data_cache.h"

#include <gtest/gtest.h>

#include <optional>

namespace SharedViewsKit {
namespace {

std::optional<platform::Data> readNow(QzCDNImageLoaderDataCacheProtocol& cache, const std::string& key) {
  std::optional<platform::Data> result;
  int calls = 0;
  cache.read(key, [&](std::optional<platform::Data> data) {
    result = std::move(data);
    ++calls;
  });
  EXPECT_EQ(calls, 1);
  return result;
}

TEST(QzCDNImageLoaderMemoryDataCacheTest, MissesUntilWrittenThenKeepsTheLatestBytes) {
  QzCDNImageLoaderMemoryDataCache cache;
  EXPECT_EQ(readNow(cache, "a.jpg"), std::nullopt);

  cache.write(platform::dataFromString("one"), "a.jpg");
  cache.write(platform::dataFromString("two"), "a.jpg");
  cache.write(platform::Data{}, "empty.jpg");

  EXPECT_EQ(readNow(cache, "a.jpg"), platform::dataFromString("two"));
  EXPECT_EQ(readNow(cache, "empty.jpg"), platform::Data{}) << "empty bytes are a hit, not a miss";
  EXPECT_EQ(readNow(cache, "A.jpg"), std::nullopt);
}

TEST(QzCDNImageLoaderMemoryDataCacheTest, CompletionMayWriteBackWithoutDeadlock) {
  QzCDNImageLoaderMemoryDataCache cache;
  cache.read("a", [&](std::optional<platform::Data> data) {
    if (!data) cache.write(platform::dataFromString("filled"), "a");
  });
  EXPECT_EQ(readNow(cache, "a"), platform::dataFromString("filled"));
}

}  // namespace
}  // namespace SharedViewsKit
