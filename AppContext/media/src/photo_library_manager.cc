#include "app_context/media/photo_library_manager.h"

#include <utility>

#include "platform/ph_asset_creation_request.h"
#include "platform/ph_photo_library.h"

namespace aurimo {

using platform::PHAccessLevel;
using platform::PHAuthorizationStatus;
using platform::PHPhotoLibrary;

bool PhotoLibraryManager::canRequestPermissions() const {
  return PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly) == PHAuthorizationStatus::notDetermined;
}

bool PhotoLibraryManager::photoLibraryHasAddPermissionOrMore() const {
  // Deliberately narrow: limited access is not counted.
  return PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly) == PHAuthorizationStatus::authorized;
}

void PhotoLibraryManager::requestAuthorization(AuthorizationCompletion completion) const {
  PHPhotoLibrary::requestAuthorization(PHAccessLevel::addOnly,
                                       [completion = std::move(completion)](PHAuthorizationStatus status) {
                                         if (completion) completion(status);
                                       });
}

void PhotoLibraryManager::savePhotoData(platform::Data data) const {
  // The block is run once, so the bytes can move into the request.
  PHPhotoLibrary::shared().performChanges([bytes = std::move(data)]() mutable {
    platform::PHAssetCreationRequest::forAsset().addResource(platform::PHAssetResourceType::photo, std::move(bytes));
  });
}

}  // namespace aurimo
