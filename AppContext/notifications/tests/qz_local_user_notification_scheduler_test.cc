#include "app_context/notifications/qz_local_user_notification_scheduler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "notification_environment.h"
#include "platform/application.h"

namespace aurimo {
namespace {

using platform::Date;
using platform::DateComponents;
using platform::UNAuthorizationStatus;
using test::NotificationEnvironment;

platform::UNNotificationRequest request(std::string identifier, std::string category) {
  platform::UNMutableNotificationContent content;
  content.categoryIdentifier = std::move(category);
  return {std::move(identifier), content,
          std::make_shared<platform::UNCalendarNotificationTrigger>(DateComponents{.hour = 12}, true)};
}

void add(const platform::UNNotificationRequest& r) { platform::UNUserNotificationCenter::current().add(r, nullptr); }

Date local(int year, int month, int day, int hour, int minute, int second = 0) {
  return *platform::Calendar::current().date(
      DateComponents{.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
}

TEST(QzLocalUserNotificationScheduler, UpdatesReplaceDiscountRemindersOnlyWhenAuthorized) {
  using Status = UNAuthorizationStatus;
  for (Status status : {Status::notDetermined, Status::denied, Status::authorized, Status::provisional, Status::ephemeral}) {
    SCOPED_TRACE(int(status));
    NotificationEnvironment env;
    env.setStatus(status);
    const std::vector<std::string> before{"discount-1", "trial_expiration_reminder", "other", "discount-2", "near-miss"};
    for (const char* category : {"DiscountReminder", "TrialExpirationReminder", "Other", "DiscountReminder", "discountReminder"}) {
      add(request(before[env.pending().size()], category));
    }
    auto scheduler = QzLocalUserNotificationScheduler::create();
    std::atomic<int> discounts{0}, completions{0};
    scheduler->setScheduleDiscount([&] {
      ++discounts;
      add(request("discount-fresh", "DiscountReminder"));
    });
    scheduler->updateSchedule([&] { ++completions; });
    // Triggered by the foreground and by a permission change, without a completion.
    platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
    platform::NotificationCenter::defaultCenter().post(
        QzUserNotificationManager::systemAllowsToUseNotificationsValueDidChangeNotification());
    env.runUntilIdle();

    EXPECT_EQ(completions, 1);
    const bool authorized = status == Status::authorized;
    EXPECT_EQ(discounts, authorized ? 3 : 0);
    const std::vector<std::string> after{"trial_expiration_reminder", "other", "near-miss", "discount-fresh"};
    EXPECT_EQ(env.pendingIdentifiers(), authorized ? after : before);
  }
}

struct ReminderCase {
  const char* name;
  const char* zone;
  Date start;
  Date end;
  Date now;
  std::optional<DateComponents> expected;  // local wall-clock fields of the trigger; nullopt: nothing filed
};

DateComponents wall(int year, int month, int day, int hour, int minute, int second = 0) {
  return {.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second};
}

std::vector<ReminderCase> reminderCases() {
  const auto utc = [](int year, int month, int day, int hour, int minute, int second = 0) {
    return NotificationEnvironment::utc(year, month, day, hour, minute, second);
  };
  constexpr double kDay = 86400;
  const auto s = platform::seconds;
  // Berlin is UTC+1 in January; a week-long trial unless said otherwise.
  const Date end = utc(2025, 1, 20, 12, 0);
  const Date jan = utc(2025, 1, 1, 0, 0);
  const auto week = [&](Date e) { return e - s(7 * kDay); };
  return {
      {"one day exactly: 30 s before the end", "Europe/Berlin", end - s(kDay), end, jan, wall(2025, 1, 20, 12, 59, 30)},
      {"one second longer: a day before", "Europe/Berlin", end - s(kDay + 1), end, jan, wall(2025, 1, 19, 13, 0)},
      {"20:59 kept", "Europe/Berlin", week(utc(2025, 1, 20, 19, 59)), utc(2025, 1, 20, 19, 59), jan,
       wall(2025, 1, 19, 20, 59)},
      {"20:59:59 kept", "Europe/Berlin", week(utc(2025, 1, 20, 19, 59, 59)), utc(2025, 1, 20, 19, 59, 59), jan,
       wall(2025, 1, 19, 20, 59, 59)},
      {"21:00 to 10:00 next morning", "Europe/Berlin", week(utc(2025, 1, 20, 20, 0)), utc(2025, 1, 20, 20, 0), jan,
       wall(2025, 1, 20, 10, 0)},
      {"09:59 to 10:00 same morning", "Europe/Berlin", week(utc(2025, 1, 20, 8, 59)), utc(2025, 1, 20, 8, 59), jan,
       wall(2025, 1, 19, 10, 0)},
      {"10:00 kept", "Europe/Berlin", week(utc(2025, 1, 20, 9, 0)), utc(2025, 1, 20, 9, 0), jan,
       wall(2025, 1, 19, 10, 0)},
      {"midnight to 10:00", "Europe/Berlin", week(utc(2025, 1, 19, 23, 0)), utc(2025, 1, 19, 23, 0), jan,
       wall(2025, 1, 19, 10, 0)},
      // A day is 86,400 s, not the same wall-clock time: around a change the hour shifts.
      {"day before in winter time, end in summer time", "Europe/Berlin", week(utc(2024, 3, 31, 8, 30)),
       utc(2024, 3, 31, 8, 30), utc(2024, 3, 1, 0, 0), wall(2024, 3, 30, 10, 0)},
      {"day before in summer time, end in winter time", "Europe/Berlin", week(utc(2024, 10, 27, 8, 30)),
       utc(2024, 10, 27, 8, 30), utc(2024, 10, 1, 0, 0), wall(2024, 10, 26, 10, 30)},
      {"day before in the first repeated hour", "America/New_York", week(utc(2024, 11, 4, 5, 30)),
       utc(2024, 11, 4, 5, 30), utc(2024, 10, 1, 0, 0), wall(2024, 11, 3, 10, 0)},
      {"day before in the second repeated hour", "America/New_York", week(utc(2024, 11, 4, 6, 30)),
       utc(2024, 11, 4, 6, 30), utc(2024, 10, 1, 0, 0), wall(2024, 11, 3, 10, 0)},
      {"day before just after the spring gap", "America/New_York", week(utc(2024, 3, 11, 7, 30)),
       utc(2024, 3, 11, 7, 30), utc(2024, 3, 1, 0, 0), wall(2024, 3, 10, 10, 0)},
      {"short trial ending in the repeated hour", "America/New_York", utc(2024, 11, 3, 5, 30),
       utc(2024, 11, 3, 6, 30), utc(2024, 10, 1, 0, 0), wall(2024, 11, 3, 1, 29, 30)},
      {"end 29 s ahead", "Europe/Berlin", jan - s(3600), jan + s(29), jan, std::nullopt},
      {"end 30 s ahead: reminder now", "Europe/Berlin", jan - s(3600), jan + s(30), jan, std::nullopt},
      {"end 31 s ahead", "Europe/Berlin", jan - s(3600), jan + s(31), jan, wall(2025, 1, 1, 1, 0, 1)},
      {"day before already past", "Europe/Berlin", end - s(3 * kDay), end, end - s(3600), std::nullopt},
      {"moved 10:00 still ahead", "Europe/Berlin", week(utc(2025, 1, 20, 21, 0)), utc(2025, 1, 20, 21, 0),
       utc(2025, 1, 20, 8, 0), wall(2025, 1, 20, 10, 0)},
      {"moved 10:00 reached", "Europe/Berlin", week(utc(2025, 1, 20, 21, 0)), utc(2025, 1, 20, 21, 0),
       utc(2025, 1, 20, 9, 0), std::nullopt},
  };
}

TEST(QzLocalUserNotificationScheduler, TrialReminderTimeFollowsTheLengthAndTheDaytimeWindow) {
  for (const ReminderCase& c : reminderCases()) {
    SCOPED_TRACE(c.name);
    NotificationEnvironment env(c.zone);
    env.clock->set(c.now);
    add(request("unrelated", "Other"));
    QzLocalUserNotificationScheduler::create()->scheduleTrialExpirationReminder(c.start, c.end);

    const std::vector<platform::UNNotificationRequest> pending = env.pending();
    ASSERT_EQ(pending.size(), c.expected ? 2u : 1u) << "nothing is removed, at most one is added";
    if (!c.expected) continue;
    const auto* trigger = dynamic_cast<const platform::UNCalendarNotificationTrigger*>(pending[1].trigger().get());
    ASSERT_NE(trigger, nullptr);
    EXPECT_EQ(trigger->dateComponents(), *c.expected);
    EXPECT_FALSE(trigger->repeats());
  }
}

TEST(QzLocalUserNotificationScheduler, TrialReminderContentAndIdentifierAreFixed) {
  NotificationEnvironment env;
  env.clock->set(NotificationEnvironment::utc(2025, 1, 1, 0, 0));
  auto scheduler = QzLocalUserNotificationScheduler::create();
  scheduler->scheduleTrialExpirationReminder(local(2025, 1, 10, 12, 0), local(2025, 1, 17, 12, 0));
  scheduler->scheduleTrialExpirationReminder(local(2025, 1, 10, 12, 0), local(2025, 1, 18, 12, 0));

  const std::vector<platform::UNNotificationRequest> pending = env.pending();
  ASSERT_EQ(pending.size(), 1u) << "the fixed identifier replaces the earlier reminder";
  const platform::UNNotificationRequest& reminder = pending[0];
  EXPECT_EQ(reminder.identifier(), "trial_expiration_reminder");
  EXPECT_EQ(reminder.content().categoryIdentifier(), "TrialExpirationReminder");
  // Untranslated, the keys show themselves, emoji byte for byte.
  const std::string title = reminder.content().title();
  EXPECT_EQ(title, "Don't miss out! \xF0\x9F\x8F\x83\xE2\x80\x8D\xE2\x9E\xA1\xEF\xB8\x8F");
  EXPECT_EQ(title.size(), 29u);
  EXPECT_EQ(reminder.content().body(),
            "You still have time to explore Aurimo! Find out what your collectibles could be worth and more "
            "\xF0\x9F\x92\xB0");
  EXPECT_EQ(reminder.content().sound(), platform::UNNotificationSound::defaultSound());
  EXPECT_EQ(reminder.content().badge(), std::nullopt);
  EXPECT_EQ(reminder.content().userInfo(), nlohmann::json::object());
  const auto* trigger = dynamic_cast<const platform::UNCalendarNotificationTrigger*>(reminder.trigger().get());
  ASSERT_NE(trigger, nullptr);
  EXPECT_EQ(trigger->dateComponents(), wall(2025, 1, 17, 12, 0));
}

}  // namespace
}  // namespace aurimo
