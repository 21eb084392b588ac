#pragma once
// QzCDNImageLoaderMemoryDataCache: the loader's data cache when the app hands
// it none: bytes kept in memory for the loader's lifetime, unbounded.
//
// Thread contract: any thread; read's completion runs inside the call.
//
//   auto cache = std::make_shared<SharedViewsKit::QzCDNImageLoaderMemoryDataCache>();
//   cache->write(bytes, "a.jpg");

#include <mutex>
#include <string>
#include <unordered_map>

#include "shared_views_kit/qz_cdn_image_loader_data_cache_protocol.h"

namespace aurimo::SharedViewsKit {

class QzCDNImageLoaderMemoryDataCache final : public QzCDNImageLoaderDataCacheProtocol {
 public:
  void read(const std::string& key, ReadCompletion completion) override;
  void write(const platform::Data& data, const std::string& key) override;

 private:
  std::mutex mutex_;
  std::unordered_map<std::string, platform::Data> entries_;  // guarded by mutex_
};

}  // namespace aurimo::SharedViewsKit
