#pragma once
// BaseViewController and BaseNavigationController: the common bases of the
// app's screens and navigation stacks. They add nothing on Linux; the app's
// types derive from them so that shared behaviour has one place to go.
//
// Thread contract: main thread only, like every screen.
//
//   class SettingsScreen : public SharedLogicKit::BaseViewController { ... };
//   auto stack = std::make_shared<SharedLogicKit::BaseNavigationController>(home);

#include "platform/ui_navigation_controller.h"
#include "platform/ui_view_controller.h"

namespace aurimo::SharedLogicKit {

class BaseViewController : public platform::UIViewController {
 public:
  using UIViewController::UIViewController;
};

class BaseNavigationController : public platform::UINavigationController {
 public:
  using UINavigationController::UINavigationController;
};

}  // namespace aurimo::SharedLogicKit
