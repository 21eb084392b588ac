#pragma once
// UIWindow: the root of a view tree and the owner of its root view
// controller, whose view becomes the window's first subview. Screens presented
// from that controller put their views into the same window. A window starts
// hidden; shown (makeKeyAndVisible, or setHidden(false)) it joins the
// application's visible windows, which keep it until it is hidden again.
//
// Thread contract: main thread only (checked in debug builds).
//
//   auto window = std::make_shared<platform::UIWindow>();
//   window->setRootViewController(std::make_shared<platform::UIViewController>());
//   window->makeKeyAndVisible();

#include <memory>

#include "platform/ui_view.h"

namespace aurimo::platform {

class UIViewController;

class UIWindow : public UIView, public std::enable_shared_from_this<UIWindow> {
 public:
  // Levels of the platform: normal windows, then alerts above them.
  static constexpr double kLevelNormal = 0;
  static constexpr double kLevelAlert = 2000;

  UIWindow();
  ~UIWindow() override;

  void makeKeyAndVisible() { setHidden(false); }
  void setHidden(bool hidden) override;
  std::string_view className() const override { return "UIWindow"; }

  const std::shared_ptr<UIViewController>& rootViewController() const { return rootViewController_; }
  // Replaces the root: the old root's view leaves the window, the new one's joins it.
  void setRootViewController(std::shared_ptr<UIViewController> controller);

  // Stacking among windows: higher levels show above lower ones.
  double windowLevel() const { return windowLevel_; }
  void setWindowLevel(double level);

 protected:
  UIWindow* asWindow() override { return this; }

 private:
  std::shared_ptr<UIViewController> rootViewController_;
  double windowLevel_ = 0;
};

}  // namespace aurimo::platform
