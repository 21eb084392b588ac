#include "app_context/media/photo_library_manager.h"

#include <utility>

#include "platform/ph_asset_creation_request.h"
#include "platform/ph_photo_library.h"

namespace aurimo {

using platform::PHAccessLevel;
using platform::PHAuthorizationStatus;
using platform::PHPhotoLibrary;

PhotoLibraryManager::PhotoLibraryManager(std::shared_ptr<PHPhotoLibrary> library) : library_(std::move(library)) {}

bool PhotoLibraryManager::canRequestPermissions() const {
  return library_->authorizationStatusOf(PHAccessLevel::addOnly) == PHAuthorizationStatus::notDetermined;
}

bool PhotoLibraryManager::photoLibraryHasAddPermissionOrMore() const {
  // Deliberately narrow: limited access is not counted.
  return library_->authorizationStatusOf(PHAccessLevel::addOnly) == PHAuthorizationStatus::authorized;
}

void PhotoLibraryManager::requestAuthorization(AuthorizationCompletion completion) const {
  library_->requestAuthorizationOf(PHAccessLevel::addOnly,
                                   [completion = std::move(completion)](PHAuthorizationStatus status) {
                                     if (completion) completion(status);
                                   });
}

void PhotoLibraryManager::savePhotoData(platform::Data data) const { savePhotoData(std::move(data), nullptr); }

void PhotoLibraryManager::savePhotoData(platform::Data data,
                                        platform::PHPhotoLibrary::CompletionHandler completion) const {
  // The block is run once, so the bytes can move into the request.
  library_->performChanges(
      [bytes = std::move(data)]() mutable {
        platform::PHAssetCreationRequest::forAsset().addResource(platform::PHAssetResourceType::photo,
                                                                 std::move(bytes));
      },
      std::move(completion));
}

}  // namespace aurimo
