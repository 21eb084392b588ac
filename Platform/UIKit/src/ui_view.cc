#include "platform/ui_view.h"

#include <algorithm>
#include <utility>

#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"
#include "platform/ui_window.h"

namespace aurimo::platform {

UIView::UIView() { dispatchPreconditionOnMain(); }

UIView::~UIView() {
  // Subviews and constraints that someone else keeps alive must not point back at a dead view.
  for (const std::shared_ptr<UIView>& subview : subviews_) subview->superview_ = nullptr;
  for (const std::shared_ptr<NSLayoutConstraint>& constraint : constraints_) constraint->holder_ = nullptr;
}

UIWindow* UIView::window() {
  UIView* view = this;
  while (view->superview_) view = view->superview_;
  return view->asWindow();
}

void UIView::addSubview(std::shared_ptr<UIView> view) {
  dispatchPreconditionOnMain();
  if (!view) fatalError("addSubview with a null view");
  if (view->isDescendant(*this)) fatalError("addSubview would make a view its own ancestor");
  if (view->superview_ == this) {
    bringSubviewToFront(*view);
    return;
  }
  view->removeFromSuperview();
  view->superview_ = this;
  subviews_.push_back(std::move(view));
}

void UIView::bringSubviewToFront(const UIView& view) {
  dispatchPreconditionOnMain();
  auto found = std::find_if(subviews_.begin(), subviews_.end(), [&](const auto& s) { return s.get() == &view; });
  if (found != subviews_.end()) std::rotate(found, found + 1, subviews_.end());
}

void UIView::removeFromSuperview() {
  dispatchPreconditionOnMain();
  if (superview_) superview_->dropConstraintsInvolving(*this);
  UIView* parent = std::exchange(superview_, nullptr);
  if (!parent) return;
  auto& siblings = parent->subviews_;
  auto found = std::find_if(siblings.begin(), siblings.end(), [&](const auto& s) { return s.get() == this; });
  if (found == siblings.end()) return;
  std::shared_ptr<UIView> keepAlive = std::move(*found);  // `this` may be owned only by the parent
  siblings.erase(found);
}

bool UIView::isDescendant(const UIView& view) const {
  for (const UIView* node = &view; node; node = node->superview_) {
    if (node == this) return true;
  }
  return false;
}

void UIView::setHidden(bool hidden) {
  dispatchPreconditionOnMain();
  hidden_ = hidden;
}

void UIView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  dispatchPreconditionOnMain();
  translatesAutoresizingMask_ = translates;
}

void UIView::dropConstraintsInvolving(const UIView& leaving) {
  for (UIView* holder = this; holder; holder = holder->superview_) {
    std::erase_if(holder->constraints_, [&](const std::shared_ptr<NSLayoutConstraint>& c) {
      const bool involved = leaving.isDescendant(*c->firstItem_) || (c->secondItem_ && leaving.isDescendant(*c->secondItem_));
      if (involved) c->holder_ = nullptr;
      return involved;
    });
  }
}

}  // namespace aurimo::platform
