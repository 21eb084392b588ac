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

// Saturates at the ends of Date's range (about 292 years either side of
// 1970), and NaN is zero: converting a double the integer cannot hold would
// be undefined behaviour.
inline Date::duration seconds(TimeInterval interval) {
  static_assert(std::is_same_v<Date::duration, std::chrono::nanoseconds>);
  const double nanos = interval * 1e9;
  if (std::isnan(nanos)) return Date::duration::zero();
  if (nanos >= 0x1p63) return Date::duration::max();
  if (nanos <= -0x1p63) return Date::duration::min();
  return Date::duration(static_cast<Date::duration::rep>(nanos));
}
inline Date dateFromUnixSeconds(TimeInterval seconds) { return Date(platform::seconds(seconds)); }
inline TimeInterval unixSeconds(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count();
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
