#pragma once
// NotificationEnvironment: the test environment with the notification
// manager's five broadcasts recorded, and shortcuts to the system centre.
//
// Thread contract: create, run and destroy on the test's (main) thread.
//
//   NotificationEnvironment env("America/New_York");
//   auto manager = aurimo::QzUserNotificationManager::create(env.services());

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app_context/notifications/qz_user_notification_manager.h"
#include "platform/calendar.h"
#include "platform/dispatch_group.h"
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

  void setStatus(platform::UNAuthorizationStatus status) {
    (void)userNotificationCenter().setAuthorizationStatus(status);  // a failing store still changes the status
  }

  std::vector<platform::UNNotificationRequest> pending() {
    std::vector<platform::UNNotificationRequest> result;
    platform::DispatchGroup done;
    done.enter();
    userNotificationCenter().getPendingNotificationRequests([&](std::vector<platform::UNNotificationRequest> requests) {
      result = std::move(requests);
      done.leave();
    });
    done.wait();
    return result;
  }
  std::vector<std::string> pendingIdentifiers() {
    std::vector<std::string> ids;
    for (const auto& request : pending()) ids.push_back(request.identifier());
    return ids;
  }

  static platform::Date utc(int year, int month, int day, int hour, int minute, int second = 0) {
    return *platform::Calendar(platform::TimeZone::gmt())
                .date({.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
  }
};

}  // namespace aurimo::test
