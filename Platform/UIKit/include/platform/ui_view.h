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
#include <vector>

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
  void setHidden(bool hidden);

 protected:
  // Overridden by UIWindow; saves a dynamic_cast on every window() walk.
  virtual UIWindow* asWindow() { return nullptr; }

 private:
  UIView* superview_ = nullptr;
  std::vector<std::shared_ptr<UIView>> subviews_;
  bool hidden_ = false;
};

}  // namespace aurimo::platform
