#include "platform/calendar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>

namespace aurimo::platform {
namespace {

using Policy = Calendar::MatchingPolicy;
using Repeated = Calendar::RepeatedTimePolicy;
using Component = Calendar::Component;

// "2024-03-31T01:00:00.5Z", read with the C library so expectations do not
// depend on the code under test.
Date utc(const char* text) {
  std::tm fields{};
  const char* rest = strptime(text, "%Y-%m-%dT%H:%M:%S", &fields);
  if (!rest) ADD_FAILURE() << "bad test time " << text;
  const double fraction = rest && *rest == '.' ? std::strtod(rest, nullptr) : 0;
  return Date(std::chrono::seconds(timegm(&fields))) + std::chrono::nanoseconds(std::llround(fraction * 1e9));
}

Calendar in(const char* zone) {
  auto timeZone = TimeZone::named(zone);
  if (!timeZone) ADD_FAILURE() << "no zone " << zone << " in the system database";
  return Calendar(timeZone.value_or(TimeZone::gmt()));
}

DateComponents at(int hour, int minute = 0) { return {.hour = hour, .minute = minute, .second = 0}; }

TEST(Calendar, NextDateFindsTheFirstMatchingInstant) {
  // Europe/Berlin: 2024-03-31 02:00 CET -> 03:00 CEST; 2024-10-27 03:00 CEST -> 02:00 CET.
  // America/New_York: 2024-03-10 02:00 EST -> 03:00 EDT; 2024-11-03 02:00 EDT -> 01:00 EST.
  const struct {
    const char* zone;
    const char* after;
    DateComponents matching;
    const char* expected;  // nullptr: no match
    Policy policy = Policy::nextTime;
    Repeated repeated = Repeated::first;
    Calendar::SearchDirection direction = Calendar::SearchDirection::forward;
  } cases[] = {
      {"Europe/Berlin", "2024-06-10T07:00:00Z", at(10), "2024-06-10T08:00:00Z"},
      {"Europe/Berlin", "2024-06-10T08:00:00Z", at(10), "2024-06-11T08:00:00Z"},  // strictly after
      {"America/New_York", "2024-11-03T01:00:00Z", at(10), "2024-11-03T15:00:00Z"},
      {"Europe/Berlin", "2024-03-30T12:00:00Z", at(2, 30), "2024-03-31T01:00:00Z"},
      {"Europe/Berlin", "2024-03-30T12:00:00Z", at(2, 30), "2024-03-31T01:30:00Z",
       Policy::nextTimePreservingSmallerComponents},
      {"Europe/Berlin", "2024-03-30T12:00:00Z", at(2, 30), "2024-03-31T00:30:00Z",
       Policy::previousTimePreservingSmallerComponents},
      {"Europe/Berlin", "2024-03-30T12:00:00Z", at(2, 30), "2024-04-01T00:30:00Z", Policy::strict},
      {"America/New_York", "2024-03-09T17:00:00Z", at(2, 30), "2024-03-10T07:00:00Z"},
      {"Europe/Berlin", "2024-10-26T12:00:00Z", at(2, 30), "2024-10-27T00:30:00Z"},
      {"Europe/Berlin", "2024-10-26T12:00:00Z", at(2, 30), "2024-10-27T01:30:00Z", Policy::nextTime, Repeated::last},
      // Inside the repeated hour the first occurrence is already past: the next day is next.
      {"Europe/Berlin", "2024-10-27T00:45:00Z", at(2, 30), "2024-10-28T01:30:00Z"},
      {"America/New_York", "2024-11-02T16:00:00Z", at(1, 30), "2024-11-03T05:30:00Z"},
      {"America/New_York", "2024-11-02T16:00:00Z", at(1, 30), "2024-11-03T06:30:00Z", Policy::nextTime,
       Repeated::last},
      {"America/New_York", "2024-06-10T12:20:00Z", {.minute = 15}, "2024-06-10T13:15:00Z"},
      {"Europe/Berlin", "2024-06-08T12:00:00Z", {.hour = 9, .weekday = 2}, "2024-06-10T07:00:00Z"},
      {"Europe/Berlin", "2024-03-01T00:00:00Z", {.month = 2, .day = 29}, "2028-02-28T23:00:00Z", Policy::strict},
      {"America/New_York", "2024-06-10T12:00:00Z", at(10), "2024-06-09T14:00:00Z", Policy::nextTime, Repeated::first,
       Calendar::SearchDirection::backward},
      {"Europe/Berlin", "2024-06-10T12:00:00Z", at(24), nullptr},
      {"Europe/Berlin", "2024-06-10T12:00:00Z", {.year = 2020, .hour = 1}, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.zone) + " after " + c.after);
    auto found = in(c.zone).nextDate(utc(c.after), c.matching, c.policy, c.repeated, c.direction);
    EXPECT_EQ(found, c.expected ? std::optional(utc(c.expected)) : std::nullopt);
  }
}

TEST(Calendar, ComponentsRoundTripOutsideRepeatedHours) {
  const std::set<Component> all{Component::year, Component::month, Component::day, Component::hour,
                                Component::minute, Component::second, Component::nanosecond};
  for (const char* zone : {"Europe/Berlin", "America/New_York"}) {
    const Calendar calendar = in(zone);
    for (const char* instant : {"2024-01-15T23:59:59.999999999Z", "2024-03-31T01:00:00Z", "2024-11-03T05:59:59Z",
                                "1970-01-01T00:00:00Z", "2200-12-31T12:34:56.5Z"}) {
      EXPECT_EQ(calendar.date(calendar.dateComponents(all, utc(instant))), utc(instant)) << zone << " " << instant;
    }
  }
}

TEST(Calendar, SplitsBuildsAndAddsInItsZone) {
  const Calendar berlin = in("Europe/Berlin");
  const Date instant = utc("2024-10-27T01:30:00Z");  // 02:30 CET, the second 02:30 that night
  auto c = berlin.dateComponents(
      {Component::year, Component::month, Component::day, Component::hour, Component::minute, Component::weekday,
       Component::weekdayOrdinal, Component::quarter, Component::timeZone},
      instant);
  EXPECT_EQ(c, (DateComponents{.timeZone = TimeZone::named("Europe/Berlin"), .year = 2024, .month = 10, .day = 27,
                               .hour = 2, .minute = 30, .weekday = 1, .weekdayOrdinal = 4, .quarter = 4}));
  EXPECT_EQ(in("America/New_York").component(Component::hour, instant), 21);
  // Building it back picks the first 02:30, an hour earlier.
  EXPECT_EQ(berlin.date(c), utc("2024-10-27T00:30:00Z"));

  // Leniently: skipped hours move forward, out-of-range fields carry over.
  EXPECT_EQ(berlin.date({.year = 2024, .month = 3, .day = 31, .hour = 2, .minute = 30}), utc("2024-03-31T01:30:00Z"));
  EXPECT_EQ(berlin.date({.year = 2023, .month = 13, .day = 0}), utc("2023-12-30T23:00:00Z"));
  DateComponents inNewYork{.timeZone = TimeZone::named("America/New_York"), .year = 2024, .month = 7, .day = 4};
  EXPECT_EQ(berlin.date(inNewYork), utc("2024-07-04T04:00:00Z"));
  EXPECT_FALSE(berlin.date({.year = 1, .month = 1, .day = 1}).has_value());

  // Calendar units add by wall clock, time units by elapsed time.
  const Date beforeSpringForward = utc("2024-03-30T11:00:00Z");  // 12:00 CET
  EXPECT_EQ(berlin.date(Component::day, 1, beforeSpringForward), utc("2024-03-31T10:00:00Z"));
  EXPECT_EQ(berlin.date(Component::hour, 24, beforeSpringForward), utc("2024-03-31T11:00:00Z"));
  EXPECT_EQ(berlin.date(Component::month, 1, utc("2024-01-31T11:00:00Z")), utc("2024-02-29T11:00:00Z"));
  EXPECT_EQ(berlin.date(Component::year, -1, utc("2024-02-29T11:00:00Z")), utc("2023-02-28T11:00:00Z"));
  EXPECT_EQ(berlin.date(DateComponents{.month = 1, .day = 1, .minute = 90}, utc("2024-01-31T11:00:00Z")),
            utc("2024-03-01T12:30:00Z"));
  EXPECT_FALSE(berlin.date(Component::year, 1000, beforeSpringForward).has_value());
}

TEST(Calendar, CurrentDaysFollowTheReplacedTimeZone) {
  ScopedReplacement pin(TimeZone::slot(), std::make_shared<TimeZone>(*TimeZone::named("America/New_York")));
  const Calendar newYork = Calendar::current();
  EXPECT_EQ(newYork.startOfDay(utc("2024-03-10T12:00:00Z")), utc("2024-03-10T05:00:00Z"));
  EXPECT_TRUE(newYork.isDate(utc("2024-06-10T03:59:00Z"), utc("2024-06-09T12:00:00Z")));
  EXPECT_FALSE(newYork.isDate(utc("2024-06-10T04:00:00Z"), utc("2024-06-09T12:00:00Z")));
}

TEST(TimeZone, ReadsTheTZValueLikeAPosixProgramAndKnowsDaylightSavingTime) {
  const Date july = utc("2024-07-01T12:00:00Z");
  const struct {
    std::optional<std::string_view> tz;
    std::string identifier;
    int julyOffset;
  } cases[] = {
      {"", "GMT", 0},
      {":Europe/Berlin", "Europe/Berlin", 7200},
      {"America/New_York", "America/New_York", -14400},
      {"/usr/share/zoneinfo/Europe/Berlin", "Europe/Berlin", 7200},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "CET-1CEST,M3.5.0,M10.5.0/3", 7200},
      {":CET-1CEST,M3.5.0,M10.5.0/3", "GMT", 0},
      {"Nowhere/Special", "GMT", 0},
  };
  for (const auto& c : cases) {
    const TimeZone zone = TimeZone::fromTZ(c.tz);
    EXPECT_EQ(zone.identifier(), c.identifier) << *c.tz;
    EXPECT_EQ(zone.secondsFromGMT(july), c.julyOffset) << *c.tz;
  }
  EXPECT_EQ(TimeZone::fromTZ(std::nullopt), TimeZone::system());
  const TimeZone berlin = *TimeZone::named("Europe/Berlin");
  EXPECT_TRUE(berlin.isDaylightSavingTime(july));
  EXPECT_EQ(berlin.abbreviation(utc("2024-01-01T00:00:00Z")), "CET");
  EXPECT_EQ(berlin.nextDaylightSavingTimeTransition(july), utc("2024-10-27T01:00:00Z"));
  EXPECT_FALSE(TimeZone::gmt().nextDaylightSavingTimeTransition(july).has_value());
}

}  // namespace
}  // namespace aurimo::platform
