#include "platform/ui_screen.h"

#include <memory>

namespace aurimo::platform {

Replaceable<UIScreen>& UIScreen::slot() {
  static Replaceable<UIScreen> instance([] { return std::make_shared<UIScreen>(); });
  return instance;
}

}  // namespace aurimo::platform
