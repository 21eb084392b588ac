#pragma once
// QzCDNImageLoaderDataCacheProtocol: the byte cache the CDN image loader
// consults before downloading and fills after a download. The loader takes
// one as its `localDataCache`.
//
// Thread contract: both operations may be called from any thread and return
// at once; read's completion runs exactly once, on a thread of the cache's
// choosing (callers hop to the main thread themselves).
//
//   cache.write(jpegBytes, "image/42.jpg");
//   cache.read("image/42.jpg", [](std::optional<platform::Data> bytes) { if (bytes) show(*bytes); });

#include <functional>
#include <optional>
#include <string>

#include "platform/data.h"

namespace aurimo::SharedViewsKit {

class QzCDNImageLoaderDataCacheProtocol {
 public:
  // Absent data means a miss, whatever the reason.
  using ReadCompletion = std::function<void(std::optional<platform::Data> data)>;

  virtual ~QzCDNImageLoaderDataCacheProtocol() = default;

  virtual void read(const std::string& key, ReadCompletion completion) = 0;
  // Fire and forget: a failed write is a later miss, not an error.
  virtual void write(const platform::Data& data, const std::string& key) = 0;
};

}  // namespace aurimo::SharedViewsKit
