#pragma once
// TimeZone: the rules that turn an instant into a wall-clock time, as the
// platform's TimeZone. Zones come from the system's time-zone database
// (/usr/share/zoneinfo), from a POSIX TZ rule, or are GMT.
//
// The process default is the zone the TZ environment variable names, as in
// every POSIX program, else the system's zone (/etc/localtime). It is read
// once; tests pin a named zone instead.
//
// Thread contract: a TimeZone is immutable and safe to share between threads.
//
//   auto berlin = platform::TimeZone::named("Europe/Berlin");
//   platform::ScopedReplacement pin(platform::TimeZone::slot(), std::make_shared<platform::TimeZone>(*berlin));

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/replaceable.h"

namespace aurimo::platform {

namespace internal {
class ZoneRules;
}

class TimeZone {
 public:
  static TimeZone& current() { return slot().get(); }
  static Replaceable<TimeZone>& slot();

  // A zone of the system database by identifier, e.g. "America/New_York".
  [[nodiscard]] static std::optional<TimeZone> named(std::string_view identifier);
  static TimeZone gmt();
  // What a POSIX program makes of the TZ value `tz`: unset means the system
  // zone; empty means GMT; ":Area/City", "Area/City", a zoneinfo file path or
  // a rule such as "EST5EDT,M3.2.0,M11.1.0" name a zone; anything else is GMT.
  static TimeZone fromTZ(std::optional<std::string_view> tz);
  // The zone of /etc/localtime, GMT when there is none.
  static TimeZone system();

  const std::string& identifier() const;
  int secondsFromGMT(Date date) const;
  bool isDaylightSavingTime(Date date) const;
  std::string abbreviation(Date date) const;
  // The first change of offset strictly after `date`, if the rules have one.
  std::optional<Date> nextDaylightSavingTimeTransition(Date after) const;

  friend bool operator==(const TimeZone& a, const TimeZone& b) {
    return a.identifier() == b.identifier();
  }

  // For the calendar's conversions between instants and wall-clock times.
  const internal::ZoneRules& rules() const { return *rules_; }

 private:
  explicit TimeZone(std::shared_ptr<const internal::ZoneRules> rules) : rules_(std::move(rules)) {}

  std::shared_ptr<const internal::ZoneRules> rules_;
};

}  // namespace aurimo::platform
