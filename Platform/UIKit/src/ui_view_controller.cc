#include "platform/ui_view_controller.h"

#include <cstdio>
#include <utility>

#include "platform/dispatch_queue.h"
#include "platform/ui_navigation_controller.h"
#include "platform/ui_window.h"

namespace aurimo::platform {

UIViewController::UIViewController() { dispatchPreconditionOnMain(); }

UIViewController::UIViewController(std::optional<std::string> nibName, std::shared_ptr<Bundle> bundle)
    : nibName_(std::move(nibName)), nibBundle_(std::move(bundle)) {
  dispatchPreconditionOnMain();
}

UIViewController::UIViewController(const NSCoder& coder) {
  dispatchPreconditionOnMain();
  if (coder.isValid()) {
    if (auto title = coder.archive().find("title"); title != coder.archive().end() && title->is_string()) {
      title_ = title->get<std::string>();
    }
  }
}

std::string_view name(UIModalPresentationStyle style) {
  switch (style) {
    case UIModalPresentationStyle::fullScreen:
      return "fullScreen";
    case UIModalPresentationStyle::pageSheet:
      return "pageSheet";
    case UIModalPresentationStyle::formSheet:
      return "formSheet";
    case UIModalPresentationStyle::currentContext:
      return "currentContext";
    case UIModalPresentationStyle::custom:
      return "custom";
    case UIModalPresentationStyle::overFullScreen:
      return "overFullScreen";
    case UIModalPresentationStyle::overCurrentContext:
      return "overCurrentContext";
    case UIModalPresentationStyle::popover:
      return "popover";
    case UIModalPresentationStyle::none:
      return "none";
    case UIModalPresentationStyle::automatic:
      return "automatic";
  }
  return "automatic";
}

UIViewController::~UIViewController() {
  if (presented_) presented_->presenting_ = nullptr;
}

const std::shared_ptr<UIView>& UIViewController::view() {
  dispatchPreconditionOnMain();
  if (!view_) {
    view_ = loadView();
    viewDidLoad();
  }
  return view_;
}

std::shared_ptr<UIView> UIViewController::loadView() { return std::make_shared<UIView>(); }

UINavigationController* UIViewController::navigationController() const {
  for (UIViewController* container = parent_; container; container = container->parent_) {
    if (auto* navigation = dynamic_cast<UINavigationController*>(container)) return navigation;
  }
  return nullptr;
}

void UIViewController::present(std::shared_ptr<UIViewController> controller, bool animated,
                               std::function<void()> completion) {
  dispatchPreconditionOnMain();
  if (!controller) return;
  if (presented_ || controller->presenting_ || controller.get() == this) {
    std::fprintf(stderr, "aurimo: attempt to present a view controller on one that is already presenting "
                         "or that is itself presented; ignored\n");
    return;
  }
  presented_ = std::move(controller);
  UIViewController& shown = *presented_;
  shown.presenting_ = this;
  shown.beingPresented_ = true;
  // A full-screen presentation hides its presenter, which disappears meanwhile; sheets leave it on screen.
  const bool covers = shown.modalPresentationStyle_ == UIModalPresentationStyle::fullScreen;
  shown.view();
  if (covers) viewWillDisappear(animated);
  shown.viewWillAppear(animated);
  if (UIWindow* window = view()->window()) window->addSubview(shown.view());
  shown.viewDidAppear(animated);
  if (covers) viewDidDisappear(animated);
  shown.beingPresented_ = false;
  if (completion) completion();
}

void UIViewController::dismiss(bool animated, std::function<void()> completion) {
  dispatchPreconditionOnMain();
  // Keeps this controller alive when its presenter held the last reference.
  std::shared_ptr<UIViewController> self = weak_from_this().lock();
  if (!presented_) {
    if (presenting_) presenting_->dismiss(animated, std::move(completion));
    return;
  }
  dismissPresented(animated);
  if (completion) completion();
}

void UIViewController::dismissPresented(bool animated) {
  std::shared_ptr<UIViewController> leaving = presented_;
  if (!leaving) return;
  if (leaving->presented_) leaving->dismissPresented(animated);  // top of the chain first
  const bool covered = leaving->modalPresentationStyle_ == UIModalPresentationStyle::fullScreen;
  leaving->beingDismissed_ = true;
  leaving->viewWillDisappear(animated);
  if (covered) viewWillAppear(animated);
  if (leaving->isViewLoaded()) leaving->view()->removeFromSuperview();
  presented_.reset();
  leaving->presenting_ = nullptr;
  leaving->viewDidDisappear(animated);
  if (covered) viewDidAppear(animated);
  leaving->beingDismissed_ = false;
}

UIViewController::UIModalPresentationStyle UIViewController::modalPresentationStyle() const {
  dispatchPreconditionOnMain();
  return modalPresentationStyle_;
}

void UIViewController::setModalPresentationStyle(UIModalPresentationStyle style) {
  dispatchPreconditionOnMain();
  modalPresentationStyle_ = style;
}

void UIViewController::addChild(UIViewController& child) {
  dispatchPreconditionOnMain();
  if (child.parent_ == this) return;
  removeFromParent(child);
  child.parent_ = this;
}

void UIViewController::removeFromParent(UIViewController& child) {
  if (child.isViewLoaded() && child.parent_) child.view()->removeFromSuperview();
  child.parent_ = nullptr;
}

}  // namespace aurimo::platform
