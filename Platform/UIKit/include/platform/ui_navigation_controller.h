#pragma once
// UINavigationController: a container holding a stack of screens, the last
// one on top and shown. Each screen in the stack has it as parent.
//
// Thread contract: main thread only (checked in debug builds).
//
//   auto stack = std::make_shared<platform::UINavigationController>(home);
//   stack->pushViewController(detail, /*animated=*/true);

#include <memory>
#include <optional>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/ui_view_controller.h"

namespace aurimo::platform {

class UINavigationController : public UIViewController {
 public:
  // An empty stack.
  UINavigationController();
  explicit UINavigationController(std::shared_ptr<UIViewController> rootViewController);
  // init(navigationBarClass:toolbarClass:): an empty stack; null keeps the platform's own bar or toolbar.
  UINavigationController(const std::type_info* navigationBarClass, const std::type_info* toolbarClass);
  UINavigationController(std::optional<std::string> nibName, std::shared_ptr<Bundle> bundle);
  explicit UINavigationController(const NSCoder& coder);
  ~UINavigationController() override;

  const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const { return viewControllers_; }
  void setViewControllers(std::vector<std::shared_ptr<UIViewController>> controllers, bool animated);
  void pushViewController(std::shared_ptr<UIViewController> controller, bool animated);
  // Pops the top screen unless it is the only one; returns the popped screen or null.
  std::shared_ptr<UIViewController> popViewController(bool animated);

  // The top of the stack, or null when it is empty.
  std::shared_ptr<UIViewController> topViewController() const;
  // What shows: a screen presented on the stack, else the top.
  std::shared_ptr<UIViewController> visibleViewController() const;

  std::string_view className() const override { return "UINavigationController"; }

 protected:
  void viewDidLoad() override;

 private:
  void showTop();

  std::vector<std::shared_ptr<UIViewController>> viewControllers_;
  const std::type_info* navigationBarClass_ = nullptr;
  const std::type_info* toolbarClass_ = nullptr;
};

}  // namespace aurimo::platform
