#pragma once
// Clock: the process's one source of "now". Nothing reads the system time
// directly, so tests can pin time with test::FakeClock.
//
// Thread contract: now() may be called from any thread.
//
//   platform::Date now = platform::Clock::current().now();
//   platform::ScopedReplacement pin(platform::Clock::slot(), fakeClock);

#include <chrono>
#include <cmath>
#include <memory>
#include <type_traits>

#include "platform/replaceable.h"

namespace aurimo::platform {

// A point in time, as the platform's Date: nanoseconds since the Unix epoch.
using Date = std::chrono::system_clock::time_point;
// A span of time in seconds, as the platform's TimeInterval.
using TimeInterval = double;

static_assert(std::is_same_v<Date::duration, std::chrono::nanoseconds>);

// A Date holds nanoseconds in 64 bits: 1677-09-21 to 2262-04-11. Conversions
// into it saturate at Date::min() and Date::max() rather than wrap round to
// the other end, and NaN means zero.
inline Date::duration seconds(TimeInterval interval) {
  const double nanoseconds = interval * 1e9;
  if (std::isnan(nanoseconds)) return Date::duration::zero();
  if (nanoseconds >= 0x1p63) return Date::duration::max();
  if (nanoseconds < -0x1p63) return Date::duration::min();
  return Date::duration(static_cast<Date::rep>(nanoseconds));
}
inline Date dateFromUnixSeconds(TimeInterval seconds) { return Date(platform::seconds(seconds)); }
inline TimeInterval unixSeconds(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count();
}
// date + interval, saturating.
inline Date addingTimeInterval(Date date, TimeInterval interval) {
  Date::rep sum = 0;
  if (__builtin_add_overflow(date.time_since_epoch().count(), platform::seconds(interval).count(), &sum)) {
    return interval < 0 ? Date::min() : Date::max();
  }
  return Date(Date::duration(sum));
}

class Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() const = 0;

  static Clock& current() { return slot().get(); }
  static Replaceable<Clock>& slot();

 protected:
  // A clock that jumps (a test's fake) calls this after moving, so delayed
  // blocks waiting on it look at it again.
  static void timeDidJump();
};

// The real clock: the system's wall clock.
class SystemClock final : public Clock {
 public:
  Date now() const override { return std::chrono::system_clock::now(); }
};

}  // namespace aurimo::platform
