#pragma once
// Painter: the few drawing acts a phone screen needs (filled and rounded
// rectangles, hairlines, text in the system font, image placeholders) over
// one cairo image surface, in points. Private to the renderer.
//
// Thread contract: one thread at a time.
//
//   Painter painter(393, 852, 2);
//   painter.fill({0, 0, 393, 852}, kWhite);

#include <cairo.h>
#include <pango/pangocairo.h>

#include <string_view>

#include "platform/ui_color.h"
#include "platform/ui_font.h"
#include "platform/ui_image.h"

namespace aurimo::platform::rendering {

struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  double midX() const { return x + width / 2; }
  double midY() const { return y + height / 2; }
};

struct Point {
  double x = 0, y = 0;
};

struct Size {
  double width = 0, height = 0;
};

enum class Align { left, center, right };

class Painter {
 public:
  Painter(double width, double height, double scale);
  ~Painter();
  Painter(const Painter&) = delete;
  Painter& operator=(const Painter&) = delete;

  double hairline() const { return 1 / scale_; }

  void fill(const Rect& rect, const UIColor& color);
  void fillRounded(const Rect& rect, double radius, const UIColor& color);
  void fillCircle(Point center, double radius, const UIColor& color);
  void line(Point from, Point to, double width, const UIColor& color);
  // Clips everything until restore() to a rounded rectangle.
  void clipRounded(const Rect& rect, double radius);
  void restore();

  // The size `text` takes in `font`, wrapped to `wrapWidth` when it is positive.
  Size measure(std::string_view text, const UIFont& font, double wrapWidth = 0);
  // Draws `text` with its top at `y`, aligned within [x, x + width]: one
  // ellipsized line, or wrapped lines when `wrap` is set. Returns the height used.
  double text(std::string_view text, const UIFont& font, const UIColor& color, const Rect& box, Align align,
              bool wrap = false);

  // An asset image Linux cannot load: a tinted rounded square bearing the name's initial.
  void imagePlaceholder(const UIImage& image, const Rect& box, const UIColor& tint);
  // The platform's spinner: twelve spokes fading round the circle.
  void spinner(Point center, double radius, const UIColor& color);

  // The picture so far as an opaque RGB bitmap.
  CGImage image() const;

 private:
  PangoLayout* layout(std::string_view text, const UIFont& font, double wrapWidth, bool ellipsize);
  void setColor(const UIColor& color);

  double scale_;
  cairo_surface_t* surface_;
  cairo_t* cr_;
  PangoContext* pango_;
};

// The platform's named colours.
inline constexpr UIColor kWhite{1, 1, 1, 1};
inline constexpr UIColor kBlack{0, 0, 0, 1};
inline constexpr UIColor kSystemBlue{0, 122 / 255.0, 1, 1};
inline constexpr UIColor kSystemRed{1, 59 / 255.0, 48 / 255.0, 1};
inline constexpr UIColor kSecondaryLabel{60 / 255.0, 60 / 255.0, 67 / 255.0, 0.6};
inline constexpr UIColor kSeparator{60 / 255.0, 60 / 255.0, 67 / 255.0, 0.29};
inline constexpr UIColor kGroupedBackground{242 / 255.0, 242 / 255.0, 247 / 255.0, 1};

}  // namespace aurimo::platform::rendering
