#pragma once
// UIButton: a view that runs its actions when tapped (touch up inside).
//
// Thread contract: main thread only, like every view.
//
//   auto close = std::make_shared<platform::UIButton>();
//   close->addAction([] { hide(); });
//   close->sendActionsForTouchUpInside();   // a tap

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/ui_view.h"

namespace aurimo::platform {

class UIButton : public UIView {
 public:
  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title) { title_ = std::move(title); }

  // Runs on every tap, after the actions added before it.
  void addAction(std::function<void()> action) { actions_.push_back(std::move(action)); }
  void removeAllActions() { actions_.clear(); }
  // Plays a tap: runs the actions in the order they were added.
  void sendActionsForTouchUpInside();

  std::string_view className() const override { return "UIButton"; }

 private:
  std::optional<std::string> title_;
  std::vector<std::function<void()>> actions_;
};

}  // namespace aurimo::platform
