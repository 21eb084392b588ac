#pragma once
// NSLayoutConstraint and layout anchors: "this edge of a view equals that
// edge of another, plus a constant", as data. Nothing is laid out; an active
// constraint is kept by the nearest common ancestor of its views, as the
// platform keeps it, and goes when either view leaves that tree.
//
// Thread contract: main thread only, like the views.
//
//   NSLayoutConstraint::activate({child->topAnchor().constraint(host->topAnchor())});
//   host->constraints();   // holds it now

#include <initializer_list>
#include <memory>
#include <string_view>
#include <vector>

namespace aurimo::platform {

class UIView;

enum class NSLayoutAttribute { left, right, top, bottom, leading, trailing, width, height, centerX, centerY };

std::string_view name(NSLayoutAttribute attribute);

class NSLayoutConstraint {
 public:
  NSLayoutConstraint(UIView& firstItem, NSLayoutAttribute firstAttribute, UIView* secondItem,
                     NSLayoutAttribute secondAttribute, double constant);

  // Non-owning: an active constraint never outlives the tree holding both views.
  UIView* firstItem() const { return firstItem_; }
  NSLayoutAttribute firstAttribute() const { return firstAttribute_; }
  UIView* secondItem() const { return secondItem_; }
  NSLayoutAttribute secondAttribute() const { return secondAttribute_; }
  double constant() const { return constant_; }
  bool isActive() const { return holder_ != nullptr; }

  // Hands each to the nearest common ancestor of its views; views in separate
  // trees are a programming error and stop the process, as on the platform.
  static void activate(std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints);
  static void deactivate(std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints);

 private:
  friend class UIView;

  UIView* firstItem_;
  NSLayoutAttribute firstAttribute_;
  UIView* secondItem_;
  NSLayoutAttribute secondAttribute_;
  double constant_;
  UIView* holder_ = nullptr;
};

// One attribute of one view, to make "equal to" constraints from.
class NSLayoutAnchor {
 public:
  NSLayoutAnchor(UIView& view, NSLayoutAttribute attribute) : view_(&view), attribute_(attribute) {}
  // Inactive until activated.
  std::shared_ptr<NSLayoutConstraint> constraint(const NSLayoutAnchor& equalTo, double constant = 0) const;

 private:
  UIView* view_;
  NSLayoutAttribute attribute_;
};

}  // namespace aurimo::platform
