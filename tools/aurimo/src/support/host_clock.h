#pragma once
// HostClock: the wall clock plus the time `wait` events have let pass, so a
// host can skip ahead (a close button due in ten seconds) without sleeping.
//
// Thread contract: any thread.
//
//   auto clock = std::make_shared<HostClock>();
//   platform::Clock::slot().replace(clock);
//   clock->skip(10);   // delayed blocks now due run on the next drain

#include <atomic>

#include "platform/clock.h"

namespace aurimo::tool {

class HostClock final : public platform::Clock {
 public:
  platform::Date now() const override {
    return std::chrono::system_clock::now() + platform::Date::duration(skipped_.load(std::memory_order_acquire));
  }
  void skip(platform::TimeInterval seconds) {
    skipped_.fetch_add(platform::seconds(seconds).count(), std::memory_order_acq_rel);
    timeDidJump();
  }

 private:
  std::atomic<platform::Date::rep> skipped_{0};
};

}  // namespace aurimo::tool
