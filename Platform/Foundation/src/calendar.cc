#include "platform/calendar.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "internal/zone_rules.h"

namespace aurimo::platform {
namespace {

namespace hd = ::date;  // Calendar::date() hides the date library's namespace name in members
using std::chrono::nanoseconds;
using Seconds = std::chrono::seconds;
using Policy = Calendar::MatchingPolicy;
using Repeated = Calendar::RepeatedTimePolicy;

constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
constexpr std::int64_t kSecondsPerDay = 86'400;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// Date covers roughly the years 1677 to 2262; everything here stays within it.
const std::int64_t kMinSeconds = std::chrono::ceil<Seconds>(Date::min().time_since_epoch()).count() + 1;
const std::int64_t kMaxSeconds = std::chrono::floor<Seconds>(Date::max().time_since_epoch()).count() - 1;

std::optional<Date> makeDate(std::int64_t sysSeconds, std::int64_t nanos) {
  if (sysSeconds < kMinSeconds || sysSeconds > kMaxSeconds) return std::nullopt;
  return Date(std::chrono::duration_cast<Date::duration>(Seconds(sysSeconds) + nanoseconds(nanos)));
}

// The wall-clock reading of an instant.
struct Wall {
  hd::local_seconds time;
  std::int64_t nanos = 0;
  Seconds offset{0};

  hd::local_days day() const { return std::chrono::floor<hd::days>(time); }
  hd::year_month_day ymd() const { return hd::year_month_day(day()); }
  std::int64_t secondOfDay() const { return (time - day()).count(); }
};

Wall wallOf(const internal::ZoneRules& rules, Date date) {
  const auto secs = std::chrono::floor<Seconds>(date);
  const Seconds offset = rules.sysInfo(hd::sys_seconds(secs.time_since_epoch())).offset;
  return {hd::local_seconds(secs.time_since_epoch() + offset), (date - secs).count(), offset};
}

struct Resolved {
  std::int64_t sysSeconds;
  bool keepsNanos;  // false when a gap was answered with the instant the gap ends
};

std::optional<Resolved> resolve(const internal::ZoneRules& rules, hd::local_seconds wall, Policy policy,
                                Repeated repeated, std::optional<Seconds> preferredOffset = std::nullopt) {
  const hd::local_info info = rules.localInfo(wall);
  const std::int64_t local = wall.time_since_epoch().count();
  switch (info.result) {
    case hd::local_info::unique:
      return Resolved{local - info.first.offset.count(), true};
    case hd::local_info::ambiguous: {
      Seconds offset = repeated == Repeated::first ? info.first.offset : info.second.offset;
      if (preferredOffset && (*preferredOffset == info.first.offset || *preferredOffset == info.second.offset)) {
        offset = *preferredOffset;
      }
      return Resolved{local - offset.count(), true};
    }
    case hd::local_info::nonexistent:
      switch (policy) {
        case Policy::strict:
          return std::nullopt;
        case Policy::nextTime:
          return Resolved{info.second.begin.time_since_epoch().count(), false};
        case Policy::nextTimePreservingSmallerComponents:
          return Resolved{local - info.first.offset.count(), true};
        case Policy::previousTimePreservingSmallerComponents:
          return Resolved{local - info.second.offset.count(), true};
      }
  }
  return std::nullopt;
}

std::optional<Date> resolveToDate(const internal::ZoneRules& rules, hd::local_seconds wall, std::int64_t nanos,
                                  Policy policy, Repeated repeated,
                                  std::optional<Seconds> preferredOffset = std::nullopt) {
  auto resolved = resolve(rules, wall, policy, repeated, preferredOffset);
  if (!resolved) return std::nullopt;
  return makeDate(resolved->sysSeconds, resolved->keepsNanos ? nanos : 0);
}

bool inRange(const std::optional<int>& value, int low, int high) {
  return !value || (*value >= low && *value <= high);
}

// The date-level fields of one day, for matching.
struct DayFields {
  int year, month, day, weekday, weekdayOrdinal, quarter;
  explicit DayFields(hd::local_days d) {
    const hd::year_month_day ymd(d);
    year = int(ymd.year());
    month = int(unsigned(ymd.month()));
    day = int(unsigned(ymd.day()));
    weekday = int(hd::weekday(d).c_encoding()) + 1;
    weekdayOrdinal = (day - 1) / 7 + 1;
    quarter = (month - 1) / 3 + 1;
  }
};

// What nextDate looks for, with absent fields defaulted or left free.
struct Pattern {
  std::optional<int> era, year, month, day, weekday, weekdayOrdinal, quarter;
  std::vector<int> hours, minutes, seconds;
  std::int64_t nanos = 0;

  bool matches(const DayFields& f) const {
    return (!era || *era == (f.year >= 1 ? 1 : 0)) && (!year || *year == f.year) && (!month || *month == f.month) &&
           (!day || *day == f.day) && (!weekday || *weekday == f.weekday) &&
           (!weekdayOrdinal || *weekdayOrdinal == f.weekdayOrdinal) && (!quarter || *quarter == f.quarter);
  }
};

std::vector<int> fixedOrFree(const std::optional<int>& given, bool defaulted, int count) {
  if (given) return {*given};
  if (defaulted) return {0};
  std::vector<int> all(count);
  for (int i = 0; i < count; ++i) all[i] = i;
  return all;
}

std::optional<Pattern> patternFor(const DateComponents& c) {
  if (!inRange(c.era, 0, 1) || !inRange(c.month, 1, 12) || !inRange(c.day, 1, 31) || !inRange(c.hour, 0, 23) ||
      !inRange(c.minute, 0, 59) || !inRange(c.second, 0, 59) || !inRange(c.nanosecond, 0, kNanosPerSecond - 1) ||
      !inRange(c.weekday, 1, 7) || !inRange(c.weekdayOrdinal, 1, 5) || !inRange(c.quarter, 1, 4)) {
    return std::nullopt;
  }
  const bool dayLevel = c.day || c.weekday || c.weekdayOrdinal;
  const bool dateGiven = c.era || c.year || c.quarter || c.month || dayLevel;
  if (!dateGiven && !c.hour && !c.minute && !c.second && !c.nanosecond) return std::nullopt;

  Pattern p{c.era, c.year, c.month, c.day, c.weekday, c.weekdayOrdinal, c.quarter, {}, {}, {}, c.nanosecond.value_or(0)};
  if (!p.month && !dayLevel) {
    if (p.quarter) {
      p.month = (*p.quarter - 1) * 3 + 1;
    } else if (p.year || p.era) {
      p.month = 1;
    }
  }
  if (!dayLevel && (c.era || c.year || c.quarter || c.month)) p.day = 1;
  p.hours = fixedOrFree(c.hour, dateGiven, 24);
  p.minutes = fixedOrFree(c.minute, dateGiven || c.hour, 60);
  p.seconds = fixedOrFree(c.second, dateGiven || c.hour || c.minute, 60);
  return p;
}

}  // namespace

DateComponents Calendar::dateComponents(const std::set<Component>& components, Date date) const {
  const Wall wall = wallOf(timeZone_.rules(), date);
  const DayFields f(wall.day());
  const std::int64_t secondOfDay = wall.secondOfDay();
  DateComponents result;
  for (Component component : components) {
    switch (component) {
      case Component::era: result.era = 1; break;
      case Component::year: result.year = f.year; break;
      case Component::month: result.month = f.month; break;
      case Component::day: result.day = f.day; break;
      case Component::hour: result.hour = int(secondOfDay / 3600); break;
      case Component::minute: result.minute = int(secondOfDay / 60 % 60); break;
      case Component::second: result.second = int(secondOfDay % 60); break;
      case Component::nanosecond: result.nanosecond = int(wall.nanos); break;
      case Component::weekday: result.weekday = f.weekday; break;
      case Component::weekdayOrdinal: result.weekdayOrdinal = f.weekdayOrdinal; break;
      case Component::quarter: result.quarter = f.quarter; break;
      case Component::timeZone: result.timeZone = timeZone_; break;
    }
  }
  return result;
}

int Calendar::component(Component component, Date date) const {
  if (component == Component::timeZone) {
    std::fprintf(stderr, "Calendar::component: the time zone is not a number\n");
    std::abort();
  }
  const DateComponents c = dateComponents({component}, date);
  for (const std::optional<int>* field : {&c.era, &c.year, &c.month, &c.day, &c.hour, &c.minute, &c.second,
                                          &c.nanosecond, &c.weekday, &c.weekdayOrdinal, &c.quarter}) {
    if (*field) return **field;
  }
  return 0;
}

std::optional<Date> Calendar::date(const DateComponents& c) const {
  const TimeZone& zone = c.timeZone ? *c.timeZone : timeZone_;
  const std::int64_t months = std::int64_t(c.year.value_or(1)) * 12 + (c.month.value_or(1) - 1);
  const std::int64_t year = floorDiv(months, 12);
  if (year < -30000 || year > 30000) return std::nullopt;
  const unsigned month = unsigned(months - year * 12 + 1);
  const hd::sys_days firstOfMonth = hd::year(int(year)) / hd::month(month) / 1;
  const std::int64_t nanos = c.nanosecond.value_or(0);
  const std::int64_t local = (firstOfMonth.time_since_epoch().count() + (c.day.value_or(1) - 1)) * kSecondsPerDay +
                             std::int64_t(c.hour.value_or(0)) * 3600 + std::int64_t(c.minute.value_or(0)) * 60 +
                             c.second.value_or(0) + floorDiv(nanos, kNanosPerSecond);
  return resolveToDate(zone.rules(), hd::local_seconds(Seconds(local)), nanos - floorDiv(nanos, kNanosPerSecond) * kNanosPerSecond,
                       Policy::nextTimePreservingSmallerComponents, Repeated::first);
}

std::optional<Date> Calendar::date(Component component, long long value, Date to) const {
  DateComponents adding;
  switch (component) {
    case Component::era: return value == 0 ? std::optional<Date>(to) : std::nullopt;
    case Component::timeZone: return std::nullopt;
    default: break;
  }
  if (value < INT32_MIN || value > INT32_MAX) return std::nullopt;
  const int v = int(value);
  switch (component) {
    case Component::year: adding.year = v; break;
    case Component::quarter: adding.quarter = v; break;
    case Component::month: adding.month = v; break;
    case Component::day: adding.day = v; break;
    case Component::weekday: adding.weekday = v; break;
    case Component::weekdayOrdinal: adding.weekdayOrdinal = v; break;
    case Component::hour: adding.hour = v; break;
    case Component::minute: adding.minute = v; break;
    case Component::second: adding.second = v; break;
    case Component::nanosecond: adding.nanosecond = v; break;
    case Component::era:
    case Component::timeZone: break;
  }
  return date(adding, to);
}

std::optional<Date> Calendar::date(const DateComponents& byAdding, Date to) const {
  const auto& c = byAdding;
  const std::int64_t months = std::int64_t(c.year.value_or(0)) * 12 + std::int64_t(c.quarter.value_or(0)) * 3 +
                              c.month.value_or(0);
  const std::int64_t days = std::int64_t(c.day.value_or(0)) + c.weekday.value_or(0) +
                            std::int64_t(c.weekdayOrdinal.value_or(0)) * 7;
  Date result = to;
  if (months != 0 || days != 0) {
    const Wall wall = wallOf(timeZone_.rules(), to);
    const hd::year_month_day ymd = wall.ymd();
    const std::int64_t totalMonths = std::int64_t(int(ymd.year())) * 12 + (unsigned(ymd.month()) - 1) + months;
    const std::int64_t year = floorDiv(totalMonths, 12);
    if (year < -30000 || year > 30000 || days < -20'000'000 || days > 20'000'000) return std::nullopt;
    const hd::year_month ym = hd::year(int(year)) / hd::month(unsigned(totalMonths - year * 12 + 1));
    const hd::day lastDay = (ym / hd::last).day();
    const hd::local_days day = hd::local_days(ym / std::min(ymd.day(), lastDay)) + hd::days(days);
    auto moved = resolveToDate(timeZone_.rules(), day + Seconds(wall.secondOfDay()), wall.nanos,
                               Policy::nextTimePreservingSmallerComponents, Repeated::first, wall.offset);
    if (!moved) return std::nullopt;
    result = *moved;
  }
  std::int64_t elapsed = 0;
  for (auto [value, unit] : {std::pair{c.hour, 3600 * kNanosPerSecond}, std::pair{c.minute, 60 * kNanosPerSecond},
                             std::pair{c.second, kNanosPerSecond}, std::pair{c.nanosecond, std::int64_t(1)}}) {
    std::int64_t part = 0;
    if (value && (__builtin_mul_overflow(std::int64_t(*value), unit, &part) ||
                  __builtin_add_overflow(elapsed, part, &elapsed))) {
      return std::nullopt;
    }
  }
  std::int64_t total = 0;
  if (__builtin_add_overflow(result.time_since_epoch().count(), elapsed, &total)) return std::nullopt;
  return Date(Date::duration(total));
}

std::optional<Date> Calendar::nextDate(Date after, const DateComponents& matching, MatchingPolicy matchingPolicy,
                                       RepeatedTimePolicy repeatedTimePolicy, SearchDirection direction) const {
  const std::optional<Pattern> pattern = patternFor(matching);
  if (!pattern) return std::nullopt;
  const internal::ZoneRules& rules = (matching.timeZone ? *matching.timeZone : timeZone_).rules();
  const bool forward = direction == SearchDirection::forward;

  // The best instant beyond `after` among one day's candidates.
  auto bestOnDay = [&](hd::local_days day) -> std::optional<Date> {
    std::optional<Date> best;
    if (!pattern->matches(DayFields(day))) return best;
    for (int hour : pattern->hours) {
      for (int minute : pattern->minutes) {
        for (int second : pattern->seconds) {
          const hd::local_seconds wall = day + std::chrono::hours(hour) + std::chrono::minutes(minute) + Seconds(second);
          auto candidate = resolveToDate(rules, wall, pattern->nanos, matchingPolicy, repeatedTimePolicy);
          if (!candidate || (forward ? *candidate <= after : *candidate >= after)) continue;
          if (!best || (forward ? *candidate < *best : *candidate > *best)) best = candidate;
        }
      }
    }
    return best;
  };

  const hd::local_days minDay = std::chrono::floor<hd::days>(hd::local_seconds(Seconds(kMinSeconds))) + hd::days(1);
  const hd::local_days maxDay = std::chrono::floor<hd::days>(hd::local_seconds(Seconds(kMaxSeconds))) - hd::days(1);
  const hd::days step(forward ? 1 : -1);
  // Start a day early: around a daylight-saving change the previous day's
  // wall times can still lie beyond `after`.
  hd::local_days day = wallOf(rules, after).day() - step;
  for (; day >= minDay && day <= maxDay; day += step) {
    if (pattern->year) {
      const int year = int(hd::year_month_day(day).year());
      if (forward ? year > *pattern->year : year < *pattern->year) return std::nullopt;
      if (year != *pattern->year) {
        // Jump to the day before (or after) the wanted year.
        day = forward ? hd::local_days(hd::year(*pattern->year) / 1 / 1) - step
                      : hd::local_days(hd::year(*pattern->year) / 12 / 31) - step;
        continue;
      }
    }
    if (auto best = bestOnDay(day)) {
      // A match on the following day can still come first when a change of
      // offset reorders wall times around midnight.
      if (auto next = bestOnDay(day + step); next && (forward ? *next < *best : *next > *best)) best = next;
      return best;
    }
  }
  return std::nullopt;
}

Date Calendar::startOfDay(Date date) const {
  const Wall wall = wallOf(timeZone_.rules(), date);
  auto start = resolveToDate(timeZone_.rules(), hd::local_seconds(wall.day()), 0, Policy::nextTime, Repeated::first);
  return start.value_or(date);
}

bool Calendar::isDate(Date a, Date inSameDayAs) const {
  return wallOf(timeZone_.rules(), a).day() == wallOf(timeZone_.rules(), inSameDayAs).day();
}

}  // namespace aurimo::platform
