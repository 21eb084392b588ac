#pragma once
// UIWindow: the root of a view tree and the owner of its root view
// controller, whose view becomes the window's first subview. Screens presented
// from that controller put their views into the same window.
//
// Thread contract: main thread only (checked in debug builds).
//
//   auto window = std::make_shared<platform::UIWindow>();
//   window->setRootViewController(std::make_shared<platform::UIViewController>());

#include <memory>

#include "platform/ui_view.h"

namespace aurimo::platform {

class UIViewController;

class UIWindow : public UIView {
 public:
  UIWindow();
  ~UIWindow() override;

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
