#pragma once
// Calendar: the Gregorian calendar in one time zone, as the platform's
// Calendar: splits instants into fields, builds instants from fields, adds
// fields and finds the next instant whose fields match.
//
// Thread contract: an immutable value, safe from any thread.
//
//   platform::Calendar calendar = platform::Calendar::current();
//   int hour = calendar.component(platform::Calendar::Component::hour, platform::Clock::current().now());

#include <optional>
#include <set>

#include "platform/clock.h"
#include "platform/date_components.h"
#include "platform/time_zone.h"

namespace aurimo::platform {

class Calendar {
 public:
  enum class Component {
    era, year, month, day, hour, minute, second, nanosecond, weekday, weekdayOrdinal, quarter, timeZone
  };
  // What to do when a wanted wall-clock time does not exist (it falls into a
  // daylight-saving gap): strict skips it, nextTime takes the first instant
  // after the gap, the preserving policies keep the minutes and seconds and
  // move forward or back by the length of the gap. Missing days (a 31st in a
  // 30-day month) are always skipped.
  enum class MatchingPolicy { strict, nextTime, nextTimePreservingSmallerComponents, previousTimePreservingSmallerComponents };
  // Which instant a repeated wall-clock time (after a fall-back) stands for.
  enum class RepeatedTimePolicy { first, last };
  enum class SearchDirection { forward, backward };

  explicit Calendar(TimeZone timeZone) : timeZone_(std::move(timeZone)) {}

  // The Gregorian calendar in TimeZone::current().
  static Calendar current() { return Calendar(TimeZone::current()); }

  const TimeZone& timeZone() const { return timeZone_; }

  DateComponents dateComponents(const std::set<Component>& components, Date date) const;
  int component(Component component, Date date) const;

  // Absent fields count from the start (year 1, January, the 1st, 00:00:00);
  // fields out of range carry over (month 13 is January of the next year). A
  // time in a gap moves forward by the gap, a repeated time is its first
  // occurrence. nullopt when the result is outside the range of Date.
  std::optional<Date> date(const DateComponents& components) const;

  // Years, quarters and months keep the day (clamped to the month's end) and
  // the wall-clock time; days and weekdays keep the wall-clock time; hours and
  // smaller units add elapsed time.
  std::optional<Date> date(Component component, long long value, Date to) const;
  std::optional<Date> date(const DateComponents& byAdding, Date to) const;

  // The next instant (strictly after or, going backward, before `after`) whose
  // fields equal the given ones. Absent fields smaller than a given one count
  // as their lowest value ({hour 10} means 10:00:00.0); absent larger fields
  // are free. nullopt when nothing matches within the range of Date or when a
  // given field is out of range.
  std::optional<Date> nextDate(Date after, const DateComponents& matching, MatchingPolicy matchingPolicy,
                               RepeatedTimePolicy repeatedTimePolicy = RepeatedTimePolicy::first,
                               SearchDirection direction = SearchDirection::forward) const;

  Date startOfDay(Date date) const;
  bool isDate(Date a, Date inSameDayAs) const;

 private:
  TimeZone timeZone_;
};

}  // namespace aurimo::platform
