#pragma once
// UNNotificationContent: what a notification shows, as the platform's
// content classes. Build it as a UNMutableNotificationContent, then hand it
// to a request, which keeps an immutable copy.
//
// Thread contract: plain values.
//
//   platform::UNMutableNotificationContent content;
//   content.title = "Reminder"; content.sound = platform::UNNotificationSound::defaultSound();

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace aurimo::platform {

struct UNNotificationSound {
  std::string name;  // empty: the system's default sound

  static UNNotificationSound defaultSound() { return {}; }
  friend bool operator==(const UNNotificationSound&, const UNNotificationSound&) = default;
};

struct UNMutableNotificationContent {
  std::string title;
  std::string subtitle;
  std::string body;
  std::optional<UNNotificationSound> sound;
  std::optional<int> badge;
  std::string categoryIdentifier;
  std::string threadIdentifier;
  nlohmann::json userInfo = nlohmann::json::object();  // a JSON object

  friend bool operator==(const UNMutableNotificationContent&, const UNMutableNotificationContent&) = default;
};

class UNNotificationContent {
 public:
  UNNotificationContent() = default;
  // Takes a snapshot; later changes to `content` do not show here.
  // Implicit, so a mutable content can be handed straight to a request.
  UNNotificationContent(UNMutableNotificationContent content) : content_(std::move(content)) {}

  const std::string& title() const { return content_.title; }
  const std::string& subtitle() const { return content_.subtitle; }
  const std::string& body() const { return content_.body; }
  const std::optional<UNNotificationSound>& sound() const { return content_.sound; }
  const std::optional<int>& badge() const { return content_.badge; }
  const std::string& categoryIdentifier() const { return content_.categoryIdentifier; }
  const std::string& threadIdentifier() const { return content_.threadIdentifier; }
  const nlohmann::json& userInfo() const { return content_.userInfo; }

  UNMutableNotificationContent mutableCopy() const { return content_; }

  friend bool operator==(const UNNotificationContent&, const UNNotificationContent&) = default;

 private:
  UNMutableNotificationContent content_;
};

}  // namespace aurimo::platform
