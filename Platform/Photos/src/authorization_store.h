#pragma once
// The system side's authorisation decisions, one per access level, kept in a
// JSON file. A file that cannot be read or parsed is moved aside as
// "<name>.corrupt-<unix seconds>", reported once on stderr, and every status
// starts undetermined.
//
// Thread contract: every member is safe from any thread.

#include <array>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include "platform/atomic_file.h"
#include "platform/ph_authorization_status.h"

namespace aurimo::platform::internal {

class AuthorizationStore {
 public:
  // Reads `file` now; its folder is created (0700) on first write.
  explicit AuthorizationStore(std::filesystem::path file);

  PHAuthorizationStatus status(PHAccessLevel level) const;
  // Keeps `status` in memory even when writing the file fails.
  [[nodiscard]] std::optional<FileError> set(PHAccessLevel level, PHAuthorizationStatus status);
  // Either access level lets the app add assets.
  bool allowsAdding() const;

  const std::filesystem::path& file() const { return file_; }

 private:
  void load();
  void moveAside(const std::string& problem);
  [[nodiscard]] std::optional<FileError> saveLocked() const;

  const std::filesystem::path file_;
  mutable std::mutex mutex_;
  std::array<PHAuthorizationStatus, 2> statuses_{PHAuthorizationStatus::notDetermined,
                                                 PHAuthorizationStatus::notDetermined};  // guarded by mutex_
};

}  // namespace aurimo::platform::internal
