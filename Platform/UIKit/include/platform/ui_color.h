#pragma once
// UIColor: an RGBA colour, components from 0 to 1.
//
// Thread contract: a value; any thread.
//
//   platform::UIColor pressed = tint.withAlphaComponent(0.5);
//   platform::UIColor background = platform::UIColor::white();

namespace aurimo::platform {

struct UIColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  static constexpr UIColor white() { return {1, 1, 1, 1}; }
  static constexpr UIColor clear() { return {0, 0, 0, 0}; }
  // The same colour with `alpha` as its alpha.
  constexpr UIColor withAlphaComponent(double newAlpha) const { return {red, green, blue, newAlpha}; }

  friend constexpr bool operator==(const UIColor&, const UIColor&) = default;
};

}  // namespace aurimo::platform
