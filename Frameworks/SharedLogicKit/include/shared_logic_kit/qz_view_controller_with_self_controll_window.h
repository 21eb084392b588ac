#pragma once
// QzViewControllerWithSelfControllWindow: a controller that brings its own
// window. present() shows that window above every visible window (other
// alerts included), with this controller as its root, and presents there;
// once what it presented is dismissed, the window is hidden and released,
// and with it this controller.
//
// Thread contract: main thread only, like every screen.
//
//   auto host = std::make_shared<SharedLogicKit::QzViewControllerWithSelfControllWindow>();
//   host->present(alert, /*animated=*/true);   // the alert is now on top of everything

#include <functional>
#include <memory>

#include "platform/ui_view_controller.h"
#include "platform/ui_window.h"

namespace aurimo::SharedLogicKit {

class QzViewControllerWithSelfControllWindow : public platform::UIViewController {
 public:
  void present(std::shared_ptr<platform::UIViewController> controller, bool animated,
               std::function<void()> completion = nullptr) override;
  void dismiss(bool animated, std::function<void()> completion = nullptr) override;

  // The window while it is shown, else null.
  std::shared_ptr<platform::UIWindow> ownWindow() const { return window_.lock(); }

  std::string_view className() const override { return "QzViewControllerWithSelfControllWindow"; }

 private:
  // The application keeps the window while it shows; the window keeps this controller.
  std::weak_ptr<platform::UIWindow> window_;
};

}  // namespace aurimo::SharedLogicKit
