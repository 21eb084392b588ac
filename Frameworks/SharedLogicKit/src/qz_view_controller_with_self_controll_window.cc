#include "shared_logic_kit/qz_view_controller_with_self_controll_window.h"

#include <algorithm>
#include <utility>

#include "platform/application.h"
#include "platform/dispatch_queue.h"

namespace aurimo::SharedLogicKit {

void QzViewControllerWithSelfControllWindow::present(std::shared_ptr<platform::UIViewController> controller,
                                                     bool animated, std::function<void()> completion) {
  platform::dispatchPreconditionOnMain();
  if (window_.expired()) {
    double top = platform::UIWindow::kLevelAlert - 1;
    for (const auto& shown : platform::UIApplication::shared().windows()) top = std::max(top, shown->windowLevel());
    auto window = std::make_shared<platform::UIWindow>();
    window->setWindowLevel(top + 1);
    window->setRootViewController(shared_from_this());
    window->makeKeyAndVisible();
    window_ = window;
  }
  UIViewController::present(std::move(controller), animated, std::move(completion));
}

void QzViewControllerWithSelfControllWindow::dismiss(bool animated, std::function<void()> completion) {
  platform::dispatchPreconditionOnMain();
  // The window holds this controller: keep it for the rest of the call.
  std::shared_ptr<platform::UIViewController> self = shared_from_this();
  UIViewController::dismiss(animated, nullptr);
  if (!presentedViewController()) {
    if (std::shared_ptr<platform::UIWindow> window = window_.lock()) {
      window_.reset();
      window->setHidden(true);
      window->setRootViewController(nullptr);
    }
  }
  if (completion) completion();
}

}  // namespace aurimo::SharedLogicKit
