#include "platform/iso8601.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace aurimo::platform {
namespace {

TEST(Iso8601Test, ReadsDatesWithAnOffsetOrInTheCalendarsZoneAndRejectsTheRest) {
  struct Case {
    const char* text;
    long long unixSeconds;
    long nanoseconds = 0;
  };
  const Case cases[] = {
      {"2099-01-10T12:00:00+01:00", 4071726000},
      {"2099-01-17T20:30:00Z", 4072365000},
      {"2024-02-29T00:00z", 1709164800},
      {"2000-02-29T23:59:59,123456789999Z", 951868799, 123456789},  // digits past nanoseconds are dropped
      {"2024-01-01T00:00-0530", 1704087000},
      {"2024-01-01T00:00+05", 1704049200},
      // Without an offset: New York time, daylight saving included.
      {"2099-01-10T15:00:00.5", 4071758400, 500000000},
      {"2099-01-10t15:00", 4071758400},
      {"2024-07-01T06:00", 1719828000},
  };
  const char* const rejected[] = {"", "2024-01-01", "2024-01-01 00:00Z", "2024-1-01T00:00Z", "2099-02-29T00:00:00Z",
      "1900-02-29T00:00Z", "2024-04-31T00:00Z", "2024-00-10T00:00Z", "2024-13-10T00:00Z", "2024-01-01T24:00Z",
      "2024-01-01T00:60Z", "2024-01-01T00:00:60Z", "2024-01-01T00:00:0Z", "2024-01-01T00:00.Z", "2024-01-01T00:00+5",
      "2024-01-01T00:00+053", "2024-01-01T00:00+05:", "2024-01-01T00:00+24:00", "2024-01-01T00:00+05:60",
      "2024-01-01T00:00Z ", "2024-01-01T00:00ZZ"};
  const Calendar newYork(*TimeZone::named("America/New_York"));
  for (const Case& c : cases) {
    EXPECT_EQ(parseIso8601(c.text, newYork), Date(std::chrono::seconds(c.unixSeconds) + std::chrono::nanoseconds(c.nanoseconds)))
        << c.text;
  }
  for (const char* text : rejected) EXPECT_EQ(parseIso8601(text, newYork), std::nullopt) << text;
}

// The offset or fraction once carried a date at an end of the range past it, wrapping to the other end.
TEST(Iso8601Test, DatesPastTheRangeOfDateAreRefusedNotWrapped) {
  const Calendar utc(TimeZone::gmt());
  const struct {
    const char* text;
    std::optional<Iso8601Problem> problem;  // nullopt: parsed
  } cases[] = {
      {"2262-04-11T23:47:15-23:59", Iso8601Problem::outOfRange},
      {"2262-04-11T23:47:15.999999999Z", std::nullopt},
      {"2262-04-11T23:47:15+23:59", std::nullopt},
      {"1677-09-21T00:12:45+23:59", Iso8601Problem::outOfRange},
      {"9999-12-31T23:59Z", Iso8601Problem::outOfRange},
      {"0000-01-01T00:00", Iso8601Problem::outOfRange},
      {"2262-02-30T00:00Z", Iso8601Problem::malformed},
  };
  for (const auto& c : cases) {
    Iso8601Problem problem{};
    const std::optional<Date> date = parseIso8601(c.text, utc, &problem);
    EXPECT_EQ(date.has_value(), !c.problem) << c.text;
    EXPECT_EQ(date ? std::nullopt : std::optional(problem), c.problem) << c.text;
    EXPECT_TRUE(!date || *date > Date()) << c.text;
  }
}

}  // namespace
}  // namespace aurimo::platform
