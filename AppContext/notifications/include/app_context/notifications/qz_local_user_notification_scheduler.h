#pragma once
// QzLocalUserNotificationScheduler: keeps the app's local reminders in order.
// An update removes every pending discount reminder and lets the app file a
// fresh one through scheduleDiscount; it runs on each return to the
// foreground, on each permission change and when asked. It also files the
// one-shot trial expiration reminder from the trial's two dates.
//
// Thread contract: any thread. Updates run on the default global queue, one
// at a time under a private lock, and block there while the notification
// centre answers; scheduleDiscount runs on that thread with the lock held, so
// it must not wait for another update. scheduleTrialExpirationReminder runs on
// the caller's thread. Queued updates keep the scheduler alive, hence create().
//
//   auto scheduler = aurimo::QzLocalUserNotificationScheduler::create();
//   scheduler->updateSchedule([] { /* on a global queue, once */ });

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/clock.h"
#include "platform/notification_center.h"
#include "platform/services.h"
#include "platform/un_user_notification_center.h"

namespace aurimo {

class QzLocalUserNotificationScheduler : public std::enable_shared_from_this<QzLocalUserNotificationScheduler> {
 public:
  using ScheduleDiscount = std::function<void()>;

  // Pending requests of this category are the ones an update replaces.
  static constexpr std::string_view discountReminderCategoryIdentifier = "DiscountReminder";
  static constexpr std::string_view trialExpirationReminderCategoryIdentifier = "TrialExpirationReminder";
  static constexpr std::string_view trialExpirationReminderIdentifier = "trial_expiration_reminder";

  // Observes the foreground and permission-change broadcasts; each starts an update.
  static std::shared_ptr<QzLocalUserNotificationScheduler> create(
      const platform::Services& services = platform::Services::defaults());

  QzLocalUserNotificationScheduler(const QzLocalUserNotificationScheduler&) = delete;
  QzLocalUserNotificationScheduler& operator=(const QzLocalUserNotificationScheduler&) = delete;

  // Returns at once. Only while notifications are authorized: removes the pending
  // discount reminders, then calls scheduleDiscount. `completionHandler` runs exactly
  // once afterwards, on the default global queue, whatever happened.
  void updateSchedule(std::function<void()> completionHandler);

  // Files "trial_expiration_reminder" (replacing a pending one): 30 s before the
  // end of a trial of a day or less, else a day before the end, moved to the next
  // 10:00:00 when that is not between 10:00 and 20:59 local time. A time that is
  // not in the future files nothing.
  void scheduleTrialExpirationReminder(platform::Date trialStartDate, platform::Date trialEndDate);
  // The same, then `completionHandler` once on the default global queue: the
  // centre's error when the reminder could not be filed or kept, else nullopt
  // (also when nothing was due).
  void scheduleTrialExpirationReminder(platform::Date trialStartDate, platform::Date trialEndDate,
                                       std::function<void(std::optional<platform::UNError>)> completionHandler);

  // Installed by the app; it must file its reminder with category "DiscountReminder".
  ScheduleDiscount scheduleDiscount() const;
  void setScheduleDiscount(ScheduleDiscount scheduleDiscount);

  void applicationWillEnterForegroundNotification(const platform::Notification& notification);
  void userNotificationManagerSystemAllowsToUseNotificationsValueDidChangeNotification(
      const platform::Notification& notification);


 private:
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  QzLocalUserNotificationScheduler(Passkey, platform::Services services) : services_(std::move(services)) {}

 private:
  void updateLocked();

  const platform::Services services_;
  std::mutex safeAccessLock_;  // held for a whole update

  mutable std::mutex propertyMutex_;
  ScheduleDiscount scheduleDiscount_;  // guarded by propertyMutex_
};

}  // namespace aurimo
