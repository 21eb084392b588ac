#pragma once
// UIButton: a view that runs its actions when tapped (touch up inside): its
// primary action and closures, then the selectors of its targets. A button
// may carry a configuration (attributed title, image, image padding).
//
// Thread contract: main thread only, like every view.
//
//   auto button = std::make_shared<platform::UIButton>(platform::UIButton::Configuration::plain());
//   button->addTarget(screen, platform::Selector("close"), platform::UIControlEvent::touchUpInside);
//   button->sendActionsForTouchUpInside();   // a tap

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/selector.h"
#include "platform/ui_font.h"
#include "platform/ui_image.h"
#include "platform/ui_view.h"

namespace aurimo::platform {

enum class UIControlEvent { touchUpInside };
enum class UIControlState { normal, highlighted, disabled, selected };

class UIButton : public UIView {
 public:
  struct Configuration {
    std::optional<NSAttributedString> attributedTitle;
    std::optional<UIImage> image;
    double imagePadding = 0;

    // The plain style: no background, title and image as given.
    static Configuration plain() { return {}; }
  };

  UIButton() = default;
  // UIButton(configuration:primaryAction:).
  explicit UIButton(Configuration configuration, std::function<void()> primaryAction = nullptr);

  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title) { title_ = std::move(title); }
  const std::optional<Configuration>& configuration() const { return configuration_; }

  // Runs on every tap, after the actions added before it.
  void addAction(std::function<void()> action) { actions_.push_back(std::move(action)); }
  void removeAllActions() { actions_.clear(); }
  // Sends `action` to `target` (held weakly) on each `event`.
  void addTarget(const std::shared_ptr<ActionTarget>& target, Selector action, UIControlEvent event);
  struct Target {
    std::weak_ptr<ActionTarget> target;
    Selector action;
    UIControlEvent event;
  };
  const std::vector<Target>& targets() const { return targets_; }
  // Plays a tap: runs the actions in the order they were added, then sends the targets' selectors.
  void sendActionsForTouchUpInside();

  std::string_view className() const override { return "UIButton"; }

 private:
  std::optional<std::string> title_;
  std::optional<Configuration> configuration_;
  std::vector<std::function<void()>> actions_;
  std::vector<Target> targets_;
};

}  // namespace aurimo::platform
