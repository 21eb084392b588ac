#include "app_context/notifications/qz_user_notification_manager.h"

#include <string>
#include <utility>

#include "platform/application.h"
#include "platform/dispatch_queue.h"
#include "platform/user_defaults.h"

namespace aurimo {
namespace {

using platform::DispatchQueue;
using platform::NotificationCenter;
using platform::NotificationName;
using platform::UNAuthorizationStatus;
using platform::UNUserNotificationCenter;

constexpr std::uint32_t kRequestedOptions = platform::UNAuthorizationOptions::badge |
                                            platform::UNAuthorizationOptions::sound |
                                            platform::UNAuthorizationOptions::alert;

std::string actionType(const std::string& categoryIdentifier) {
  if (categoryIdentifier == QzUserNotificationManager::discountReminderNotificationCategoryIdentifier) {
    return "discount";
  }
  if (categoryIdentifier == QzUserNotificationManager::trialExpirationReminderNotificationCategoryIdentifier) {
    return "trialExpiration";
  }
  return "default";
}

}  // namespace

NotificationName QzUserNotificationManager::systemAllowsToUseNotificationsValueDidChangeNotification() {
  static const NotificationName name("QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification");
  return name;
}

NotificationName QzUserNotificationManager::didInitialSetupNotificationsPermissonsOrChanged() {
  static const NotificationName name("QzUserNotificationManager.didInitialSetupNotificationsPermissonsOrChanged");
  return name;
}

NotificationName QzUserNotificationManager::didRequestAuthorizationNotification() {
  static const NotificationName name("QzUserNotificationManager.didRequestAuthorizationNotification");
  return name;
}

NotificationName QzUserNotificationManager::userGetPushNotification() {
  static const NotificationName name("QzUserNotificationManager.userGetPushNotification");
  return name;
}

NotificationName QzUserNotificationManager::userNotificationOpensAppNotification() {
  static const NotificationName name("QzUserNotificationManager.userNotificationOpensAppNotification");
  return name;
}

std::shared_ptr<QzUserNotificationManager> QzUserNotificationManager::create(const platform::Services& services) {
  platform::dispatchPreconditionOnMain();
  auto manager = std::make_shared<QzUserNotificationManager>(Passkey{}, services);
  services.userNotificationCenter->setDelegate(manager);
  manager->refreshPermission();
  services.notificationCenter->addObserver<QzUserNotificationManager>(
      manager, platform::UIApplication::willEnterForegroundNotification(), nullptr,
      [](QzUserNotificationManager& self, const platform::Notification& notification) {
        self.applicationWillEnterForegroundNotification(notification);
      });
  return manager;
}

bool QzUserNotificationManager::systemAllowsToUseNotifications() const {
  return services_.userDefaults->boolForKey(systemAllowsToUseNotificationsKey);
}

UNAuthorizationStatus QzUserNotificationManager::cachedSystemAuthorizationStatus() const {
  // Not validated: whatever integer is stored comes back as is.
  return static_cast<UNAuthorizationStatus>(
      services_.userDefaults->integerForKey(cachedSystemAuthorizationStatusKey));
}

void QzUserNotificationManager::setSystemAllowsToUseNotifications(bool allowed) {
  services_.userDefaults->set(allowed, systemAllowsToUseNotificationsKey);
}

void QzUserNotificationManager::setCachedSystemAuthorizationStatus(UNAuthorizationStatus status) {
  services_.userDefaults->set(static_cast<int>(status), cachedSystemAuthorizationStatusKey);
}

void QzUserNotificationManager::applicationWillEnterForegroundNotification(const platform::Notification&) {
  refreshPermission();
}

void QzUserNotificationManager::refreshPermission() {
  DispatchQueue::global().async([self = shared_from_this()] {
    self->services_.userNotificationCenter->getNotificationSettings([self](platform::UNNotificationSettings settings) {
      self->setCachedSystemAuthorizationStatus(settings.authorizationStatus);
      // Provisional and ephemeral delivery do not count as allowed.
      const bool allowed = settings.authorizationStatus == UNAuthorizationStatus::authorized;
      if (self->systemAllowsToUseNotifications() != allowed) {
        DispatchQueue::main().async([self, allowed] {
          self->setSystemAllowsToUseNotifications(allowed);
          const bool stored = self->systemAllowsToUseNotifications();
          NotificationCenter& center = *self->services_.notificationCenter;
          center.post(systemAllowsToUseNotificationsValueDidChangeNotification(), self.get(), {{"new", stored}});
          center.post(didInitialSetupNotificationsPermissonsOrChanged(), self.get(), {{"authStatus", stored}});
        });
      }
    });
  });
}

void QzUserNotificationManager::requestAuthorization(RequestAuthorizationCompletion completion) {
  auto finish = [self = shared_from_this(), completion = std::move(completion)](
                    bool granted, std::optional<platform::UNError> error) {
    if (error) {
      // Nothing is stored or posted.
      DispatchQueue::main().async([completion, error] {
        if (completion) completion(false, error);
      });
      return;
    }
    self->services_.userNotificationCenter->getNotificationSettings(
        [self, completion, granted](platform::UNNotificationSettings settings) {
          DispatchQueue::main().async([self, completion, granted, settings] {
            self->setCachedSystemAuthorizationStatus(settings.authorizationStatus);
            // Unlike a refresh, the stored permission follows the answer, not the status.
            const bool changed = granted != self->systemAllowsToUseNotifications();
            if (changed) self->setSystemAllowsToUseNotifications(granted);
            // The broadcasts go out after the caller has its answer.
            DispatchQueue::main().async([self, granted, changed] {
              NotificationCenter& center = *self->services_.notificationCenter;
              if (changed) {
                center.post(systemAllowsToUseNotificationsValueDidChangeNotification(), self.get(),
                            {{"new", self->systemAllowsToUseNotifications()}});
              }
              center.post(didRequestAuthorizationNotification(), self.get(), {{"authStatus", granted}});
              center.post(didInitialSetupNotificationsPermissonsOrChanged(), self.get(), {{"authStatus", granted}});
            });
            if (completion) completion(granted, std::nullopt);
          });
        });
  };
  services_.userNotificationCenter->requestAuthorization({kRequestedOptions}, std::move(finish));
}

void QzUserNotificationManager::requestAuthorizationIfPossible(RequestAuthorizationIfPossibleCompletion completion) {
  services_.userNotificationCenter->getNotificationSettings(
      [self = shared_from_this(), completion = std::move(completion)](platform::UNNotificationSettings settings) {
        switch (settings.authorizationStatus) {
          case UNAuthorizationStatus::authorized:
            DispatchQueue::main().async([completion] {
              if (completion) completion(true);
            });
            break;
          case UNAuthorizationStatus::notDetermined:
            // Deliberately true whatever the user answers.
            self->requestAuthorization([completion](bool, std::optional<platform::UNError>) {
              if (completion) completion(true);
            });
            break;
          default:
            DispatchQueue::main().async([completion] {
              if (completion) completion(false);
            });
            break;
        }
      });
}

std::optional<nlohmann::json> QzUserNotificationManager::latestNotificationResponseInfo() const {
  std::lock_guard lock(mutex_);
  return latestNotificationResponseInfo_;
}

void QzUserNotificationManager::resetLatestNotificationResponseInfo() {
  std::lock_guard lock(mutex_);
  latestNotificationResponseInfo_.reset();
}

QzUserNotificationManager::ResponseHandler QzUserNotificationManager::userNotificationCenterDidReceiveResponseHandler()
    const {
  std::lock_guard lock(mutex_);
  return responseHandler_;
}

void QzUserNotificationManager::setUserNotificationCenterDidReceiveResponseHandler(ResponseHandler handler) {
  std::lock_guard lock(mutex_);
  responseHandler_ = std::move(handler);
}

void QzUserNotificationManager::userNotificationCenter(
    UNUserNotificationCenter&, const platform::UNNotification& willPresent,
    std::function<void(platform::UNNotificationPresentationOptions)> completionHandler) {
  using Options = platform::UNNotificationPresentationOptions;
  const bool fromPush =
      dynamic_cast<const platform::UNPushNotificationTrigger*>(willPresent.request.trigger().get()) != nullptr;
  const Options options{fromPush ? Options::banner | Options::sound : Options::banner};
  if (completionHandler) completionHandler(options);
  // Posted for every notification shown in the foreground, local ones included.
  services_.notificationCenter->post(userGetPushNotification());
}

void QzUserNotificationManager::userNotificationCenter(UNUserNotificationCenter& center,
                                                       const platform::UNNotificationResponse& didReceive,
                                                       std::function<void()> completionHandler) {
  // Called outside the lock: the interceptor may well install another one.
  if (ResponseHandler handler = userNotificationCenterDidReceiveResponseHandler(); handler && handler(center, didReceive)) {
    if (completionHandler) completionHandler();
    return;
  }
  nlohmann::json info = {{"actionType", actionType(didReceive.notification.request.content().categoryIdentifier())}};
  {
    std::lock_guard lock(mutex_);
    latestNotificationResponseInfo_ = info;
  }
  DispatchQueue::main().async(
      [self = shared_from_this(), info = std::move(info), completionHandler = std::move(completionHandler)] {
        self->services_.notificationCenter->post(userNotificationOpensAppNotification(), self.get(), info);
        if (completionHandler) completionHandler();
      });
}

}  // namespace aurimo
