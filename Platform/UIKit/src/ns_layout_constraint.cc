#include "platform/ns_layout_constraint.h"

#include <algorithm>
#include <utility>

#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"
#include "platform/ui_view.h"

namespace aurimo::platform {

std::string_view name(NSLayoutAttribute attribute) {
  static constexpr std::string_view kNames[] = {"left",     "right", "top",    "bottom",  "leading",
                                                "trailing", "width", "height", "centerX", "centerY"};
  return kNames[static_cast<int>(attribute)];
}

NSLayoutConstraint::NSLayoutConstraint(UIView& firstItem, NSLayoutAttribute firstAttribute, UIView* secondItem,
                                       NSLayoutAttribute secondAttribute, double constant)
    : firstItem_(&firstItem),
      firstAttribute_(firstAttribute),
      secondItem_(secondItem),
      secondAttribute_(secondAttribute),
      constant_(constant) {}

void NSLayoutConstraint::activate(std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints) {
  dispatchPreconditionOnMain();
  for (const auto& constraint : constraints) {
    if (constraint->isActive()) continue;
    UIView* holder = constraint->firstItem_;
    if (constraint->secondItem_) {
      while (holder && !holder->isDescendant(*constraint->secondItem_)) holder = holder->superview();
    }
    if (!holder) fatalError("a constraint's views have no common ancestor");
    constraint->holder_ = holder;
    holder->constraints_.push_back(constraint);
  }
}

void NSLayoutConstraint::deactivate(std::initializer_list<std::shared_ptr<NSLayoutConstraint>> constraints) {
  dispatchPreconditionOnMain();
  for (const auto& constraint : constraints) {
    if (UIView* holder = std::exchange(constraint->holder_, nullptr)) std::erase(holder->constraints_, constraint);
  }
}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::constraint(const NSLayoutAnchor& equalTo, double constant) const {
  return std::make_shared<NSLayoutConstraint>(*view_, attribute_, equalTo.view_, equalTo.attribute_, constant);
}

}  // namespace aurimo::platform
