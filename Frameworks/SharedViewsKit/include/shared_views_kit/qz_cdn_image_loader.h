#pragma once
// QzCDNImageLoader: loads the app's images from its content-delivery network,
// at the screen's scale, through a local byte cache, with a bound on parallel
// downloads. Linux downloads nothing: the default loader answers from its
// cache only.
//
// Thread contract: made on the main thread; downloadImageDataIfNeed from any
// thread, its completion on a thread of the cache's choosing.
//
//   auto loader = QzCDNImageLoader::make(Constants::CDN::baseURL(), 3, std::make_shared<CacheHelper>(), 8);
//   loader->downloadImageDataIfNeed("image/42.jpg", [](std::optional<platform::Data> bytes) { ... });

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/data.h"
#include "platform/url.h"
#include "shared_views_kit/qz_cdn_image_loader_data_cache_protocol.h"

namespace aurimo::SharedViewsKit {

class QzCDNImageLoader {
 public:
  virtual ~QzCDNImageLoader() = default;

  static std::shared_ptr<QzCDNImageLoader> make(platform::URL baseCDNURL, std::int64_t screenScale,
                                                std::shared_ptr<QzCDNImageLoaderDataCacheProtocol> localDataCache,
                                                std::int64_t maxDownloadingTasksInOneMoment);

  virtual const platform::URL& baseCDNURL() const = 0;
  virtual std::int64_t screenScale() const = 0;
  virtual const std::shared_ptr<QzCDNImageLoaderDataCacheProtocol>& localDataCache() const = 0;
  virtual std::int64_t maxDownloadingTasksInOneMoment() const = 0;

  // The image's bytes, from the cache when it has them; nullopt otherwise.
  virtual void downloadImageDataIfNeed(const std::string& key,
                                       std::function<void(std::optional<platform::Data>)> completionHandler) = 0;
};

}  // namespace aurimo::SharedViewsKit
