#pragma once
// UINavigationItem and UINavigationBarAppearance: what a screen shows in the
// navigation bar while it is on top: its title, its two buttons, and the
// bar's look, standard and at the scroll edge. Appearances are shared objects,
// so one appearance may serve as both.
//
// Thread contract: main thread only, like the screens.
//
//   auto look = std::make_shared<platform::UINavigationBarAppearance>();
//   look->configureWithTransparentBackground();
//   screen->navigationItem().setStandardAppearance(look);

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/ui_bar_button_item.h"
#include "platform/ui_color.h"

namespace aurimo::platform {

class UINavigationBarAppearance {
 public:
  enum class Background { defaultBackground, opaque, transparent };

  // Each starts the appearance afresh in that style, shadow and background colours unset.
  void configureWithDefaultBackground() { reset(Background::defaultBackground); }
  void configureWithOpaqueBackground() { reset(Background::opaque); }
  void configureWithTransparentBackground() { reset(Background::transparent); }

  Background background() const { return background_; }
  const std::optional<UIColor>& shadowColor() const { return shadowColor_; }
  void setShadowColor(std::optional<UIColor> color) { shadowColor_ = color; }
  const std::optional<UIColor>& backgroundColor() const { return backgroundColor_; }
  void setBackgroundColor(std::optional<UIColor> color) { backgroundColor_ = color; }

 private:
  void reset(Background background) {
    background_ = background;
    shadowColor_.reset();
    backgroundColor_.reset();
  }

  Background background_ = Background::defaultBackground;
  std::optional<UIColor> shadowColor_;
  std::optional<UIColor> backgroundColor_;
};

// "default", "opaque" or "transparent".
std::string_view name(UINavigationBarAppearance::Background background);

class UINavigationItem {
 public:
  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title) { title_ = std::move(title); }
  const std::shared_ptr<UIBarButtonItem>& leftBarButtonItem() const { return left_; }
  void setLeftBarButtonItem(std::shared_ptr<UIBarButtonItem> item) { left_ = std::move(item); }
  const std::shared_ptr<UIBarButtonItem>& rightBarButtonItem() const { return right_; }
  void setRightBarButtonItem(std::shared_ptr<UIBarButtonItem> item) { right_ = std::move(item); }
  const std::shared_ptr<UINavigationBarAppearance>& standardAppearance() const { return standard_; }
  void setStandardAppearance(std::shared_ptr<UINavigationBarAppearance> look) { standard_ = std::move(look); }
  const std::shared_ptr<UINavigationBarAppearance>& scrollEdgeAppearance() const { return scrollEdge_; }
  void setScrollEdgeAppearance(std::shared_ptr<UINavigationBarAppearance> look) { scrollEdge_ = std::move(look); }

 private:
  std::optional<std::string> title_;
  std::shared_ptr<UIBarButtonItem> left_;
  std::shared_ptr<UIBarButtonItem> right_;
  std::shared_ptr<UINavigationBarAppearance> standard_;
  std::shared_ptr<UINavigationBarAppearance> scrollEdge_;
};

}  // namespace aurimo::platform
