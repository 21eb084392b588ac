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
#include "platform/dispatch_queue.h"
#include "platform/localization.h"
#include "platform/un_user_notification_center.h"

namespace aurimo {
namespace {

using platform::Calendar;
using platform::Date;
using platform::DispatchQueue;
using platform::UNUserNotificationCenter;

constexpr double kOneDay = 86400;

double secondsBetween(Date from, Date to) { return std::chrono::duration<double>(to - from).count(); }

Date reminderTime(const Calendar& calendar, Date trialStartDate, Date trialEndDate) {
  if (secondsBetween(trialStartDate, trialEndDate) <= kOneDay) return trialEndDate - platform::seconds(30);
  // Elapsed seconds, not the wall clock: across a daylight-saving change the
  // day before is 23 or 25 hours on the clock.
  const Date dayBefore = trialEndDate - platform::seconds(kOneDay);
  const int hour = calendar.component(Calendar::Component::hour, dayBefore);
  if (hour >= 10 && hour <= 20) return dayBefore;
  return calendar
      .nextDate(dayBefore, platform::DateComponents{.hour = 10, .minute = 0, .second = 0},
                Calendar::MatchingPolicy::nextTime, Calendar::RepeatedTimePolicy::first,
                Calendar::SearchDirection::forward)
      .value_or(dayBefore);
}

}  // namespace

std::shared_ptr<QzLocalUserNotificationScheduler> QzLocalUserNotificationScheduler::create() {
  auto scheduler = std::make_shared<QzLocalUserNotificationScheduler>(Passkey{});
  platform::NotificationCenter& center = platform::NotificationCenter::defaultCenter();
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
  DispatchQueue::global().async(beginWork(), [self = shared_from_this()] { self->updateSchedule(nullptr); });
}

void QzLocalUserNotificationScheduler::userNotificationManagerSystemAllowsToUseNotificationsValueDidChangeNotification(
    const platform::Notification&) {
  DispatchQueue::global().async(beginWork(), [self = shared_from_this()] { self->updateSchedule(nullptr); });
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
      beginWork(), [self = shared_from_this(), completionHandler = std::move(completionHandler)]() mutable {
        {
          std::lock_guard lock(self->safeAccessLock_);
          self->updateLocked();
        }
        if (completionHandler) DispatchQueue::global().async(self->beginWork(), std::move(completionHandler));
      });
}

void QzLocalUserNotificationScheduler::updateLocked() {
  UNUserNotificationCenter& center = UNUserNotificationCenter::current();
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
  const Calendar calendar = Calendar::current();
  const Date reminder = reminderTime(calendar, trialStartDate, trialEndDate);
  if (secondsBetween(platform::Clock::current().now(), reminder) <= 0) return;

  platform::UNMutableNotificationContent content;
  content.title = platform::NSLocalizedString(
      "Don't miss out! \U0001F3C3\u200D\u27A1\uFE0F", std::nullopt, platform::Bundle::main(), "",
      "Title of the local notification sent a day before the free trial period ends, encouraging the user to keep "
      "using the app.");
  content.body = platform::NSLocalizedString(
      "You still have time to explore Aurimo! Find out what your collectibles could be worth and more \U0001F4B0",
      std::nullopt, platform::Bundle::main(), "",
      "Body of the local notification sent a day before the free trial period ends, encouraging the user to keep "
      "using the app.");
  content.sound = platform::UNNotificationSound::defaultSound();
  content.categoryIdentifier = std::string(trialExpirationReminderCategoryIdentifier);

  using Component = Calendar::Component;
  auto trigger = std::make_shared<platform::UNCalendarNotificationTrigger>(
      calendar.dateComponents(
          {Component::year, Component::month, Component::day, Component::hour, Component::minute, Component::second},
          reminder),
      /*repeats=*/false);
  UNUserNotificationCenter::current().add(
      platform::UNNotificationRequest(std::string(trialExpirationReminderIdentifier), content, std::move(trigger)),
      nullptr);
}

platform::DispatchGroup& QzLocalUserNotificationScheduler::beginWork() {
  workStarted_.fetch_add(1, std::memory_order_relaxed);
  return backgroundWork_;
}

bool QzLocalUserNotificationScheduler::waitUntilIdle() {
  backgroundWork_.wait();
  const std::uint64_t started = workStarted_.load(std::memory_order_relaxed);
  return workSeen_.exchange(started, std::memory_order_relaxed) != started;
}

}  // namespace aurimo
