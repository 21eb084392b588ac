#pragma once
// PHAssetCreationRequest: a new asset being built inside a photo-library
// change block, from resources such as the photo's bytes.
//
// Thread contract: forAsset() and addResource() may only be called from the
// change block that PHPhotoLibrary::performChanges() runs; forAsset() aborts
// anywhere else. The library commits the request once the block returns.
//
//   auto& request = platform::PHAssetCreationRequest::forAsset();
//   request.addResource(platform::PHAssetResourceType::photo, jpegBytes);

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/data.h"

namespace aurimo::platform {

namespace internal {
class ChangeTransaction;
}

enum class PHAssetResourceType : int {
  photo = 1,
};

struct PHAssetResourceCreationOptions {
  // Its extension names the file when the bytes are of no known image format.
  std::optional<std::string> originalFilename;
};

class PHAssetCreationRequest {
 public:
  struct Resource {
    PHAssetResourceType type = PHAssetResourceType::photo;
    Data data;
    std::optional<PHAssetResourceCreationOptions> options;
  };

  // A new request, owned by the change block that is running on this thread.
  static PHAssetCreationRequest& forAsset();

  PHAssetCreationRequest(const PHAssetCreationRequest&) = delete;
  PHAssetCreationRequest& operator=(const PHAssetCreationRequest&) = delete;

  void addResource(PHAssetResourceType type, Data data,
                   std::optional<PHAssetResourceCreationOptions> options = std::nullopt);

  const std::vector<Resource>& resources() const { return resources_; }

 private:
  PHAssetCreationRequest() = default;
  friend class internal::ChangeTransaction;

  std::vector<Resource> resources_;
};

}  // namespace aurimo::platform
