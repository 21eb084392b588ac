#include "app_context/notifications/qz_local_user_notification_scheduler.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app_context/notifications/qz_user_notification_manager.h"
#include "platform/application.h"
#include "platform/bundle.h"
#include "platform/calendar.h"
#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"
#include "platform/localization.h"
#include "platform/un_user_notification_center.h"

namespace aurimo {
namespace {

using platform::Calendar;
using platform::Date;
using platform::DispatchQueue;
using platform::UNUserNotificationCenter;

constexpr long long kOneDay = 86400;

// From the two instants' own seconds: their difference in nanoseconds
// overflows for spans over 292 years.
double secondsBetween(Date from, Date to) { return platform::unixSeconds(to) - platform::unixSeconds(from); }

// nullopt when the reminder would fall before the earliest Date (and so in the past).
std::optional<Date> reminderTime(const Calendar& calendar, Date trialStartDate, Date trialEndDate) {
  if (secondsBetween(trialStartDate, trialEndDate) <= kOneDay) {
    return calendar.date(Calendar::Component::second, -30, trialEndDate);
  }
  // Elapsed seconds, not the wall clock: across a daylight-saving change the
  // day before is 23 or 25 hours on the clock.
  const std::optional<Date> dayBefore = calendar.date(Calendar::Component::second, -kOneDay, trialEndDate);
  if (!dayBefore) return std::nullopt;
  const int hour = calendar.component(Calendar::Component::hour, *dayBefore);
  if (hour >= 10 && hour <= 20) return dayBefore;
  return calendar
      .nextDate(*dayBefore, platform::DateComponents{.hour = 10, .minute = 0, .second = 0},
                Calendar::MatchingPolicy::nextTime, Calendar::RepeatedTimePolicy::first,
                Calendar::SearchDirection::forward)
      .value_or(*dayBefore);
}

}  // namespace

std::shared_ptr<QzLocalUserNotificationScheduler> QzLocalUserNotificationScheduler::create(
    const platform::Services& services) {
  auto scheduler = std::make_shared<QzLocalUserNotificationScheduler>(Passkey{}, services);
  platform::NotificationCenter& center = *services.notificationCenter;
  center.addObserver<QzLocalUserNotificationScheduler>(
      scheduler, platform::UIApplication::willEnterForegroundNotification(), nullptr,
      [](QzLocalUserNotificationScheduler& self, const platform::Notification& notification) {
        self.applicationWillEnterForegroundNotification(notification);
      });
  center.addObserver<QzLocalUserNotificationScheduler>(
      scheduler, QzUserNotificationManager::systemAllowsToUseNotificationsValueDidChangeNotification(), nullptr,
      [](QzLocalUserNotificationScheduler& self, const platform::Notification& notification) {
        self.userNotificationManagerSystemAllowsToUseNotificationsValueDidChangeNotification(notification);
      });
  return scheduler;
}

void QzLocalUserNotificationScheduler::applicationWillEnterForegroundNotification(const platform::Notification&) {
  DispatchQueue::global().async([self = shared_from_this()] { self->updateSchedule(nullptr); });
}

void QzLocalUserNotificationScheduler::userNotificationManagerSystemAllowsToUseNotificationsValueDidChangeNotification(
    const platform::Notification&) {
  DispatchQueue::global().async([self = shared_from_this()] { self->updateSchedule(nullptr); });
}

QzLocalUserNotificationScheduler::ScheduleDiscount QzLocalUserNotificationScheduler::scheduleDiscount() const {
  std::lock_guard lock(propertyMutex_);
  return scheduleDiscount_;
}

void QzLocalUserNotificationScheduler::setScheduleDiscount(ScheduleDiscount scheduleDiscount) {
  std::lock_guard lock(propertyMutex_);
  scheduleDiscount_ = std::move(scheduleDiscount);
}

void QzLocalUserNotificationScheduler::updateSchedule(std::function<void()> completionHandler) {
  DispatchQueue::global().async(
      [self = shared_from_this(), completionHandler = std::move(completionHandler)]() mutable {
        {
          std::lock_guard lock(self->safeAccessLock_);
          self->updateLocked();
        }
        if (completionHandler) DispatchQueue::global().async(std::move(completionHandler));
      });
}

void QzLocalUserNotificationScheduler::updateLocked() {
  UNUserNotificationCenter& center = *services_.userNotificationCenter;
  // The centre answers on another thread; shared so a late leave() never outlives it.
  auto answered = std::make_shared<platform::DispatchGroup>();

  platform::UNNotificationSettings settings;
  answered->enter();
  center.getNotificationSettings([&settings, answered](platform::UNNotificationSettings result) {
    settings = result;
    answered->leave();
  });
  answered->wait();
  // Provisional and ephemeral delivery leave the reminders alone too.
  if (settings.authorizationStatus != platform::UNAuthorizationStatus::authorized) return;

  std::vector<platform::UNNotificationRequest> pending;
  answered->enter();
  center.getPendingNotificationRequests([&pending, answered](std::vector<platform::UNNotificationRequest> result) {
    pending = std::move(result);
    answered->leave();
  });
  answered->wait();

  std::vector<std::string> discountReminders;
  for (const platform::UNNotificationRequest& request : pending) {
    if (request.content().categoryIdentifier() == discountReminderCategoryIdentifier) {
      discountReminders.push_back(request.identifier());
    }
  }
  center.removePendingNotificationRequests(discountReminders);

  if (ScheduleDiscount discount = scheduleDiscount()) discount();
}

void QzLocalUserNotificationScheduler::scheduleTrialExpirationReminder(platform::Date trialStartDate,
                                                                       platform::Date trialEndDate) {
  scheduleTrialExpirationReminder(trialStartDate, trialEndDate, nullptr);
}

void QzLocalUserNotificationScheduler::scheduleTrialExpirationReminder(
    platform::Date trialStartDate, platform::Date trialEndDate,
    std::function<void(std::optional<platform::UNError>)> completionHandler) {
  const Calendar calendar = services_.calendar();
  const std::optional<Date> reminder = reminderTime(calendar, trialStartDate, trialEndDate);
  if (!reminder || secondsBetween(services_.clock->now(), *reminder) <= 0) {
    if (completionHandler) DispatchQueue::global().async([completionHandler] { completionHandler(std::nullopt); });
    return;
  }

  platform::UNMutableNotificationContent content;
  content.title = platform::NSLocalizedString(
      "Don't miss out! \U0001F3C3\u200D\u27A1\uFE0F", std::nullopt, *services_.bundle, "",
      "Title of the local notification sent a day before the free trial period ends, encouraging the user to keep "
      "using the app.");
  content.body = platform::NSLocalizedString(
      "You still have time to explore Aurimo! Find out what your collectibles could be worth and more \U0001F4B0",
      std::nullopt, *services_.bundle, "",
      "Body of the local notification sent a day before the free trial period ends, encouraging the user to keep "
      "using the app.");
  content.sound = platform::UNNotificationSound::defaultSound();
  content.categoryIdentifier = std::string(trialExpirationReminderCategoryIdentifier);

  using Component = Calendar::Component;
  auto trigger = std::make_shared<platform::UNCalendarNotificationTrigger>(
      calendar.dateComponents(
          {Component::year, Component::month, Component::day, Component::hour, Component::minute, Component::second},
          *reminder),
      /*repeats=*/false);
  services_.userNotificationCenter->add(
      platform::UNNotificationRequest(std::string(trialExpirationReminderIdentifier), content, std::move(trigger)),
      std::move(completionHandler));
}

}  // namespace aurimo
