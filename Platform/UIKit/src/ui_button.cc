#include "platform/ui_button.h"

#include "platform/dispatch_queue.h"

namespace aurimo::platform {

UIButton::UIButton(Configuration configuration, std::function<void()> primaryAction)
    : configuration_(std::move(configuration)) {
  if (primaryAction) actions_.push_back(std::move(primaryAction));
}

void UIButton::addTarget(const std::shared_ptr<ActionTarget>& target, Selector action, UIControlEvent event) {
  dispatchPreconditionOnMain();
  targets_.push_back(Target{target, std::move(action), event});
}

void UIButton::sendActionsForTouchUpInside() {
  dispatchPreconditionOnMain();
  // An action may change the button's actions (or release the button); run copies.
  const std::vector<std::function<void()>> actions = actions_;
  const std::vector<Target> targets = targets_;
  for (const auto& action : actions) action();
  for (const Target& target : targets) {
    if (target.event != UIControlEvent::touchUpInside) continue;
    if (std::shared_ptr<ActionTarget> receiver = target.target.lock()) receiver->perform(target.action);
  }
}

}  // namespace aurimo::platform
