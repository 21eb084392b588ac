#pragma once
// UNUserNotificationCenter: the app's way to the system's notifications, as
// the platform's centre: authorization, pending requests and a delegate that
// decides on foreground presentation and hears about taps.
//
// On Linux the host plays the system: the authorization status and the
// pending requests are kept in user_notifications.json in a state folder
// (through a FileManager, with saveStateFile and loadStateFile), so they
// survive a restart; a Person answers the permission question (choices
// "Don't Allow" and "Allow"); the host (or a test) sets the status the user
// chose in the system's settings with setAuthorizationStatus() and delivers
// notifications and taps with presentNotification() and openNotification().
//
// Thread contract: every member may be called from any thread. Completion
// handlers run on DispatchQueue::global(), never inside the call, so a caller
// may block until they have run (but not on the main thread when a handler
// needs it). Operations take effect in the order they were called, except
// requestAuthorization(), whose answer arrives later. The delegate is held
// weakly and called on the thread that delivers.
//
//   auto& center = platform::UNUserNotificationCenter::current();
//   center.getNotificationSettings([](platform::UNNotificationSettings s) { use(s.authorizationStatus); });

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_manager.h"
#include "platform/person.h"
#include "platform/replaceable.h"
#include "platform/un_notification.h"
#include "platform/un_notification_request.h"
#include "platform/un_notification_settings.h"

namespace aurimo::platform {

class UNUserNotificationCenter;

// What went wrong with a request the centre could not carry out.
struct UNError {
  enum class Code { notificationsNotAllowed = 1, invalidRequest = 2, storageFailed = 3 };
  Code code;
  std::string message;
};

class UNUserNotificationCenterDelegate {
 public:
  virtual ~UNUserNotificationCenterDelegate() = default;

  // A notification arrives while the app is in the foreground: say how to show it.
  virtual void userNotificationCenter(UNUserNotificationCenter& center, const UNNotification& willPresent,
                                      std::function<void(UNNotificationPresentationOptions)> completionHandler) {
    (void)center, (void)willPresent;
    completionHandler({});
  }
  // The user acted on a notification (tapped it, dismissed it).
  virtual void userNotificationCenter(UNUserNotificationCenter& center, const UNNotificationResponse& didReceive,
                                      std::function<void()> completionHandler) {
    (void)center, (void)didReceive;
    completionHandler();
  }
};

class UNUserNotificationCenter {
 public:
  // State is kept in `stateDirectory` (created 0700 when first written),
  // through `files`, which must outlive the centre and its queued work.
  UNUserNotificationCenter(std::filesystem::path stateDirectory, std::shared_ptr<Person> person,
                           FileManager& files = FileManager::defaultManager());
  ~UNUserNotificationCenter();
  UNUserNotificationCenter(const UNUserNotificationCenter&) = delete;
  UNUserNotificationCenter& operator=(const UNUserNotificationCenter&) = delete;

  // By default: Directories::current().stateDirectory() and a TerminalPerson.
  static UNUserNotificationCenter& current() { return slot().get(); }
  static Replaceable<UNUserNotificationCenter>& slot();

  void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate);
  std::shared_ptr<UNUserNotificationCenterDelegate> delegate() const;

  void getNotificationSettings(std::function<void(UNNotificationSettings)> completionHandler);
  // The kind of the permission question put to the person.
  static constexpr std::string_view kPermissionKind = "notificationPermission";
  // Asks the person when the user has not decided yet (or has only allowed
  // provisional delivery and `options` ask for more); `granted` is whether
  // notifications may be delivered afterwards.
  void requestAuthorization(UNAuthorizationOptions options,
                            std::function<void(bool granted, std::optional<UNError> error)> completionHandler);

  // Replaces a pending request with the same identifier. Push triggers are refused.
  void add(const UNNotificationRequest& request, std::function<void(std::optional<UNError>)> completionHandler);
  // In the order they were added; delivered one-shot requests are no longer pending.
  void getPendingNotificationRequests(std::function<void(std::vector<UNNotificationRequest>)> completionHandler);
  void removePendingNotificationRequests(const std::vector<std::string>& withIdentifiers);
  void removeAllPendingNotificationRequests();

  // The system's side. The status the user set in the system's settings.
  [[nodiscard]] std::optional<UNError> setAuthorizationStatus(UNAuthorizationStatus status);
  // Asks the delegate how to show `notification` in the foreground; without
  // a delegate it is not shown (no options).
  void presentNotification(const UNNotification& notification,
                           std::function<void(UNNotificationPresentationOptions)> completionHandler);
  // Re-reads the saved state (another process may have changed it) and takes
  // out the requests whose time has come, appending them to `due` dated when
  // they came due: one-shot requests leave the pending list, repeating ones
  // stay for their next date. Nothing is appended while the user does not
  // allow delivery, but the due requests are taken all the same, as the
  // system drops what it may not show. The error is a failed save.
  [[nodiscard]] std::optional<UNError> takeDueNotifications(std::vector<UNNotification>& due);
  // When the soonest pending request comes due, as of the last change or
  // takeDueNotifications(); nullopt when none ever will.
  std::optional<Date> nextDueDate() const;
  // Hands the user's response to the delegate; without one, just completes.
  void openNotification(const UNNotificationResponse& response, std::function<void()> completionHandler);

  const std::filesystem::path& stateFile() const;

 private:
  struct State;
  std::shared_ptr<State> state_;  // shared with queued work, which may outlive this object
};

}  // namespace aurimo::platform
