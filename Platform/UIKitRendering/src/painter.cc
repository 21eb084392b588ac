#include "painter.h"

#include <glib.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>

#include "platform/fatal_error.h"

namespace aurimo::platform::rendering {
namespace {

// Text from outside may be anything: invalid UTF-8 is repaired and very long
// text cut, so pango neither complains nor spends seconds on a title.
constexpr std::size_t kMaxTextBytes = 1024;

std::string drawable(std::string_view text) {
  text = text.substr(0, kMaxTextBytes);
  gchar* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string out(valid);
  g_free(valid);
  return out;
}

double unit(double value) { return value >= 0 ? std::min(value, 1.0) : 0; }  // NaN becomes 0

PangoWeight pangoWeight(UIFont::Weight weight) {
  switch (weight) {
    case UIFont::Weight::ultraLight: return PANGO_WEIGHT_ULTRALIGHT;
    case UIFont::Weight::thin: return PANGO_WEIGHT_THIN;
    case UIFont::Weight::light: return PANGO_WEIGHT_LIGHT;
    case UIFont::Weight::regular: return PANGO_WEIGHT_NORMAL;
    case UIFont::Weight::medium: return PANGO_WEIGHT_MEDIUM;
    case UIFont::Weight::semibold: return PANGO_WEIGHT_SEMIBOLD;
    case UIFont::Weight::bold: return PANGO_WEIGHT_BOLD;
    case UIFont::Weight::heavy: return PANGO_WEIGHT_HEAVY;
    case UIFont::Weight::black: return PANGO_WEIGHT_ULTRAHEAVY;
  }
  return PANGO_WEIGHT_NORMAL;
}

void roundedPath(cairo_t* cr, const Rect& r, double radius) {
  radius = std::clamp(radius, 0.0, std::min(r.width, r.height) / 2);
  constexpr double kQuarter = std::numbers::pi / 2;
  cairo_new_sub_path(cr);
  cairo_arc(cr, r.maxX() - radius, r.y + radius, radius, -kQuarter, 0);
  cairo_arc(cr, r.maxX() - radius, r.maxY() - radius, radius, 0, kQuarter);
  cairo_arc(cr, r.x + radius, r.maxY() - radius, radius, kQuarter, 2 * kQuarter);
  cairo_arc(cr, r.x + radius, r.y + radius, radius, 2 * kQuarter, 3 * kQuarter);
  cairo_close_path(cr);
}

}  // namespace

Painter::Painter(double width, double height, double scale)
    : scale_(scale),
      surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(std::ceil(width * scale)),
                                          static_cast<int>(std::ceil(height * scale)))),
      cr_(cairo_create(surface_)),
      pango_(pango_cairo_create_context(cr_)) {
  if (cairo_status(cr_) != CAIRO_STATUS_SUCCESS) fatalError("cairo cannot make a surface for the screen");
  cairo_scale(cr_, scale, scale);
  // Unhinted outlines with grey antialiasing: the same pixels on every machine with the same fonts.
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(pango_, options);
  cairo_font_options_destroy(options);
  pango_cairo_update_context(cr_, pango_);
}

Painter::~Painter() {
  g_object_unref(pango_);
  cairo_destroy(cr_);
  cairo_surface_destroy(surface_);
}

void Painter::setColor(const UIColor& color) {
  cairo_set_source_rgba(cr_, unit(color.red), unit(color.green), unit(color.blue), unit(color.alpha));
}

void Painter::fill(const Rect& rect, const UIColor& color) {
  setColor(color);
  cairo_rectangle(cr_, rect.x, rect.y, rect.width, rect.height);
  cairo_fill(cr_);
}

void Painter::fillRounded(const Rect& rect, double radius, const UIColor& color) {
  setColor(color);
  roundedPath(cr_, rect, radius);
  cairo_fill(cr_);
}

void Painter::fillCircle(Point center, double radius, const UIColor& color) {
  setColor(color);
  cairo_new_sub_path(cr_);
  cairo_arc(cr_, center.x, center.y, radius, 0, 2 * std::numbers::pi);
  cairo_fill(cr_);
}

void Painter::line(Point from, Point to, double width, const UIColor& color) {
  setColor(color);
  cairo_set_line_width(cr_, width);
  cairo_set_line_cap(cr_, CAIRO_LINE_CAP_ROUND);
  cairo_move_to(cr_, from.x, from.y);
  cairo_line_to(cr_, to.x, to.y);
  cairo_stroke(cr_);
}

void Painter::clipRounded(const Rect& rect, double radius) {
  cairo_save(cr_);
  roundedPath(cr_, rect, radius);
  cairo_clip(cr_);
}

void Painter::restore() { cairo_restore(cr_); }

PangoLayout* Painter::layout(std::string_view text, const UIFont& font, double wrapWidth, bool ellipsize) {
  PangoLayout* layout = pango_layout_new(pango_);
  PangoFontDescription* description = pango_font_description_new();
  pango_font_description_set_family_static(description, "DejaVu Sans");
  pango_font_description_set_weight(description, pangoWeight(font.weight));
  // DejaVu runs wider than the platform's font; a touch smaller keeps titles in their bars.
  const double points = std::isfinite(font.pointSize) ? std::clamp(font.pointSize, 1.0, 200.0) : 17.0;
  pango_font_description_set_absolute_size(description, points * 0.9 * PANGO_SCALE);
  pango_layout_set_font_description(layout, description);
  pango_font_description_free(description);
  const std::string valid = drawable(text);
  pango_layout_set_text(layout, valid.data(), static_cast<int>(valid.size()));
  if (wrapWidth > 0) {
    pango_layout_set_width(layout, static_cast<int>(wrapWidth * PANGO_SCALE));
    if (ellipsize) {
      pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
      pango_layout_set_single_paragraph_mode(layout, TRUE);
    } else {
      pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    }
  }
  return layout;
}

Size Painter::measure(std::string_view text, const UIFont& font, double wrapWidth) {
  PangoLayout* measured = layout(text, font, wrapWidth, false);
  int width = 0, height = 0;
  pango_layout_get_size(measured, &width, &height);
  g_object_unref(measured);
  return {static_cast<double>(width) / PANGO_SCALE, static_cast<double>(height) / PANGO_SCALE};
}

double Painter::text(std::string_view text, const UIFont& font, const UIColor& color, const Rect& box, Align align,
                     bool wrap) {
  if (box.width <= 0) return 0;
  PangoLayout* shown = layout(text, font, box.width, !wrap);
  pango_layout_set_alignment(shown, align == Align::left    ? PANGO_ALIGN_LEFT
                                    : align == Align::right ? PANGO_ALIGN_RIGHT
                                                            : PANGO_ALIGN_CENTER);
  int width = 0, height = 0;
  pango_layout_get_size(shown, &width, &height);
  setColor(color);
  cairo_move_to(cr_, box.x, box.y);
  pango_cairo_show_layout(cr_, shown);
  g_object_unref(shown);
  return static_cast<double>(height) / PANGO_SCALE;
}

void Painter::imagePlaceholder(const UIImage& image, const Rect& box, const UIColor& tint) {
  fillRounded(box, box.width / 4, tint);
  std::string initial = "?";
  if (image.name() && !image.name()->empty()) {
    const std::string valid = drawable(*image.name());
    const char* second = g_utf8_next_char(valid.c_str());
    initial = valid.substr(0, static_cast<std::size_t>(second - valid.c_str()));
  }
  const UIFont font{box.height * 0.7, UIFont::Weight::bold};
  const Size size = measure(initial, font);
  text(initial, font, kWhite.withAlphaComponent(unit(tint.alpha)), {box.x, box.midY() - size.height / 2, box.width, size.height},
       Align::center);
}

void Painter::spinner(Point center, double radius, const UIColor& color) {
  constexpr int kSpokes = 12;
  for (int spoke = 0; spoke < kSpokes; ++spoke) {
    const double angle = 2 * std::numbers::pi * spoke / kSpokes - std::numbers::pi / 2;
    const double fade = 0.25 + 0.75 * (spoke + 1) / kSpokes;
    line({center.x + std::cos(angle) * radius * 0.5, center.y + std::sin(angle) * radius * 0.5},
         {center.x + std::cos(angle) * radius, center.y + std::sin(angle) * radius}, radius * 0.22,
         color.withAlphaComponent(unit(color.alpha) * fade));
  }
}

CGImage Painter::image() const {
  cairo_surface_flush(surface_);
  const int width = cairo_image_surface_get_width(surface_);
  const int height = cairo_image_surface_get_height(surface_);
  const int stride = cairo_image_surface_get_stride(surface_);
  const unsigned char* source = cairo_image_surface_get_data(surface_);
  Data pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  std::size_t out = 0;
  for (int row = 0; row < height; ++row) {
    const auto* argb = reinterpret_cast<const std::uint32_t*>(source + static_cast<std::ptrdiff_t>(row) * stride);
    for (int column = 0; column < width; ++column) {
      // The screen is painted opaque first, so premultiplied colour is the colour.
      pixels[out++] = static_cast<std::uint8_t>(argb[column] >> 16);
      pixels[out++] = static_cast<std::uint8_t>(argb[column] >> 8);
      pixels[out++] = static_cast<std::uint8_t>(argb[column]);
    }
  }
  return CGImage(static_cast<std::size_t>(width), static_cast<std::size_t>(height), CGImageAlphaInfo::none,
                 std::move(pixels));
}

}  // namespace aurimo::platform::rendering
