#pragma once
// PhotoLibrarySystem: the operating-system side of the photo library, which
// on a phone the app cannot see: the authorisation decision for each access
// level. It lives in "photo-library.json" in the state folder (written
// atomically), so a decision survives a restart. A file that cannot be read
// or parsed is moved aside as "<name>.corrupt-<unix seconds>", reported once
// on stderr, and every status starts undetermined.
//
// Thread contract: every member is safe from any thread. resolve() asks the
// prompt, so it may block; concurrent resolve() calls share one prompt.
//
//   platform::PhotoLibrarySystem::current().setAuthorizationStatus(
//       platform::PHAccessLevel::addOnly, platform::PHAuthorizationStatus::authorized);

#include <array>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string_view>

#include "platform/atomic_file.h"
#include "platform/ph_authorization_status.h"
#include "platform/replaceable.h"

namespace platform {

class PhotoLibrarySystem {
 public:
  static constexpr std::string_view kFileName = "photo-library.json";

  // Backed by `file`, read now; its folder is created (0700) on first write.
  explicit PhotoLibrarySystem(std::filesystem::path file);
  // Backed by Directories::current().stateDirectory() / kFileName.
  PhotoLibrarySystem();
  PhotoLibrarySystem(const PhotoLibrarySystem&) = delete;
  PhotoLibrarySystem& operator=(const PhotoLibrarySystem&) = delete;

  static PhotoLibrarySystem& current() { return slot().get(); }
  static Replaceable<PhotoLibrarySystem>& slot();

  PHAuthorizationStatus authorizationStatus(PHAccessLevel level) const;
  // Decides the status as the device's settings would (host and tests); persists it.
  [[nodiscard]] std::optional<FileError> setAuthorizationStatus(PHAccessLevel level, PHAuthorizationStatus status);

  // True when either access level allows adding assets.
  bool allowsAdding() const;

  // The status for `level`; while undetermined, asks PhotoPermissionPrompt::current()
  // and keeps its answer. A failed write is reported on stderr, the answer still holds.
  PHAuthorizationStatus resolve(PHAccessLevel level);

  const std::filesystem::path& file() const { return file_; }

 private:
  void load();
  void moveAside(const std::string& problem);
  [[nodiscard]] std::optional<FileError> saveLocked() const;

  const std::filesystem::path file_;
  std::mutex promptMutex_;  // held while the prompt is up, so one question is asked at a time
  mutable std::mutex mutex_;
  std::array<PHAuthorizationStatus, 2> statuses_{PHAuthorizationStatus::notDetermined,
                                                 PHAuthorizationStatus::notDetermined};  // guarded by mutex_
};

}  // namespace platform
