#pragma once
// UIBarButtonItem: a button of a navigation bar, made one of three ways: a
// title, an image, or a custom view (a UIButton). Title and image items send
// their selector to their target (held weakly) when tapped; a custom-view
// item leaves taps to its view.
//
// Thread contract: main thread only, like the bars and screens.
//
//   auto done = platform::UIBarButtonItem::withTitle("Done", platform::UIBarButtonItem::Style::done,
//                                                    screen, platform::Selector("done"));
//   done->tap();   // screen->perform("done")

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/selector.h"
#include "platform/ui_button.h"
#include "platform/ui_color.h"
#include "platform/ui_font.h"
#include "platform/ui_image.h"

namespace aurimo::platform {

class UIBarButtonItem {
 public:
  // The raw values are the platform's.
  enum class Style { plain = 0, done = 2 };
  enum class Kind { title, image, customView };

  static std::shared_ptr<UIBarButtonItem> withTitle(std::optional<std::string> title, Style style,
                                                    const std::shared_ptr<ActionTarget>& target,
                                                    std::optional<Selector> action);
  static std::shared_ptr<UIBarButtonItem> withImage(std::optional<UIImage> image, Style style,
                                                    const std::shared_ptr<ActionTarget>& target,
                                                    std::optional<Selector> action);
  static std::shared_ptr<UIBarButtonItem> withCustomView(std::shared_ptr<UIView> customView);

  Kind kind() const { return kind_; }
  Style style() const { return style_; }
  const std::optional<std::string>& title() const { return title_; }
  const std::optional<UIImage>& image() const { return image_; }
  const std::optional<Selector>& action() const { return action_; }
  std::shared_ptr<ActionTarget> target() const { return target_.lock(); }
  const std::shared_ptr<UIView>& customView() const { return customView_; }

  void setTitleTextAttributes(std::optional<TextAttributes> attributes, UIControlState state);
  std::optional<TextAttributes> titleTextAttributes(UIControlState state) const;

  const std::optional<UIColor>& tintColor() const { return tintColor_; }
  void setTintColor(std::optional<UIColor> color) { tintColor_ = color; }
  bool hidesSharedBackground() const { return hidesSharedBackground_; }
  void setHidesSharedBackground(bool hides) { hidesSharedBackground_ = hides; }

  // Plays a tap: sends the action to the target, or taps the custom view when it is a button.
  // Returns the selector the target received, if any.
  std::optional<Selector> tap();

 private:
  UIBarButtonItem() = default;

  Kind kind_ = Kind::title;
  Style style_ = Style::plain;
  std::optional<std::string> title_;
  std::optional<UIImage> image_;
  std::weak_ptr<ActionTarget> target_;
  std::optional<Selector> action_;
  std::shared_ptr<UIView> customView_;
  std::map<UIControlState, TextAttributes> titleTextAttributes_;
  std::optional<UIColor> tintColor_;
  bool hidesSharedBackground_ = false;
};

// "plain" or "done"; "title", "image" or "customView".
std::string_view name(UIBarButtonItem::Style style);
std::string_view name(UIBarButtonItem::Kind kind);

}  // namespace aurimo::platform
