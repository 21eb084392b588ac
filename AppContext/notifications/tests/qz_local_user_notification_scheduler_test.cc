#include "app_context/notifications/qz_local_user_notification_scheduler.h"

#include <gtest/gtest.h>

#include <atomic>

#include "notification_environment.h"
#include "platform/calendar.h"

namespace aurimo {
namespace {

using platform::Date;
using platform::DateComponents;
using M = QzUserNotificationManager;
using Scheduler = QzLocalUserNotificationScheduler;
using test::NotificationEnvironment;

TEST(QzLocalUserNotificationScheduler, UpdatesReplaceDiscountRemindersOnlyWhenAuthorized) {
  using Status = platform::UNAuthorizationStatus;
  const std::vector<std::string> before{"discount-1", "trial", "other", "discount-2", "near-miss"};
  const char* categories[] = {"DiscountReminder", "TrialExpirationReminder", "Other", "DiscountReminder",
                              "discountReminder"};
  for (Status status : {Status::notDetermined, Status::denied, Status::authorized, Status::provisional,
                        Status::ephemeral}) {
    SCOPED_TRACE(int(status));
    NotificationEnvironment env;
    env.setStatus(status);
    for (std::size_t i = 0; i < before.size(); ++i) env.add(before[i], categories[i]);
    auto scheduler = Scheduler::create(env.services());
    std::atomic<int> discounts{0}, completions{0};
    scheduler->setScheduleDiscount([&] { env.add("fresh-" + std::to_string(discounts++), "DiscountReminder"); });
    scheduler->updateSchedule([&] { ++completions; });
    // Triggered by the foreground and by a permission change, without a completion.
    env.notificationCenter().post(M::systemAllowsToUseNotificationsValueDidChangeNotification());
    env.foreground();

    EXPECT_EQ(completions, 1);
    const bool authorized = status == Status::authorized;
    const std::vector<std::string> after{"trial", "other", "near-miss", "fresh-2"};  // three updates, one kept
    EXPECT_EQ(env.pendingIdentifiers(), authorized ? after : before);
  }
}

Date utc(int year, int month, int day, int hour, int minute, int second = 0) {
  return *platform::Calendar(platform::TimeZone::gmt())
              .date({.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
}
DateComponents wall(int year, int month, int day, int hour, int minute, int second = 0) {
  return {.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second};
}

constexpr double kDay = 86400;
const Date kJan = utc(2025, 1, 1, 0, 0);

struct ReminderCase {
  const char* name;
  Date end;
  std::optional<DateComponents> expected;  // local wall-clock fields of the trigger; nullopt: nothing filed
  const char* zone = "Europe/Berlin";      // UTC+1 in January
  double length = 7 * kDay;                // of the trial
  Date now = kJan;
  std::optional<Date> start = std::nullopt;  // instead of end - length
};

TEST(QzLocalUserNotificationScheduler, TrialReminderTimeFollowsTheLengthAndTheDaytimeWindow) {
  const Date end = utc(2025, 1, 20, 12, 0);
  const char *b = "Europe/Berlin", *york = "America/New_York";
  const double week = 7 * kDay;
  const Date mar = utc(2024, 3, 1, 0, 0), oct = utc(2024, 10, 1, 0, 0);
  const ReminderCase cases[] = {
      {"one day exactly: 30 s before the end", end, wall(2025, 1, 20, 12, 59, 30), b, kDay},
      {"one second longer: a day before", end, wall(2025, 1, 19, 13, 0), b, kDay + 1},
      {"20:59:59 kept", utc(2025, 1, 20, 19, 59, 59), wall(2025, 1, 19, 20, 59, 59)},
      {"21:00 to 10:00 next morning", utc(2025, 1, 20, 20, 0), wall(2025, 1, 20, 10, 0)},
      {"09:59 to 10:00 same morning", utc(2025, 1, 20, 8, 59), wall(2025, 1, 19, 10, 0)},
      {"10:00 kept", utc(2025, 1, 20, 9, 0), wall(2025, 1, 19, 10, 0)},
      // A day is 86,400 s, not the same wall-clock time: around a change the hour shifts.
      {"winter day before, summer end", utc(2024, 3, 31, 8, 30), wall(2024, 3, 30, 10, 0), b, week, mar},
      {"summer day before, winter end", utc(2024, 10, 27, 8, 30), wall(2024, 10, 26, 10, 30), b, week, oct},
      {"day before in the first repeated hour", utc(2024, 11, 4, 5, 30), wall(2024, 11, 3, 10, 0), york, week, oct},
      {"day before in the second repeated hour", utc(2024, 11, 4, 6, 30), wall(2024, 11, 3, 10, 0), york, week, oct},
      {"day before just after the spring gap", utc(2024, 3, 11, 7, 30), wall(2024, 3, 10, 10, 0), york, week, mar},
      {"short trial ending in the repeated hour", utc(2024, 11, 3, 6, 30), wall(2024, 11, 3, 1, 29, 30), york, 3600,
       oct},
      {"end 30 s ahead: reminder now", kJan + platform::seconds(30), std::nullopt, b, 3600},
      {"end 31 s ahead", kJan + platform::seconds(31), wall(2025, 1, 1, 1, 0, 1), b, 3600},
      {"day before already past", end, std::nullopt, b, 3 * kDay, end - platform::seconds(3600)},
      {"moved 10:00 still ahead", utc(2025, 1, 20, 21, 0), wall(2025, 1, 20, 10, 0), b, week, utc(2025, 1, 20, 8, 0)},
      {"moved 10:00 reached", utc(2025, 1, 20, 21, 0), std::nullopt, b, week, utc(2025, 1, 20, 9, 0)},
      // Regressions: the span in nanoseconds overflowed past 292 years, and 30 s
      // before the earliest Date wrapped to the far future.
      {"a trial of 500 years", utc(2200, 1, 20, 12, 0), wall(2200, 1, 19, 13, 0), b, 0, kJan, utc(1700, 1, 1, 0, 0)},
      {"a trial ending at the start of time", Date::min() + std::chrono::seconds(10), std::nullopt, b, 0},
  };
  for (const ReminderCase& c : cases) {
    SCOPED_TRACE(c.name);
    NotificationEnvironment env(c.zone);
    env.clock->set(c.now);
    env.add("unrelated", "Other");
    auto scheduler = Scheduler::create(env.services());
    const Date start = c.start.value_or(c.end - platform::seconds(c.length));
    scheduler->scheduleTrialExpirationReminder(start, c.end);
    scheduler->scheduleTrialExpirationReminder(start, c.end);

    const std::vector<platform::UNNotificationRequest> pending = env.pending();
    ASSERT_EQ(pending.size(), c.expected ? 2u : 1u) << "nothing else is removed; a second one replaces the first";
    if (!c.expected) continue;
    EXPECT_EQ(pending[1].content().sound(), platform::UNNotificationSound::defaultSound());
    // A tap on it must read as the trial reminder.
    EXPECT_EQ(pending[1].content().categoryIdentifier(), M::trialExpirationReminderNotificationCategoryIdentifier);
    const auto* trigger = dynamic_cast<const platform::UNCalendarNotificationTrigger*>(pending[1].trigger().get());
    ASSERT_NE(trigger, nullptr);
    EXPECT_EQ(trigger->dateComponents(), *c.expected);
    EXPECT_FALSE(trigger->repeats());
  }
}

}  // namespace
}  // namespace aurimo
