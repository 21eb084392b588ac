#include "shared_views_kit/qz_cdn_image_loader_memory_data_cache.h"

#include <optional>
#include <utility>

namespace aurimo::SharedViewsKit {

void QzCDNImageLoaderMemoryDataCache::read(const std::string& key, ReadCompletion completion) {
  std::optional<platform::Data> found;
  {
    std::lock_guard lock(mutex_);
    if (auto entry = entries_.find(key); entry != entries_.end()) found = entry->second;
  }
  // Outside the lock, so a completion may write back.
  if (completion) completion(std::move(found));
}

void QzCDNImageLoaderMemoryDataCache::write(const platform::Data& data, const std::string& key) {
  std::lock_guard lock(mutex_);
  entries_.insert_or_assign(key, data);
}

}  // namespace aurimo::SharedViewsKit
