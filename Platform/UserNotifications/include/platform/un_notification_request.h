#pragma once
// UNNotificationRequest: one notification to deliver, as the platform's
// request: an identifier (adding another request with the same identifier
// replaces it), the content and the trigger (none: deliver at once).
//
// Thread contract: an immutable value.
//
//   platform::UNNotificationRequest request("trial_expiration_reminder", content, trigger);
//   platform::UNUserNotificationCenter::current().add(request, nullptr);

#include <memory>
#include <string>

#include "platform/un_notification_content.h"
#include "platform/un_notification_trigger.h"

namespace aurimo::platform {

class UNNotificationRequest {
 public:
  UNNotificationRequest(std::string identifier, UNNotificationContent content,
                        std::shared_ptr<const UNNotificationTrigger> trigger)
      : identifier_(std::move(identifier)), content_(std::move(content)), trigger_(std::move(trigger)) {}

  const std::string& identifier() const { return identifier_; }
  const UNNotificationContent& content() const { return content_; }
  // Null for a notification delivered at once.
  const std::shared_ptr<const UNNotificationTrigger>& trigger() const { return trigger_; }

 private:
  std::string identifier_;
  UNNotificationContent content_;
  std::shared_ptr<const UNNotificationTrigger> trigger_;
};

}  // namespace aurimo::platform
