#include "support/screen_json.h"

#include <string>

#include "app_context/context/alert_action.h"
#include "platform/sf_safari_view_controller.h"
#include "platform/ui_button.h"
#include "platform/ui_label.h"
#include "platform/ui_navigation_controller.h"
#include "platform/ui_window.h"
#include "shared_views_kit/top_most_presented_view_controller.h"

namespace aurimo::tool {
namespace {

using Json = nlohmann::ordered_json;

Json optionalText(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

Json viewJson(const platform::UIView& view) {
  Json out;
  out["class"] = std::string(view.className());
  out["hidden"] = view.isHidden();
  out["translatesAutoresizingMaskIntoConstraints"] = view.translatesAutoresizingMaskIntoConstraints();
  if (const auto* label = dynamic_cast<const platform::UILabel*>(&view)) out["text"] = optionalText(label->text());
  if (const auto* button = dynamic_cast<const platform::UIButton*>(&view)) out["text"] = optionalText(button->title());
  Json subviews = Json::array();
  for (const auto& subview : view.subviews()) subviews.push_back(viewJson(*subview));
  out["subviews"] = std::move(subviews);
  Json constraints = Json::array();
  for (const auto& constraint : view.constraints()) {
    Json entry;
    entry["firstItem"] = std::string(constraint->firstItem()->className());
    entry["firstAttribute"] = std::string(platform::name(constraint->firstAttribute()));
    entry["secondItem"] = constraint->secondItem() ? Json(std::string(constraint->secondItem()->className())) : Json(nullptr);
    entry["secondAttribute"] = std::string(platform::name(constraint->secondAttribute()));
    entry["constant"] = constraint->constant();
    constraints.push_back(std::move(entry));
  }
  out["constraints"] = std::move(constraints);
  return out;
}

Json attributesJson(const std::optional<platform::TextAttributes>& attributes) {
  if (!attributes) return nullptr;
  Json out;
  out["font"] = attributes->font ? Json{{"size", attributes->font->pointSize},
                                        {"weight", std::string(platform::name(attributes->font->weight))}}
                                 : Json(nullptr);
  out["foregroundColor"] = attributes->foregroundColor ? colorJson(*attributes->foregroundColor) : Json(nullptr);
  return out;
}

Json imageName(const std::optional<platform::UIImage>& image) {
  return image && image->name() ? Json(*image->name()) : Json(nullptr);
}

Json buttonViewJson(const platform::UIView* view) {
  const auto* button = dynamic_cast<const platform::UIButton*>(view);
  if (!button || !button->configuration()) return nullptr;
  const platform::UIButton::Configuration& look = *button->configuration();
  Json out;
  out["attributedTitle"] = look.attributedTitle ? Json{{"text", look.attributedTitle->string},
                                                       {"attributes", attributesJson(look.attributedTitle->attributes)}}
                                                : Json(nullptr);
  out["image"] = imageName(look.image);
  out["imagePadding"] = look.imagePadding;
  const auto& targets = button->targets();
  out["action"] = targets.empty() ? Json(nullptr) : Json(targets.front().action.name);
  out["controlEvent"] = targets.empty() ? Json(nullptr) : Json("touchUpInside");
  return out;
}

Json barJson(const std::shared_ptr<platform::UIBarButtonItem>& item) {
  if (!item) return nullptr;
  Json out;
  out["kind"] = std::string(platform::name(item->kind()));
  out["style"] = std::string(platform::name(item->style()));
  out["title"] = optionalText(item->title());
  out["image"] = imageName(item->image());
  out["action"] = item->action() ? Json(item->action()->name) : Json(nullptr);
  out["tintColor"] = item->tintColor() ? colorJson(*item->tintColor()) : Json(nullptr);
  out["titleTextAttributes"] = Json{{"normal", attributesJson(item->titleTextAttributes(platform::UIControlState::normal))},
                                    {"highlighted", attributesJson(item->titleTextAttributes(platform::UIControlState::highlighted))}};
  out["hidesSharedBackground"] = item->hidesSharedBackground();
  out["customView"] = buttonViewJson(item->customView().get());
  return out;
}

Json appearanceJson(const std::shared_ptr<platform::UINavigationBarAppearance>& appearance) {
  if (!appearance) return nullptr;
  Json out;
  out["background"] = std::string(platform::name(appearance->background()));
  out["shadowColor"] = appearance->shadowColor() ? colorJson(*appearance->shadowColor()) : Json(nullptr);
  out["backgroundColor"] = appearance->backgroundColor() ? colorJson(*appearance->backgroundColor()) : Json(nullptr);
  return out;
}

Json controllerJson(const platform::UIViewController& controller) {
  Json out;
  out["class"] = std::string(controller.className());
  out["title"] = optionalText(controller.title());
  out["navigationItem"] = navigationItemJson(controller.navigationItem());
  if (const auto* navigation = dynamic_cast<const platform::UINavigationController*>(&controller)) {
    Json stack = Json::array();
    for (const auto& screen : navigation->viewControllers()) stack.push_back(controllerJson(*screen));
    out["viewControllers"] = std::move(stack);
  }
  if (const auto* browser = dynamic_cast<const platform::SFSafariViewController*>(&controller)) {
    out["url"] = browser->url().absoluteString();
    out["modalPresentationStyle"] = std::string(platform::name(browser->modalPresentationStyle()));
  }
  if (const auto* alert = dynamic_cast<const platform::UIAlertController*>(&controller)) {
    out["alert"] = alertJson(*alert, platform::Bundle::main());
  }
  out["presented"] = controller.presentedViewController() ? controllerJson(*controller.presentedViewController())
                                                          : Json(nullptr);
  return out;
}

}  // namespace

Json colorJson(const platform::UIColor& color) { return Json::array({color.red, color.green, color.blue, color.alpha}); }

Json navigationItemJson(const platform::UINavigationItem& item) {
  Json out;
  out["title"] = optionalText(item.title());
  out["leftBarButtonItem"] = barJson(item.leftBarButtonItem());
  out["rightBarButtonItem"] = barJson(item.rightBarButtonItem());
  out["standardAppearance"] = appearanceJson(item.standardAppearance());
  out["scrollEdgeAppearance"] = appearanceJson(item.scrollEdgeAppearance());
  return out;
}

Json screenJson(const platform::UIApplication& application) {
  Json windows = Json::array();
  for (const auto& window : application.windows()) {
    Json entry;
    entry["class"] = std::string(window->className());
    entry["level"] = window->windowLevel();
    entry["rootViewController"] = window->rootViewController() ? controllerJson(*window->rootViewController()) : Json(nullptr);
    const Json view = viewJson(*window);
    for (const auto& [key, value] : view.items()) {
      if (key != "class") entry[key] = value;
    }
    windows.push_back(std::move(entry));
  }
  return Json{{"windows", std::move(windows)}};
}

Json alertJson(const platform::UIAlertController& alert, const platform::Bundle& bundle) {
  Json actions = Json::array();
  for (const auto& action : alert.actions()) {
    Json entry;
    entry["action"] = nullptr;
    for (int ordinal = 0; ordinal < static_cast<int>(AlertAction::kCaseCount); ++ordinal) {
      const AlertAction candidate = *AlertAction::fromRawValue(ordinal);
      if (candidate.title(bundle) == action->title()) {
        entry["action"] = std::string(candidate.caseName());
        break;
      }
    }
    entry["title"] = action->title();
    entry["style"] = std::string(platform::name(action->style()));
    actions.push_back(std::move(entry));
  }
  return Json{{"title", optionalText(alert.title())}, {"message", optionalText(alert.message())}, {"actions", std::move(actions)}};
}

std::shared_ptr<platform::UIAlertController> topMostAlert(const platform::UIApplication& application) {
  const auto windows = application.windows();
  if (windows.empty() || !windows.back()->rootViewController()) return nullptr;
  return std::dynamic_pointer_cast<platform::UIAlertController>(
      SharedViewsKit::topMostPresentedViewController(windows.back()->rootViewController()));
}

Json indicatorJson(ResultViewsKit::GlobalActivityIndicatorView& indicator, const platform::UIApplication& application) {
  Json out;
  out["visible"] = !indicator.isHidden() && indicator.superview() != nullptr;
  out["caption"] = indicator.label() ? optionalText(indicator.label()->text()) : Json(nullptr);
  out["closeButtonVisible"] = !indicator.isHidden() && !indicator.closeButton()->isHidden();
  platform::UIView* host = indicator.superview();
  out["host"] = !host ? Json(nullptr) : Json(static_cast<platform::UIView*>(host->window()) == host ? "window" : "view");
  out["idleTimerDisabled"] = application.isIdleTimerDisabled();
  return out;
}

}  // namespace aurimo::tool
