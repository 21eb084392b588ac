#pragma once
// UIView: a node of the headless view tree. A view owns its subviews (in
// back-to-front order) and knows its superview and the window it is in; state
// is plain fields, nothing is drawn, and tests read the tree back.
//
// Thread contract: main thread only (checked in debug builds).
//
//   auto card = std::make_shared<platform::UIView>();
//   screen->view()->addSubview(card);   // card->window() is now the screen's window, if any

#include <memory>
#include <string_view>
#include <vector>

#include "platform/ns_layout_constraint.h"

namespace aurimo::platform {

class UIWindow;

class UIView {
 public:
  UIView();
  virtual ~UIView();
  UIView(const UIView&) = delete;
  UIView& operator=(const UIView&) = delete;

  // The view this one is a subview of; null for a root. Non-owning.
  UIView* superview() const { return superview_; }
  const std::vector<std::shared_ptr<UIView>>& subviews() const { return subviews_; }
  // The window at the root of this view's tree (the view itself if it is one), or null.
  UIWindow* window();

  // Adds `view` in front of the others, taking it from its old superview first.
  void addSubview(std::shared_ptr<UIView> view);
  // Moves a subview in front of its siblings; anything else is left alone.
  void bringSubviewToFront(const UIView& view);
  void removeFromSuperview();
  // True when `view` is this view or lies somewhere below it.
  bool isDescendant(const UIView& view) const;

  bool isHidden() const { return hidden_; }
  virtual void setHidden(bool hidden);

  // True until the view is placed by constraints instead.
  bool translatesAutoresizingMaskIntoConstraints() const { return translatesAutoresizingMask_; }
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates);

  NSLayoutAnchor topAnchor() { return {*this, NSLayoutAttribute::top}; }
  NSLayoutAnchor bottomAnchor() { return {*this, NSLayoutAttribute::bottom}; }
  NSLayoutAnchor leftAnchor() { return {*this, NSLayoutAttribute::left}; }
  NSLayoutAnchor rightAnchor() { return {*this, NSLayoutAttribute::right}; }
  NSLayoutAnchor leadingAnchor() { return {*this, NSLayoutAttribute::leading}; }
  NSLayoutAnchor trailingAnchor() { return {*this, NSLayoutAttribute::trailing}; }
  NSLayoutAnchor widthAnchor() { return {*this, NSLayoutAttribute::width}; }
  NSLayoutAnchor heightAnchor() { return {*this, NSLayoutAttribute::height}; }
  NSLayoutAnchor centerXAnchor() { return {*this, NSLayoutAttribute::centerX}; }
  NSLayoutAnchor centerYAnchor() { return {*this, NSLayoutAttribute::centerY}; }
  // The active constraints this view holds (those whose views meet first here).
  const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints() const { return constraints_; }

  // The platform's class name, for dumps of the tree.
  virtual std::string_view className() const { return "UIView"; }

 protected:
  // Overridden by UIWindow; saves a dynamic_cast on every window() walk.
  virtual UIWindow* asWindow() { return nullptr; }

 private:
  friend class NSLayoutConstraint;
  // Drops the constraints held here and above that involve `leaving` or a view below it.
  void dropConstraintsInvolving(const UIView& leaving);

  UIView* superview_ = nullptr;
  std::vector<std::shared_ptr<UIView>> subviews_;
  std::vector<std::shared_ptr<NSLayoutConstraint>> constraints_;
  bool hidden_ = false;
  bool translatesAutoresizingMask_ = true;
};

}  // namespace aurimo::platform
