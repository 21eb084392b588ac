#pragma once
// AppContextBaseNavigationController: the navigation stack the app's screens
// are pushed into. It is this library's named kind of SharedLogicKit's base
// stack and adds nothing: each pushed screen brings its own bar look.
//
// Thread contract: main thread only, like every screen.
//
//   auto stack = std::make_shared<aurimo::AppContextBaseNavigationController>(home);
//   stack->pushViewController(detail, /*animated=*/true);

#include <memory>
#include <optional>
#include <string>
#include <typeinfo>

#include "shared_logic_kit/base_view_controller.h"

namespace aurimo {

class AppContextBaseNavigationController : public SharedLogicKit::BaseNavigationController {
 public:
  explicit AppContextBaseNavigationController(std::shared_ptr<platform::UIViewController> rootViewController)
      : BaseNavigationController(std::move(rootViewController)) {}
  AppContextBaseNavigationController(const std::type_info* navigationBarClass, const std::type_info* toolbarClass)
      : BaseNavigationController(navigationBarClass, toolbarClass) {}
  AppContextBaseNavigationController(std::optional<std::string> nibName, std::shared_ptr<platform::Bundle> bundle)
      : BaseNavigationController(std::move(nibName), std::move(bundle)) {}
  // init?(coder:) is UIViewController::restore<AppContextBaseNavigationController>(coder).
  explicit AppContextBaseNavigationController(const platform::NSCoder& coder) : BaseNavigationController(coder) {}

  std::string_view className() const override { return "AppContextBaseNavigationController"; }
};

}  // namespace aurimo
