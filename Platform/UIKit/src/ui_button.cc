#include "platform/ui_button.h"

#include "platform/dispatch_queue.h"

namespace aurimo::platform {

void UIButton::sendActionsForTouchUpInside() {
  dispatchPreconditionOnMain();
  // An action may remove the button's actions (or the button); run a copy.
  const std::vector<std::function<void()>> actions = actions_;
  for (const auto& action : actions) action();
}

}  // namespace aurimo::platform
