#pragma once
// UNNotificationTrigger: when a notification is delivered, as the platform's
// trigger classes. Calendar and time-interval triggers are local; a push
// trigger only marks notifications that came from the push service.
//
// Thread contract: immutable; share freely.
//
//   auto trigger = std::make_shared<platform::UNCalendarNotificationTrigger>(
//       platform::DateComponents{.hour = 10, .minute = 0}, /*repeats=*/false);

#include <optional>

#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/date_components.h"

namespace aurimo::platform {

class UNNotificationTrigger {
 public:
  virtual ~UNNotificationTrigger() = default;
  bool repeats() const { return repeats_; }

 protected:
  explicit UNNotificationTrigger(bool repeats) : repeats_(repeats) {}

 private:
  bool repeats_;
};

class UNCalendarNotificationTrigger final : public UNNotificationTrigger {
 public:
  UNCalendarNotificationTrigger(DateComponents dateMatching, bool repeats)
      : UNNotificationTrigger(repeats), dateComponents_(std::move(dateMatching)) {}

  const DateComponents& dateComponents() const { return dateComponents_; }

  // The next instant after now whose fields match, in Calendar::current().
  std::optional<Date> nextTriggerDate() const {
    return Calendar::current().nextDate(Clock::current().now(), dateComponents_, Calendar::MatchingPolicy::nextTime);
  }

 private:
  DateComponents dateComponents_;
};

class UNTimeIntervalNotificationTrigger final : public UNNotificationTrigger {
 public:
  UNTimeIntervalNotificationTrigger(TimeInterval timeInterval, bool repeats)
      : UNNotificationTrigger(repeats), timeInterval_(timeInterval) {}

  TimeInterval timeInterval() const { return timeInterval_; }

 private:
  TimeInterval timeInterval_;
};

class UNPushNotificationTrigger final : public UNNotificationTrigger {
 public:
  UNPushNotificationTrigger() : UNNotificationTrigger(false) {}
};

}  // namespace aurimo::platform
