#include "platform/ui_navigation_controller.h"

#include <utility>

#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"

namespace aurimo::platform {

UINavigationController::UINavigationController() = default;

UINavigationController::UINavigationController(std::shared_ptr<UIViewController> rootViewController) {
  pushViewController(std::move(rootViewController), false);
}

UINavigationController::UINavigationController(const std::type_info* navigationBarClass,
                                               const std::type_info* toolbarClass)
    : navigationBarClass_(navigationBarClass), toolbarClass_(toolbarClass) {}

UINavigationController::UINavigationController(std::optional<std::string> nibName, std::shared_ptr<Bundle> bundle)
    : UIViewController(std::move(nibName), std::move(bundle)) {}

UINavigationController::UINavigationController(const NSCoder& coder) : UIViewController(coder) {}

UINavigationController::~UINavigationController() {
  for (const auto& controller : viewControllers_) removeFromParent(*controller);
}

void UINavigationController::setViewControllers(std::vector<std::shared_ptr<UIViewController>> controllers,
                                                bool /*animated*/) {
  dispatchPreconditionOnMain();
  for (const auto& controller : controllers) {
    if (!controller) fatalError("a navigation stack cannot hold a null view controller");
  }
  for (const auto& controller : viewControllers_) removeFromParent(*controller);
  viewControllers_ = std::move(controllers);
  for (const auto& controller : viewControllers_) addChild(*controller);
  showTop();
}

void UINavigationController::pushViewController(std::shared_ptr<UIViewController> controller, bool /*animated*/) {
  dispatchPreconditionOnMain();
  if (!controller) fatalError("pushViewController with a null view controller");
  if (!viewControllers_.empty() && viewControllers_.back()->isViewLoaded()) {
    viewControllers_.back()->view()->removeFromSuperview();
  }
  addChild(*controller);
  viewControllers_.push_back(std::move(controller));
  showTop();
}

std::shared_ptr<UIViewController> UINavigationController::popViewController(bool /*animated*/) {
  dispatchPreconditionOnMain();
  if (viewControllers_.size() < 2) return nullptr;
  std::shared_ptr<UIViewController> popped = std::move(viewControllers_.back());
  viewControllers_.pop_back();
  removeFromParent(*popped);
  showTop();
  return popped;
}

std::shared_ptr<UIViewController> UINavigationController::topViewController() const {
  return viewControllers_.empty() ? nullptr : viewControllers_.back();
}

std::shared_ptr<UIViewController> UINavigationController::visibleViewController() const {
  if (const auto& presented = presentedViewController()) return presented;
  return topViewController();
}

void UINavigationController::viewDidLoad() { showTop(); }

void UINavigationController::showTop() {
  // Only a loaded stack shows its top; loading it later does the same.
  if (!isViewLoaded() || viewControllers_.empty()) return;
  view()->addSubview(viewControllers_.back()->view());
}

}  // namespace aurimo::platform
