#pragma once
// ISO 8601 dates with a time of day, as people type them into events and
// options: YYYY-MM-DDTHH:MM[:SS[.fraction]] followed by Z, ±HH:MM, ±HHMM, ±HH
// or nothing. Without an offset the time is read in the given calendar's zone.
//
// Thread contract: a pure function, safe from any thread.
//
//   std::optional<platform::Date> end = platform::parseIso8601("2025-01-20T21:00:00+01:00", platform::Calendar::current());

#include <optional>
#include <string_view>

#include "platform/calendar.h"
#include "platform/clock.h"

namespace aurimo::platform {

// nullopt for anything that is not such a date, names a day or time that does
// not exist (February 30th, 24:00), or lies outside the range of Date.
std::optional<Date> parseIso8601(std::string_view text, const Calendar& calendar);

enum class Iso8601Problem {
  malformed,   // not such a date, or a day or time that does not exist
  outOfRange,  // a real date and time, but before or after what Date holds (1677 to 2262)
};
// The same, saying in `problem` (when given) why the result is nullopt.
std::optional<Date> parseIso8601(std::string_view text, const Calendar& calendar, Iso8601Problem* problem);

}  // namespace aurimo::platform
