#pragma once
// NotificationEnvironment: the test environment with the notification
// manager's five broadcasts recorded, and shortcuts to the system centre.
//
// Thread contract: create, run and destroy on the test's (main) thread;
// add() may be called from any thread.
//
//   NotificationEnvironment env("America/New_York");
//   auto manager = aurimo::QzUserNotificationManager::create(env.services());

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app_context/notifications/qz_user_notification_manager.h"
#include "platform/application.h"
#include "testing/environment.h"

namespace aurimo::test {

class NotificationEnvironment : public Environment {
 public:
  explicit NotificationEnvironment(const char* zone = "Europe/Berlin") : Environment(zone) {
    using M = QzUserNotificationManager;
    recordBroadcasts({M::systemAllowsToUseNotificationsValueDidChangeNotification(),
                      M::didInitialSetupNotificationsPermissonsOrChanged(), M::didRequestAuthorizationNotification(),
                      M::userGetPushNotification(), M::userNotificationOpensAppNotification()});
  }

  // A broadcast as broadcasts() lists it.
  static std::string sent(const platform::NotificationName& name, const nlohmann::json& userInfo) {
    return name.rawValue() + " " + userInfo.dump();
  }

  static platform::UNNotification notification(std::string category,
                                                std::shared_ptr<const platform::UNNotificationTrigger> trigger = {}) {
    platform::UNMutableNotificationContent content;
    content.categoryIdentifier = std::move(category);
    return {platform::Date{}, platform::UNNotificationRequest("id", content, std::move(trigger))};
  }

  void setStatus(platform::UNAuthorizationStatus status) {
    (void)userNotificationCenter().setAuthorizationStatus(status);  // a failing store still changes the status
  }

  // The app comes back to the foreground; runs until idle.
  void foreground() {
    notificationCenter().post(platform::UIApplication::willEnterForegroundNotification());
    runUntilIdle();
  }

  // Files a daily reminder of `category` with the system centre.
  void add(std::string identifier, std::string category) {
    platform::UNMutableNotificationContent content;
    content.categoryIdentifier = std::move(category);
    const platform::DateComponents noon{.hour = 12};
    userNotificationCenter().add(
        {std::move(identifier), content, std::make_shared<platform::UNCalendarNotificationTrigger>(noon, true)},
        nullptr);
  }

  std::vector<platform::UNNotificationRequest> pending() {
    std::vector<platform::UNNotificationRequest> result;
    userNotificationCenter().getPendingNotificationRequests([&](auto requests) { result = std::move(requests); });
    runUntilIdle();
    return result;
  }
  std::vector<std::string> pendingIdentifiers() {
    std::vector<std::string> ids;
    for (const auto& request : pending()) ids.push_back(request.identifier());
    return ids;
  }
};

}  // namespace aurimo::test
