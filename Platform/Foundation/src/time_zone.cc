#include "platform/time_zone.h"

#include <cstdlib>
#include <exception>

#include <date/tz.h>
// ptz.h names hh_mm_ss unqualified under `using namespace date` and
// `using namespace std::chrono`, which C++20 makes ambiguous; point it at the
// date library's one.
namespace date {
template <class Duration>
using hh_mm_ss_ptz = hh_mm_ss<Duration>;
}
#define hh_mm_ss hh_mm_ss_ptz
#include <date/ptz.h>
#undef hh_mm_ss

#include "internal/zone_rules.h"

namespace aurimo::platform {
namespace {

using Seconds = std::chrono::seconds;

class DatabaseZone final : public internal::ZoneRules {
 public:
  explicit DatabaseZone(const date::time_zone* zone) : zone_(zone), identifier_(zone->name()) {}
  const std::string& identifier() const override { return identifier_; }
  date::sys_info sysInfo(date::sys_seconds instant) const override { return zone_->get_info(instant); }
  date::local_info localInfo(date::local_seconds wallTime) const override {
    return zone_->get_info(wallTime);
  }

 private:
  const date::time_zone* zone_;  // owned by the date library's database, which lives forever
  std::string identifier_;
};

class PosixZone final : public internal::ZoneRules {
 public:
  explicit PosixZone(std::string_view rule) : zone_(std::string(rule)), identifier_(rule) {}
  const std::string& identifier() const override { return identifier_; }
  date::sys_info sysInfo(date::sys_seconds instant) const override { return zone_.get_info(instant); }
  date::local_info localInfo(date::local_seconds wallTime) const override {
    return zone_.get_info(wallTime);
  }

 private:
  Posix::time_zone zone_;
  std::string identifier_;
};

// Needs no database, so GMT works even on a machine without tzdata.
class GmtZone final : public internal::ZoneRules {
 public:
  const std::string& identifier() const override { return identifier_; }
  date::sys_info sysInfo(date::sys_seconds) const override { return info(); }
  date::local_info localInfo(date::local_seconds) const override {
    return {date::local_info::unique, info(), {}};
  }

 private:
  static date::sys_info info() {
    date::sys_info result;
    result.begin = date::sys_seconds::min();
    result.end = date::sys_seconds::max();
    result.offset = Seconds(0);
    result.save = std::chrono::minutes(0);
    result.abbrev = "GMT";
    return result;
  }
  std::string identifier_ = "GMT";
};

date::sys_seconds toSysSeconds(Date date) { return std::chrono::floor<Seconds>(date); }

}  // namespace

Replaceable<TimeZone>& TimeZone::slot() {
  static Replaceable<TimeZone> instance([] {
    const char* tz = std::getenv("TZ");
    return std::make_shared<TimeZone>(fromTZ(tz ? std::optional<std::string_view>(tz) : std::nullopt));
  });
  return instance;
}

std::optional<TimeZone> TimeZone::named(std::string_view identifier) {
  if (identifier.empty()) return std::nullopt;
  try {
    return TimeZone(std::make_shared<DatabaseZone>(date::locate_zone(identifier)));
  } catch (const std::exception&) {
    // Unknown name, or no readable database at all.
    return std::nullopt;
  }
}

TimeZone TimeZone::gmt() {
  static const auto rules = std::make_shared<GmtZone>();
  return TimeZone(rules);
}

TimeZone TimeZone::system() {
  try {
    return TimeZone(std::make_shared<DatabaseZone>(date::current_zone()));
  } catch (const std::exception&) {
    return gmt();
  }
}

TimeZone TimeZone::fromTZ(std::optional<std::string_view> tz) {
  if (!tz) return system();
  std::string_view name = *tz;
  // With a leading colon TZ names a file only; without one glibc tries a file
  // first and then reads the value as a rule.
  const bool fileOnly = name.starts_with(':');
  if (fileOnly) name.remove_prefix(1);
  if (name.empty()) return gmt();
  std::string_view databaseName = name;
  constexpr std::string_view zoneinfo = "zoneinfo/";
  if (auto at = name.rfind(zoneinfo); name.starts_with('/') && at != std::string_view::npos) {
    databaseName = name.substr(at + zoneinfo.size());
  }
  if (auto zone = named(databaseName)) return *zone;
  if (!fileOnly) {
    try {
      return TimeZone(std::make_shared<PosixZone>(name));
    } catch (const std::exception&) {
      // Not a rule either: POSIX programs fall back to GMT.
    }
  }
  return gmt();
}

const std::string& TimeZone::identifier() const { return rules_->identifier(); }

int TimeZone::secondsFromGMT(Date date) const {
  return static_cast<int>(rules_->sysInfo(toSysSeconds(date)).offset.count());
}

bool TimeZone::isDaylightSavingTime(Date date) const {
  return rules_->sysInfo(toSysSeconds(date)).save != std::chrono::minutes(0);
}

std::string TimeZone::abbreviation(Date date) const { return rules_->sysInfo(toSysSeconds(date)).abbrev; }

std::optional<Date> TimeZone::nextDaylightSavingTimeTransition(Date after) const {
  const date::sys_info start = rules_->sysInfo(toSysSeconds(after));
  date::sys_info info = start;
  // Periods can also end on a mere change of name; skip those.
  for (int step = 0; step < 16; ++step) {
    if (info.end >= date::sys_seconds(std::chrono::duration_cast<Seconds>(Date::max().time_since_epoch()))) {
      return std::nullopt;
    }
    date::sys_info next = rules_->sysInfo(info.end);
    if (next.offset != start.offset || next.save != start.save) return Date(info.end.time_since_epoch());
    info = next;
  }
  return std::nullopt;
}

}  // namespace aurimo::platform
