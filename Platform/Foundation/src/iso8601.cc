#include "platform/iso8601.h"

#include <cctype>
#include <chrono>
#include <cstdint>

#include "platform/date_components.h"
#include "platform/time_zone.h"

namespace aurimo::platform {
namespace {

// Reads exactly `digits` decimal digits.
bool number(std::string_view& text, int digits, int& value) {
  if (text.size() < std::size_t(digits)) return false;
  value = 0;
  for (int i = 0; i < digits; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
    value = value * 10 + (text[i] - '0');
  }
  text.remove_prefix(digits);
  return true;
}

int daysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

bool literal(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

}  // namespace

std::optional<Date> parseIso8601(std::string_view text, const Calendar& calendar, Iso8601Problem* problem) {
  if (problem) *problem = Iso8601Problem::malformed;
  DateComponents c;
  int year, month, day, hour, minute, second = 0;
  if (!number(text, 4, year) || !literal(text, '-') || !number(text, 2, month) || !literal(text, '-') ||
      !number(text, 2, day) || !(literal(text, 'T') || literal(text, 't')) || !number(text, 2, hour) ||
      !literal(text, ':') || !number(text, 2, minute)) {
    return std::nullopt;
  }
  if (literal(text, ':') && !number(text, 2, second)) return std::nullopt;
  std::int64_t nanos = 0;
  if (literal(text, '.') || literal(text, ',')) {
    int digits = 0;
    for (; !text.empty() && std::isdigit(static_cast<unsigned char>(text.front())); text.remove_prefix(1), ++digits) {
      if (digits < 9) nanos = nanos * 10 + (text.front() - '0');
    }
    if (digits == 0) return std::nullopt;
    for (; digits < 9; ++digits) nanos *= 10;
  }
  if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 || minute > 59 || second > 59) {
    return std::nullopt;
  }
  c.year = year, c.month = month, c.day = day, c.hour = hour, c.minute = minute, c.second = second;

  std::optional<int> offsetSeconds;
  if (literal(text, 'Z') || literal(text, 'z')) {
    offsetSeconds = 0;
  } else if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    const int sign = text.front() == '-' ? -1 : 1;
    text.remove_prefix(1);
    int hours = 0, minutes = 0;
    if (!number(text, 2, hours)) return std::nullopt;
    if (literal(text, ':')) {
      if (!number(text, 2, minutes)) return std::nullopt;
    } else if (!text.empty() && !number(text, 2, minutes)) {
      return std::nullopt;
    }
    if (hours > 23 || minutes > 59) return std::nullopt;
    offsetSeconds = sign * (hours * 3600 + minutes * 60);
  }
  if (!text.empty()) return std::nullopt;

  // Checked steps: an offset or a fraction can carry a date at either end of
  // Date's range past it, and the sum must not wrap to the other end.
  const Calendar utc(TimeZone::gmt());
  std::optional<Date> date = offsetSeconds ? utc.date(c) : calendar.date(c);
  if (date) date = utc.date(DateComponents{.second = -offsetSeconds.value_or(0), .nanosecond = int(nanos)}, *date);
  if (!date && problem) *problem = Iso8601Problem::outOfRange;
  return date;
}

std::optional<Date> parseIso8601(std::string_view text, const Calendar& calendar) {
  return parseIso8601(text, calendar, nullptr);
}

}  // namespace aurimo::platform
