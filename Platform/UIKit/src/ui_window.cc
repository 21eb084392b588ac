#include "platform/ui_window.h"

#include <utility>

#include "platform/application.h"
#include "platform/dispatch_queue.h"
#include "platform/ui_view_controller.h"

namespace aurimo::platform {

UIWindow::UIWindow() { UIView::setHidden(true); }
UIWindow::~UIWindow() = default;

void UIWindow::setHidden(bool hidden) {
  UIView::setHidden(hidden);
  if (hidden) {
    UIApplication::shared().windowDidHide(*this);
  } else {
    UIApplication::shared().windowDidShow(shared_from_this());
  }
}

void UIWindow::setRootViewController(std::shared_ptr<UIViewController> controller) {
  dispatchPreconditionOnMain();
  if (controller == rootViewController_) return;
  if (rootViewController_ && rootViewController_->isViewLoaded()) rootViewController_->view()->removeFromSuperview();
  rootViewController_ = std::move(controller);
  if (rootViewController_) addSubview(rootViewController_->view());
}

void UIWindow::setWindowLevel(double level) {
  dispatchPreconditionOnMain();
  windowLevel_ = level;
}

}  // namespace aurimo::platform
