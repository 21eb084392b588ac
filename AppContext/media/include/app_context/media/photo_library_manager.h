#pragma once
// PhotoLibraryManager: the app's gateway to the system photo library. It only
// ever uses add-only access: it says whether that access can still be asked
// for or is granted, asks for it, and saves image bytes as a new photo. It
// holds no state of its own; everything lives in the photo library it is given
// (by default the process's shared one).
//
// Thread contract: every member may be called from any thread. The two
// properties read the status on the caller's thread; requestAuthorization's
// completion runs on a platform thread; a save's change runs later on the
// photo library's change queue.
//
//   if (manager.photoLibraryHasAddPermissionOrMore()) manager.savePhotoData(jpegBytes);
//   manager.requestAuthorization([](platform::PHAuthorizationStatus status) { use(status); });

#include <functional>
#include <memory>

#include "platform/data.h"
#include "platform/ph_authorization_status.h"
#include "platform/ph_photo_library.h"

namespace aurimo {

class PhotoLibraryManager {
 public:
  explicit PhotoLibraryManager(std::shared_ptr<platform::PHPhotoLibrary> library = platform::PHPhotoLibrary::slot().shared());

  // Never fails: it always ends with the status the request left behind.
  using AuthorizationCompletion = std::function<void(platform::PHAuthorizationStatus status)>;

  // True exactly while the add-only decision is notDetermined: the prompt has not been shown.
  bool canRequestPermissions() const;
  // True exactly when add-only access is authorized; limited counts as no.
  bool photoLibraryHasAddPermissionOrMore() const;

  // Asks the platform for add-only access (the user is asked only while undecided)
  // and calls `completion` once, on a platform thread, with the resulting status.
  void requestAuthorization(AuthorizationCompletion completion) const;

  // Saves a copy of `data`, unchanged, as a new photo; returns at once and reports
  // nothing. It does not check the permission: a refused save just adds nothing.
  void savePhotoData(platform::Data data) const;
  // The same, then `completion` once on the photo library's change queue: success,
  // or why nothing was added (a refusal, or a disk that failed).
  void savePhotoData(platform::Data data, platform::PHPhotoLibrary::CompletionHandler completion) const;

 private:
  std::shared_ptr<platform::PHPhotoLibrary> library_;
};

}  // namespace aurimo
