#pragma once
// PHPhotoLibrary: the photo library, as the platform's: authorization for
// add-only or full access, and change blocks that create assets.
//
// On Linux the host plays the system: the authorization decisions are kept
// in photo_library.json in a state folder, so they survive a restart; a
// Person answers the permission question (choices "Don't Allow", "Allow" and
// "Limited"); the host (or a test) sets what the user chose in the system's
// settings with setAuthorizationStatus(). A
// created asset is a file of the unchanged bytes in an "Aurimo" folder under
// the pictures folder, named "IMG_<UTC yyyyMMdd_HHmmss_SSS>_<n>.<ext>" from
// the creation time (n keeps names unique), with the extension of the
// detected format (jpg, png, heic; else the original file name's; else bin).
// Adding needs authorized or limited access, as on the phone.
//
// Thread contract: every member may be called from any thread. Handlers run
// on platform threads, never inside the call: requestAuthorization's on
// DispatchQueue::global(), change blocks and then their completion handlers
// on the library's serial change queue, in submission order.
//
//   platform::PHPhotoLibrary::shared().performChanges([bytes] {
//     platform::PHAssetCreationRequest::forAsset().addResource(platform::PHAssetResourceType::photo, bytes); });

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/dispatch_queue.h"
#include "platform/file_manager.h"
#include "platform/ph_asset_creation_request.h"
#include "platform/ph_authorization_status.h"
#include "platform/person.h"
#include "platform/ph_photos_error.h"
#include "platform/replaceable.h"

namespace aurimo::platform {

class PHPhotoLibrary {
 public:
  using AuthorizationHandler = std::function<void(PHAuthorizationStatus status)>;
  using ChangeBlock = std::function<void()>;
  using CompletionHandler = std::function<void(bool success, std::optional<PHPhotosError> error)>;

  static constexpr std::string_view kStateFileName = "photo_library.json";
  static constexpr std::string_view kAppFolder = "Aurimo";

  // Decisions are kept in `stateDirectory`, photos saved in `picturesDirectory` /
  // kAppFolder; folders are created 0700 when first written. Every file goes
  // through `files`, which must outlive the library and its queued work.
  PHPhotoLibrary(const std::filesystem::path& stateDirectory, const std::filesystem::path& picturesDirectory,
                 std::shared_ptr<Person> person, FileManager& files = FileManager::defaultManager());
  // The folders of Directories::current().
  explicit PHPhotoLibrary(std::shared_ptr<Person> person,
                          FileManager& files = FileManager::defaultManager());
  ~PHPhotoLibrary();
  PHPhotoLibrary(const PHPhotoLibrary&) = delete;
  PHPhotoLibrary& operator=(const PHPhotoLibrary&) = delete;

  // By default: the folders of Directories::current() and a TerminalPerson.
  static PHPhotoLibrary& shared() { return slot().get(); }
  static Replaceable<PHPhotoLibrary>& slot();

  // The shared library's current decision; never prompts.
  static PHAuthorizationStatus authorizationStatus(PHAccessLevel level);
  // The kind of the permission question put to the person.
  static constexpr std::string_view kPermissionKind = "photoPermission";
  // While the shared library's decision is open, asks its person once (concurrent
  // requests share the question) and keeps the answer; then calls `handler` with the
  // status.
  static void requestAuthorization(PHAccessLevel level, AuthorizationHandler handler);
  // The same for this library, for whoever was handed one instead of using shared().
  PHAuthorizationStatus authorizationStatusOf(PHAccessLevel level) const;
  void requestAuthorizationOf(PHAccessLevel level, AuthorizationHandler handler);

  // Runs `changeBlock` on the change queue, then commits what it created, all or
  // nothing. Without permission to add nothing is written and the completion gets
  // accessUserDenied (accessRestricted when restricted).
  void performChanges(ChangeBlock changeBlock, CompletionHandler completionHandler = nullptr);

  // The system's side. The status the user set in the system's settings.
  [[nodiscard]] std::optional<PHPhotosError> setAuthorizationStatus(PHAccessLevel level, PHAuthorizationStatus status);

  // The serial queue of change blocks; sync() on it waits for the changes queued before.
  DispatchQueue& changeQueue() { return changeQueue_; }
  const std::filesystem::path& stateFile() const;
  const std::filesystem::path& assetsDirectory() const;

 private:
  struct State;
  std::shared_ptr<State> state_;  // shared with queued work, which may outlive this object
  DispatchQueue changeQueue_;
};

}  // namespace aurimo::platform
