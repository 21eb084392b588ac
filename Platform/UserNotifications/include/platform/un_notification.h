#pragma once
// UNNotification: a delivered notification, its response (the user's tap)
// and the ways it can be presented while the app is in the foreground, as
// the platform's types.
//
// Thread contract: plain values.
//
//   bool fromPush = dynamic_cast<const platform::UNPushNotificationTrigger*>(
//       notification.request.trigger().get()) != nullptr;

#include <cstdint>
#include <string>

#include "platform/clock.h"
#include "platform/un_notification_request.h"

namespace aurimo::platform {

// Raw values are the platform's bits: banner and sound together are 18.
struct UNNotificationPresentationOptions {
  std::uint32_t rawValue = 0;

  static constexpr std::uint32_t badge = 1u << 0;
  static constexpr std::uint32_t sound = 1u << 1;
  static constexpr std::uint32_t alert = 1u << 2;
  static constexpr std::uint32_t list = 1u << 3;
  static constexpr std::uint32_t banner = 1u << 4;

  bool contains(std::uint32_t option) const { return (rawValue & option) == option; }
  friend bool operator==(UNNotificationPresentationOptions, UNNotificationPresentationOptions) = default;
};

struct UNNotification {
  Date date;
  UNNotificationRequest request;
};

inline const std::string UNNotificationDefaultActionIdentifier = "com.apple.UNNotificationDefaultActionIdentifier";
inline const std::string UNNotificationDismissActionIdentifier = "com.apple.UNNotificationDismissActionIdentifier";

struct UNNotificationResponse {
  UNNotification notification;
  std::string actionIdentifier = UNNotificationDefaultActionIdentifier;
};

}  // namespace aurimo::platform
