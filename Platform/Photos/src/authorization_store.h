#pragma once
// The system side's authorisation decisions, one per access level, kept in a
// JSON file through a FileManager (loadStateFile, saveStateFile). A file that
// cannot be read or parsed is moved aside as "<name>.corrupt-<unix seconds>",
// reported once on stderr, and every status starts undetermined.
//
// Thread contract: every member is safe from any thread.

#include <array>
#include <filesystem>
#include <mutex>

#include "platform/file_manager.h"
#include "platform/ph_authorization_status.h"

namespace aurimo::platform::internal {

class AuthorizationStore {
 public:
  // Reads `file` now through `files`, which must outlive the store; its
  // folder is created (0700) on first write.
  AuthorizationStore(std::filesystem::path file, FileManager& files);

  PHAuthorizationStatus status(PHAccessLevel level) const;
  // Keeps `status` in memory even when writing the file fails, which throws
  // std::filesystem::filesystem_error.
  void set(PHAccessLevel level, PHAuthorizationStatus status);
  // Either access level lets the app add assets.
  bool allowsAdding() const;

  const std::filesystem::path& file() const { return file_; }

 private:
  const std::filesystem::path file_;
  FileManager& files_;
  mutable std::mutex mutex_;
  std::array<PHAuthorizationStatus, 2> statuses_{PHAuthorizationStatus::notDetermined,
                                                 PHAuthorizationStatus::notDetermined};  // guarded by mutex_
};

}  // namespace aurimo::platform::internal
