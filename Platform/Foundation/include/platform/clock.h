#pragma once
// Clock: the process's one source of "now". Nothing reads the system time
// directly, so tests can pin time with test::FakeClock.
//
// Thread contract: now() may be called from any thread.
//
//   platform::Date now = platform::Clock::current().now();
//   platform::ScopedReplacement pin(platform::Clock::slot(), fakeClock);

#include <chrono>
#include <memory>

#include "platform/replaceable.h"

namespace aurimo::platform {

// A point in time, as the platform's Date: nanoseconds since the Unix epoch.
using Date = std::chrono::system_clock::time_point;
// A span of time in seconds, as the platform's TimeInterval.
using TimeInterval = double;

inline Date dateFromUnixSeconds(TimeInterval seconds) {
  return Date(std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds)));
}
inline TimeInterval unixSeconds(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count();
}
inline Date::duration seconds(TimeInterval interval) {
  return std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(interval));
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
