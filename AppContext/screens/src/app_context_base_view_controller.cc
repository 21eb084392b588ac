#include "app_context/screens/app_context_base_view_controller.h"

#include <utility>

#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"
#include "platform/ui_device.h"
#include "platform/ui_navigation_item.h"
#include "shared_views_kit/ui_color_bytes.h"

namespace aurimo {
namespace {

using platform::TextAttributes;
using platform::UIBarButtonItem;
using platform::UIColor;
using Configuration = AppContextBaseViewController::BaseNavigationBarConfiguration;
using ButtonConfiguration = Configuration::BarButtonConfiguration;
using Background = AppContextBaseViewController::NavigationBackgroundState;

// The normal and pressed title attributes a button uses.
struct ButtonAttributes {
  TextAttributes normal;
  TextAttributes pressed;
};

ButtonAttributes attributesFor(const ButtonConfiguration& button, const ButtonAttributes& shared) {
  if (!button.font) return shared;
  ButtonAttributes own = shared;
  own.normal.font = button.font;
  own.pressed.font = button.font;
  return own;
}

std::shared_ptr<UIBarButtonItem> titleItem(const ButtonConfiguration& button, const ButtonAttributes& attributes,
                                           const std::shared_ptr<platform::ActionTarget>& target) {
  auto item = UIBarButtonItem::withTitle(button.title, button.style, target, button.action);
  item->setTitleTextAttributes(attributes.normal, platform::UIControlState::normal);
  item->setTitleTextAttributes(attributes.pressed, platform::UIControlState::highlighted);
  return item;
}

std::shared_ptr<UIBarButtonItem> imageItem(const ButtonConfiguration& button, const UIColor& imageTint,
                                           const std::shared_ptr<platform::ActionTarget>& target) {
  auto item = UIBarButtonItem::withImage(button.image, button.style, target, button.action);
  item->setTintColor(imageTint);
  return item;
}

// Title and image together: a plain button with both, as the item's custom view.
std::shared_ptr<UIBarButtonItem> customViewItem(const ButtonConfiguration& button, const ButtonAttributes& attributes,
                                                const std::shared_ptr<platform::ActionTarget>& target) {
  platform::UIButton::Configuration look = platform::UIButton::Configuration::plain();
  look.attributedTitle = platform::NSAttributedString{*button.title, attributes.normal};
  look.image = button.image;
  look.imagePadding = 6;
  auto view = std::make_shared<platform::UIButton>(std::move(look));
  view->addTarget(target, button.action, platform::UIControlEvent::touchUpInside);
  return UIBarButtonItem::withCustomView(std::move(view));
}

}  // namespace

UIColor AppContextBaseViewController::defaultTintColor() { return SharedViewsKit::colorFromBytes(244, 132, 55, 255); }

AppContext* AppContextBaseViewController::appContext() const {
  platform::dispatchPreconditionOnMain();
  if (!hasAppContext_) return nullptr;
  std::shared_ptr<AppContext> context = appContext_.lock();
  if (!context) platform::fatalError("a screen read its AppContext after the context was destroyed");
  return context.get();
}

void AppContextBaseViewController::setAppContext(const std::shared_ptr<AppContext>& appContext) {
  platform::dispatchPreconditionOnMain();
  appContext_ = appContext;
  hasAppContext_ = appContext != nullptr;
}

void AppContextBaseViewController::configureNavigationBar(const BaseNavigationBarConfiguration& configuration,
                                                          NavigationBackgroundState backgroundState,
                                                          bool isNeedUpdateScrollEdgeAppearance) {
  platform::dispatchPreconditionOnMain();
  const UIColor tint = configuration.tintColor.value_or(defaultTintColor());
  const platform::UIFont font = platform::UIFont::systemFont(17, platform::UIFont::Weight::medium);
  const ButtonAttributes shared{{.font = font, .foregroundColor = tint},
                                {.font = font, .foregroundColor = tint.withAlphaComponent(0.5)}};
  // Image-only buttons keep the app's orange, never the configured tint, and
  // fade with an opaque bar's background.
  const UIColor imageTint = defaultTintColor().withAlphaComponent(
      backgroundState.value() == Background::Case::opaque ? backgroundState.alpha() : 1.0);
  const std::shared_ptr<platform::ActionTarget> target = shared_from_this();
  platform::UINavigationItem& item = navigationItem();

  item.setTitle(configuration.title);

  std::shared_ptr<UIBarButtonItem> left;
  if (const auto& button = configuration.leftBarButtonConfiguration) {
    const ButtonAttributes attributes = attributesFor(*button, shared);
    if (button->title && button->image) {
      left = customViewItem(*button, attributes, target);
    } else if (button->title) {
      left = titleItem(*button, attributes, target);
    } else if (button->image) {
      left = imageItem(*button, imageTint, target);
    }
  }
  item.setLeftBarButtonItem(left);

  // The right button differs on purpose: with a title and an image, the title wins.
  std::shared_ptr<UIBarButtonItem> right;
  if (const auto& button = configuration.rightBarButtonConfiguration) {
    const ButtonAttributes attributes = attributesFor(*button, shared);
    if (button->title) {
      right = titleItem(*button, attributes, target);
    } else if (button->image) {
      right = imageItem(*button, imageTint, target);
    }
  }
  item.setRightBarButtonItem(right);

  if (platform::UIDevice::current().isOperatingSystemAtLeast(26)) {
    if (left) left->setHidesSharedBackground(true);
    if (right) right->setHidesSharedBackground(true);
  }

  auto appearance = std::make_shared<platform::UINavigationBarAppearance>();
  switch (backgroundState.value()) {
    case Background::Case::transparent:
      appearance->configureWithTransparentBackground();
      break;
    case Background::Case::standart:
      appearance->configureWithDefaultBackground();
      appearance->setShadowColor(SharedViewsKit::colorFromBytes(217, 221, 210, 255));
      appearance->setBackgroundColor(UIColor::white());
      break;
    case Background::Case::opaque:
      appearance->configureWithOpaqueBackground();
      appearance->setShadowColor(UIColor::clear());
      appearance->setBackgroundColor(UIColor::white().withAlphaComponent(backgroundState.alpha()));
      break;
  }
  item.setStandardAppearance(appearance);
  if (isNeedUpdateScrollEdgeAppearance) item.setScrollEdgeAppearance(appearance);
}

}  // namespace aurimo
