#pragma once
// PHAuthorizationStatus and PHAccessLevel: the photo library's permission
// states and the two kinds of access an app can ask for, with their names as
// the host and the state file spell them.
//
// Thread contract: plain values and pure functions.
//
//   auto status = platform::PHPhotoLibrary::authorizationStatus(platform::PHAccessLevel::addOnly);
//   std::puts(platform::name(status).data());  // "authorized"

#include <optional>
#include <string_view>

namespace aurimo::platform {

enum class PHAuthorizationStatus : int {
  notDetermined = 0,
  restricted = 1,
  denied = 2,
  authorized = 3,
  limited = 4,
};

enum class PHAccessLevel : int {
  addOnly = 1,
  readWrite = 2,
};

// "notDetermined", "restricted", "denied", "authorized", "limited".
std::string_view name(PHAuthorizationStatus status);
// "addOnly", "readWrite".
std::string_view name(PHAccessLevel level);

// The inverse of name(); nullopt for anything else.
std::optional<PHAuthorizationStatus> authorizationStatusNamed(std::string_view name);
// nullopt unless 0...4.
std::optional<PHAuthorizationStatus> authorizationStatusFromRawValue(int rawValue);

// Whether a status lets the app add assets. Limited access may add, as on the phone.
constexpr bool allowsAdding(PHAuthorizationStatus status) {
  return status == PHAuthorizationStatus::authorized || status == PHAuthorizationStatus::limited;
}

}  // namespace aurimo::platform
