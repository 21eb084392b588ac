#include "shared_views_kit/qz_cdn_image_loader.h"

#include <utility>

#include "platform/dispatch_queue.h"

namespace aurimo::SharedViewsKit {
namespace {

class CachedImageLoader final : public QzCDNImageLoader {
 public:
  CachedImageLoader(platform::URL baseCDNURL, std::int64_t screenScale,
                    std::shared_ptr<QzCDNImageLoaderDataCacheProtocol> localDataCache, std::int64_t maxTasks)
      : baseCDNURL_(std::move(baseCDNURL)),
        screenScale_(screenScale),
        localDataCache_(std::move(localDataCache)),
        maxTasks_(maxTasks) {}

  const platform::URL& baseCDNURL() const override { return baseCDNURL_; }
  std::int64_t screenScale() const override { return screenScale_; }
  const std::shared_ptr<QzCDNImageLoaderDataCacheProtocol>& localDataCache() const override {
    return localDataCache_;
  }
  std::int64_t maxDownloadingTasksInOneMoment() const override { return maxTasks_; }

  void downloadImageDataIfNeed(const std::string& key,
                               std::function<void(std::optional<platform::Data>)> completionHandler) override {
    if (!localDataCache_) {
      platform::DispatchQueue::global().async([completionHandler = std::move(completionHandler)] {
        completionHandler(std::nullopt);
      });
      return;
    }
    localDataCache_->read(key, std::move(completionHandler));
  }

 private:
  const platform::URL baseCDNURL_;
  const std::int64_t screenScale_;
  const std::shared_ptr<QzCDNImageLoaderDataCacheProtocol> localDataCache_;
  const std::int64_t maxTasks_;
};

}  // namespace

std::shared_ptr<QzCDNImageLoader> QzCDNImageLoader::make(
    platform::URL baseCDNURL, std::int64_t screenScale, std::shared_ptr<QzCDNImageLoaderDataCacheProtocol> localDataCache,
    std::int64_t maxDownloadingTasksInOneMoment) {
  return std::make_shared<CachedImageLoader>(std::move(baseCDNURL), screenScale, std::move(localDataCache),
                                             maxDownloadingTasksInOneMoment);
}

}  // namespace aurimo::SharedViewsKit
