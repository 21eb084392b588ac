#include "platform/clock.h"

namespace aurimo::platform {

Replaceable<Clock>& Clock::slot() {
  static Replaceable<Clock> instance([] { return std::make_shared<SystemClock>(); });
  return instance;
}

}  // namespace aurimo::platform
