#pragma once
// UIAlertController and UIAlertAction: an alert with a title, a message and
// buttons in order. A tap on a button dismisses the alert, then runs the
// button's handler, as on the platform.
//
// Thread contract: main thread only, like every screen.
//
//   auto alert = std::make_shared<platform::UIAlertController>("Oops", "Try again", platform::UIAlertController::Style::alert);
//   alert->addAction(std::make_shared<platform::UIAlertAction>("OK", platform::UIAlertAction::Style::defaultStyle, nullptr));

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ui_view_controller.h"

namespace aurimo::platform {

class UIAlertAction {
 public:
  // The raw values are the platform's.
  enum class Style { defaultStyle = 0, cancel = 1, destructive = 2 };
  using Handler = std::function<void(UIAlertAction& action)>;

  UIAlertAction(std::string title, Style style, Handler handler)
      : title_(std::move(title)), style_(style), handler_(std::move(handler)) {}

  const std::string& title() const { return title_; }
  Style style() const { return style_; }
  bool hasHandler() const { return handler_ != nullptr; }

 private:
  friend class UIAlertController;
  std::string title_;
  Style style_;
  Handler handler_;
};

// "default", "cancel" or "destructive".
std::string_view name(UIAlertAction::Style style);

class UIAlertController : public UIViewController {
 public:
  enum class Style { actionSheet = 0, alert = 1 };

  UIAlertController(std::optional<std::string> title, std::optional<std::string> message, Style preferredStyle)
      : title_(std::move(title)), message_(std::move(message)), preferredStyle_(preferredStyle) {}

  const std::optional<std::string>& title() const { return title_; }
  const std::optional<std::string>& message() const { return message_; }
  Style preferredStyle() const { return preferredStyle_; }
  const std::vector<std::shared_ptr<UIAlertAction>>& actions() const { return actions_; }
  void addAction(std::shared_ptr<UIAlertAction> action);

  // Plays a tap on the first button titled `title`: dismisses the alert, then
  // runs the button's handler. False, changing nothing, when there is no such button.
  bool tapButton(std::string_view title);

  std::string_view className() const override { return "UIAlertController"; }

 private:
  std::optional<std::string> title_;
  std::optional<std::string> message_;
  Style preferredStyle_;
  std::vector<std::shared_ptr<UIAlertAction>> actions_;
};

}  // namespace aurimo::platform
