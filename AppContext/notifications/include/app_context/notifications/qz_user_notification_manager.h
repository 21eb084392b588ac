#pragma once
// QzUserNotificationManager: the app's one delegate of the user notification
// centre. It keeps a persisted copy of the notification permission, asks the
// user for it, broadcasts on the default notification centre when the
// permission is first known or changes, chooses how foreground notifications
// are shown and turns a tap into an opens-app broadcast naming the reminder.
//
// Thread contract: create() and the permission requests on the main thread.
// Permission changes are stored and broadcast on the main queue; request
// completions run on the main queue. The delegate entries run on the thread
// that delivers; a tap's broadcast and completion follow on the main queue.
// The interceptor and latestNotificationResponseInfo() are guarded by a mutex.
// Queued blocks keep the manager alive, hence create().
//
//   auto manager = aurimo::QzUserNotificationManager::create();
//   manager->requestAuthorization([](bool granted, std::optional<platform::UNError> error) { ... });

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/notification_center.h"
#include "platform/services.h"
#include "platform/un_user_notification_center.h"

namespace aurimo {

enum class LocalUserNotificationCategoryIdentifier { discount };

class QzUserNotificationManager : public platform::UNUserNotificationCenterDelegate,
                                  public std::enable_shared_from_this<QzUserNotificationManager> {
 public:
  // Gets every tap first; returning true consumes it (nothing is stored or posted).
  using ResponseHandler =
      std::function<bool(platform::UNUserNotificationCenter& center, const platform::UNNotificationResponse& response)>;
  // Runs once on the main queue: the answer, or false and the platform's error.
  using RequestAuthorizationCompletion = std::function<void(bool granted, std::optional<platform::UNError> error)>;
  // Runs once on the main queue.
  using RequestAuthorizationIfPossibleCompletion = std::function<void(bool possible)>;

  static constexpr std::string_view discountReminderNotificationCategoryIdentifier = "DiscountReminder";
  static constexpr std::string_view trialExpirationReminderNotificationCategoryIdentifier = "TrialExpirationReminder";

  // User-defaults keys; the first is deliberately the text of the change broadcast.
  static constexpr std::string_view systemAllowsToUseNotificationsKey =
      "QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification";
  static constexpr std::string_view cachedSystemAuthorizationStatusKey =
      "QzUserNotificationManager.cachedSystemAuthorizationStatus";

  // Broadcast names, each made once on first use. Payloads (userInfo):
  //   systemAllowsToUse...DidChange  {"new": bool}         sender: the manager
  //   didInitialSetup...OrChanged    {"authStatus": bool}  sender: the manager
  //   didRequestAuthorization        {"authStatus": bool}  sender: the manager
  //   userGetPushNotification        none                  no sender
  //   userNotificationOpensApp       {"actionType": "discount"|"trialExpiration"|"default"}  sender: the manager
  static platform::NotificationName systemAllowsToUseNotificationsValueDidChangeNotification();
  static platform::NotificationName didInitialSetupNotificationsPermissonsOrChanged();
  static platform::NotificationName didRequestAuthorizationNotification();
  static platform::NotificationName userGetPushNotification();
  static platform::NotificationName userNotificationOpensAppNotification();

  // Becomes the delegate of the services' user notification centre, starts a
  // permission refresh and refreshes again on every return to the foreground.
  static std::shared_ptr<QzUserNotificationManager> create(
      const platform::Services& services = platform::Services::defaults());

  QzUserNotificationManager(const QzUserNotificationManager&) = delete;
  QzUserNotificationManager& operator=(const QzUserNotificationManager&) = delete;

  // Read from the standard user defaults on every access; absent reads as false / notDetermined.
  bool systemAllowsToUseNotifications() const;
  platform::UNAuthorizationStatus cachedSystemAuthorizationStatus() const;

  // Asks for badge, sound and alert. The stored permission follows the answer;
  // the broadcasts are queued on the main queue before `completion` runs there.
  void requestAuthorization(RequestAuthorizationCompletion completion);
  // true when authorized, or after asking an undecided user whatever the answer
  // (errors swallowed); false for denied, provisional and ephemeral, without asking.
  void requestAuthorizationIfPossible(RequestAuthorizationIfPossibleCompletion completion);

  // {"actionType": …} of the last tap the manager handled itself; nullopt until then.
  std::optional<nlohmann::json> latestNotificationResponseInfo() const;
  void resetLatestNotificationResponseInfo();

  ResponseHandler userNotificationCenterDidReceiveResponseHandler() const;
  void setUserNotificationCenterDidReceiveResponseHandler(ResponseHandler handler);

  // A hook kept for notification actions; there are none yet.
  static void connectActionsToNotifications() {}

  // Push notifications are shown with banner and sound, local ones with a banner only.
  void userNotificationCenter(platform::UNUserNotificationCenter& center, const platform::UNNotification& willPresent,
                              std::function<void(platform::UNNotificationPresentationOptions)> completionHandler) override;
  void userNotificationCenter(platform::UNUserNotificationCenter& center,
                              const platform::UNNotificationResponse& didReceive,
                              std::function<void()> completionHandler) override;

 private:
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  QzUserNotificationManager(Passkey, platform::Services services) : services_(std::move(services)) {}

 private:
  void refreshPermission();
  void setSystemAllowsToUseNotifications(bool allowed);
  void setCachedSystemAuthorizationStatus(platform::UNAuthorizationStatus status);
  void applicationWillEnterForegroundNotification(const platform::Notification& notification);

  const platform::Services services_;

  mutable std::mutex mutex_;
  std::optional<nlohmann::json> latestNotificationResponseInfo_;  // guarded by mutex_
  ResponseHandler responseHandler_;                               // guarded by mutex_
};

}  // namespace aurimo
