#pragma once
// CacheHelper: the on-device byte cache behind the CDN image loader. Every
// instance shares two process-wide storages, each created on first use and
// kept for the life of the process: "UserImageCache" (512 MiB on disk) for
// keys that start with "/image/" or "image/", "ImageCache" (384 MiB) for all
// others. Both keep entries forever (Expiry::never), memory unbounded, and
// live in the caches directory. A storage that cannot be created is fatal.
//
// Thread contract: any thread. Both operations return at once; the work and
// read's completion run on the chosen storage's async queue, never on the
// caller's or the main thread.
//
//   aurimo::CacheHelper cache;
//   cache.read("image/42.jpg", [](std::optional<platform::Data> bytes) { ... });

#include <cstdint>
#include <string>
#include <string_view>

#include "cache/storage.h"
#include "platform/data.h"
#include "shared_views_kit/qz_cdn_image_loader_data_cache_protocol.h"

namespace aurimo {

class CacheHelper final : public SharedViewsKit::QzCDNImageLoaderDataCacheProtocol {
 public:
  using DataStorage = cache::Storage<std::string, platform::Data>;

  static constexpr std::string_view kImageCacheName = "ImageCache";
  static constexpr std::string_view kUserImageCacheName = "UserImageCache";
  static constexpr std::uint64_t kImageCacheMaxSize = 402'653'184;      // 384 MiB
  static constexpr std::uint64_t kUserImageCacheMaxSize = 536'870'912;  // 512 MiB

  // Any failure (missing, unreadable, ...) reads as absent data.
  void read(const std::string& key, ReadCompletion completion) override;
  // With the storage's own expiry; the outcome is not observed.
  void write(const platform::Data& data, const std::string& key) override;

  // The name of the storage that serves `key`; the key itself is stored unchanged.
  static std::string_view storageName(std::string_view key);
  // The storage that serves `key`, created now if this is its first use.
  static DataStorage& storage(std::string_view key);

  // Tests only: forgets both storages so the next use creates them again (in
  // the caches directory current then). Nothing may be using them meanwhile.
  static void resetStoragesForTesting();
};

}  // namespace aurimo
