#pragma once
// DateComponents: a date or time given field by field, any field possibly
// absent, as the platform's DateComponents. Weekdays count from 1 (Sunday)
// to 7 (Saturday); months and days from 1.
//
// Thread contract: a plain value.
//
//   platform::DateComponents tenOClock{.hour = 10, .minute = 0, .second = 0};
//   auto next = calendar.nextDate(now, tenOClock, platform::Calendar::MatchingPolicy::nextTime);

#include <optional>

#include "platform/time_zone.h"

namespace aurimo::platform {

struct DateComponents {
  std::optional<TimeZone> timeZone{};
  std::optional<int> era{};
  std::optional<int> year{};
  std::optional<int> month{};
  std::optional<int> day{};
  std::optional<int> hour{};
  std::optional<int> minute{};
  std::optional<int> second{};
  std::optional<int> nanosecond{};
  std::optional<int> weekday{};
  std::optional<int> weekdayOrdinal{};  // 2 with weekday 2: the second Monday of the month
  std::optional<int> quarter{};

  friend bool operator==(const DateComponents&, const DateComponents&) = default;
};

}  // namespace aurimo::platform
