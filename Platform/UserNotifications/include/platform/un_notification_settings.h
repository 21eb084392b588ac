#pragma once
// UNNotificationSettings: what the user allowed, as the platform reports it,
// with the authorization status and the option sets used to ask for it.
//
// Thread contract: plain values.
//
//   center.getNotificationSettings([](platform::UNNotificationSettings settings) {
//     bool allowed = settings.authorizationStatus == platform::UNAuthorizationStatus::authorized; });

#include <cstdint>

namespace aurimo::platform {

// The raw values are what gets stored, so they must not change.
enum class UNAuthorizationStatus : int {
  notDetermined = 0,
  denied = 1,
  authorized = 2,
  provisional = 3,
  ephemeral = 4,
};

// What an app asks permission for; raw values are the platform's bits.
struct UNAuthorizationOptions {
  std::uint32_t rawValue = 0;

  static constexpr std::uint32_t badge = 1u << 0;
  static constexpr std::uint32_t sound = 1u << 1;
  static constexpr std::uint32_t alert = 1u << 2;
  static constexpr std::uint32_t carPlay = 1u << 3;
  static constexpr std::uint32_t criticalAlert = 1u << 4;
  static constexpr std::uint32_t providesAppNotificationSettings = 1u << 5;
  static constexpr std::uint32_t provisional = 1u << 6;

  bool contains(std::uint32_t option) const { return (rawValue & option) == option; }
  friend bool operator==(UNAuthorizationOptions, UNAuthorizationOptions) = default;
};

struct UNNotificationSettings {
  UNAuthorizationStatus authorizationStatus = UNAuthorizationStatus::notDetermined;
};

}  // namespace aurimo::platform
