#include "platform/ui_bar_button_item.h"

#include <utility>

#include "platform/dispatch_queue.h"

namespace aurimo::platform {

std::shared_ptr<UIBarButtonItem> UIBarButtonItem::withTitle(std::optional<std::string> title, Style style,
                                                            const std::shared_ptr<ActionTarget>& target,
                                                            std::optional<Selector> action) {
  dispatchPreconditionOnMain();
  std::shared_ptr<UIBarButtonItem> item(new UIBarButtonItem());
  item->kind_ = Kind::title;
  item->title_ = std::move(title);
  item->style_ = style;
  item->target_ = target;
  item->action_ = std::move(action);
  return item;
}

std::shared_ptr<UIBarButtonItem> UIBarButtonItem::withImage(std::optional<UIImage> image, Style style,
                                                            const std::shared_ptr<ActionTarget>& target,
                                                            std::optional<Selector> action) {
  dispatchPreconditionOnMain();
  std::shared_ptr<UIBarButtonItem> item(new UIBarButtonItem());
  item->kind_ = Kind::image;
  item->image_ = std::move(image);
  item->style_ = style;
  item->target_ = target;
  item->action_ = std::move(action);
  return item;
}

std::shared_ptr<UIBarButtonItem> UIBarButtonItem::withCustomView(std::shared_ptr<UIView> customView) {
  dispatchPreconditionOnMain();
  std::shared_ptr<UIBarButtonItem> item(new UIBarButtonItem());
  item->kind_ = Kind::customView;
  item->customView_ = std::move(customView);
  return item;
}

void UIBarButtonItem::setTitleTextAttributes(std::optional<TextAttributes> attributes, UIControlState state) {
  dispatchPreconditionOnMain();
  if (attributes) {
    titleTextAttributes_.insert_or_assign(state, std::move(*attributes));
  } else {
    titleTextAttributes_.erase(state);
  }
}

std::optional<TextAttributes> UIBarButtonItem::titleTextAttributes(UIControlState state) const {
  auto found = titleTextAttributes_.find(state);
  if (found == titleTextAttributes_.end()) return std::nullopt;
  return found->second;
}

std::optional<Selector> UIBarButtonItem::tap() {
  dispatchPreconditionOnMain();
  if (kind_ == Kind::customView) {
    auto* button = dynamic_cast<UIButton*>(customView_.get());
    if (!button) return std::nullopt;
    std::optional<Selector> sent;
    for (const UIButton::Target& target : button->targets()) {
      if (target.event == UIControlEvent::touchUpInside && !target.target.expired()) sent = target.action;
    }
    button->sendActionsForTouchUpInside();
    return sent;
  }
  std::shared_ptr<ActionTarget> receiver = target_.lock();
  if (!receiver || !action_ || !receiver->perform(*action_)) return std::nullopt;
  return action_;
}

std::string_view name(UIBarButtonItem::Style style) { return style == UIBarButtonItem::Style::done ? "done" : "plain"; }

std::string_view name(UIBarButtonItem::Kind kind) {
  switch (kind) {
    case UIBarButtonItem::Kind::title:
      return "title";
    case UIBarButtonItem::Kind::image:
      return "image";
    case UIBarButtonItem::Kind::customView:
      return "customView";
  }
  return "title";
}

}  // namespace aurimo::platform
