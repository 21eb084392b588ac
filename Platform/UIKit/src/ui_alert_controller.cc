#include "platform/ui_alert_controller.h"

#include <utility>

#include "platform/dispatch_queue.h"

namespace aurimo::platform {

std::string_view name(UIAlertAction::Style style) {
  switch (style) {
    case UIAlertAction::Style::defaultStyle:
      return "default";
    case UIAlertAction::Style::cancel:
      return "cancel";
    case UIAlertAction::Style::destructive:
      return "destructive";
  }
  return "default";
}

void UIAlertController::addAction(std::shared_ptr<UIAlertAction> action) {
  dispatchPreconditionOnMain();
  if (action) actions_.push_back(std::move(action));
}

bool UIAlertController::tapButton(std::string_view title) {
  dispatchPreconditionOnMain();
  for (const std::shared_ptr<UIAlertAction>& action : actions_) {
    if (action->title() != title) continue;
    // The alert may be released by its dismissal; the button and its handler live on for the call.
    std::shared_ptr<UIAlertAction> tapped = action;
    std::shared_ptr<UIViewController> self = shared_from_this();
    dismiss(true, [tapped] {
      if (tapped->handler_) tapped->handler_(*tapped);
    });
    return true;
  }
  return false;
}

}  // namespace aurimo::platform
