#pragma once
// UIFont and the text attributes of a run of text: the font and the colour
// a title is drawn in.
//
// Thread contract: values; any thread.
//
//   platform::UIFont font = platform::UIFont::systemFont(17, platform::UIFont::Weight::medium);
//   platform::TextAttributes normal{.font = font, .foregroundColor = tint};

#include <optional>
#include <string>
#include <string_view>

#include "platform/ui_color.h"

namespace aurimo::platform {

struct UIFont {
  enum class Weight { ultraLight, thin, light, regular, medium, semibold, bold, heavy, black };

  double pointSize = 17;
  Weight weight = Weight::regular;

  static constexpr UIFont systemFont(double size, Weight weight) { return {size, weight}; }

  friend constexpr bool operator==(const UIFont&, const UIFont&) = default;
};

// "ultraLight", "thin", …, "black"; and back (nullopt for an unknown name).
std::string_view name(UIFont::Weight weight);
std::optional<UIFont::Weight> fontWeightNamed(std::string_view name);

// The attributes of NSAttributedString.Key the app sets: font and foreground colour.
struct TextAttributes {
  std::optional<UIFont> font;
  std::optional<UIColor> foregroundColor;

  friend bool operator==(const TextAttributes&, const TextAttributes&) = default;
};

struct NSAttributedString {
  std::string string;
  TextAttributes attributes;

  friend bool operator==(const NSAttributedString&, const NSAttributedString&) = default;
};

}  // namespace aurimo::platform
