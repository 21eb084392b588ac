#pragma once
// FakeClock: a clock that moves only when a test moves it.
//
//   auto clock = std::make_shared<test::FakeClock>(platform::dateFromUnixSeconds(1e9));
//   platform::ScopedReplacement pin(platform::Clock::slot(), clock);
//   clock->advance(60);

#include <atomic>

#include "platform/clock.h"

namespace aurimo::test {

class FakeClock final : public platform::Clock {
 public:
  explicit FakeClock(platform::Date start = platform::dateFromUnixSeconds(1'700'000'000))
      : nanos_(start.time_since_epoch().count()) {}

  platform::Date now() const override {
    return platform::Date(platform::Date::duration(nanos_.load(std::memory_order_acquire)));
  }
  void set(platform::Date date) {
    nanos_.store(date.time_since_epoch().count(), std::memory_order_release);
    timeDidJump();
  }
  void advance(platform::TimeInterval seconds) { set(now() + platform::seconds(seconds)); }

 private:
  std::atomic<platform::Date::rep> nanos_;
};

}  // namespace aurimo::test
