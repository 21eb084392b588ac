#pragma once
// PHPhotoLibrary: the photo library. It answers and requests authorisation
// and applies change blocks; on Linux a created asset is a file of the
// unchanged bytes in an "Aurimo" folder under the pictures folder, named
// "IMG_<UTC yyyyMMdd_HHmmss_SSS>_<n>.<ext>" from the creation time (n keeps
// names unique), with the extension of the detected format (jpg, png, heic,
// else the original file name's, else bin). Files are 0600, the folder 0700.
//
// Thread contract: every member is safe from any thread. Handlers run on
// platform threads, never inside the call: requestAuthorization's on a
// global queue, change blocks and their completion handlers on the library's
// serial change queue, in submission order.
//
//   platform::PHPhotoLibrary::shared().performChanges([bytes] {
//     platform::PHAssetCreationRequest::forAsset().addResource(platform::PHAssetResourceType::photo, bytes); });

#include <filesystem>
#include <functional>
#include <optional>

#include "platform/dispatch_queue.h"
#include "platform/ph_asset_creation_request.h"
#include "platform/ph_authorization_status.h"
#include "platform/ph_photos_error.h"
#include "platform/replaceable.h"

namespace platform {

class PHPhotoLibrary {
 public:
  using AuthorizationHandler = std::function<void(PHAuthorizationStatus status)>;
  using ChangeBlock = std::function<void()>;
  using CompletionHandler = std::function<void(bool success, std::optional<PHPhotosError> error)>;

  static constexpr std::string_view kAppFolder = "Aurimo";

  // Saves under `assetsDirectory`; by default under
  // Directories::current().picturesDirectory() / kAppFolder, looked up at each save.
  explicit PHPhotoLibrary(std::optional<std::filesystem::path> assetsDirectory = std::nullopt);
  PHPhotoLibrary(const PHPhotoLibrary&) = delete;
  PHPhotoLibrary& operator=(const PHPhotoLibrary&) = delete;

  static PHPhotoLibrary& shared() { return slot().get(); }
  static Replaceable<PHPhotoLibrary>& slot();

  // The system side's current status (PhotoLibrarySystem::current()); never prompts.
  static PHAuthorizationStatus authorizationStatus(PHAccessLevel level);
  // While the status is undetermined, asks the user once and keeps the answer; then
  // calls `handler` with the status on a global queue.
  static void requestAuthorization(PHAccessLevel level, AuthorizationHandler handler);

  // Runs `changeBlock` on the change queue and then commits what it created, all or
  // nothing. Without permission to add (see allowsAdding()) nothing is written and
  // the completion gets accessUserDenied or accessRestricted.
  void performChanges(ChangeBlock changeBlock, CompletionHandler completionHandler = nullptr);

  // The serial queue of change blocks; sync() on it waits for earlier changes.
  DispatchQueue& changeQueue() { return changeQueue_; }
  std::filesystem::path assetsDirectory() const;

 private:
  void apply(const ChangeBlock& changeBlock, const CompletionHandler& completionHandler);

  const std::optional<std::filesystem::path> assetsDirectory_;
  DispatchQueue changeQueue_;
};

}  // namespace platform
