#include "platform/clock.h"

#include "internal/dispatch_core.h"

namespace aurimo::platform {

Replaceable<Clock>& Clock::slot() {
  static Replaceable<Clock> instance([] { return std::make_shared<SystemClock>(); });
  return instance;
}

void Clock::timeDidJump() {
  internal::MainLoop::shared().wake();
  internal::DelayedBlocks::shared().wake();
  internal::Activity::shared().wake();
}

}  // namespace aurimo::platform
