#pragma once
// ScreenRenderer: draws what the headless UI model holds as a phone screen
// would show it: the visible windows lowest first, each root screen with its
// navigation bar (title, buttons, background and shadow line per the bar's
// appearance), presented sheets and alerts, the activity indicator, the
// status bar and the home indicator. Views carry no frames, so the renderer
// places them the way the platform's standard screens do; text is set in
// "DejaVu Sans" whatever other fonts the machine has, so renders repeat.
//
// Thread contract: main thread only, like the views it reads.
//
//   platform::ScreenRenderer renderer(platform::UIScreen::main().scale());
//   platform::UIImage png = renderer.render(platform::UIApplication::shared());

#include <cstddef>
#include <string>

#include "platform/application.h"
#include "platform/file_manager.h"
#include "platform/ui_image.h"
#include "platform/ui_screen.h"
#include "platform/ui_view.h"
#include "platform/ui_window.h"

namespace aurimo::platform {

class ScreenRenderer {
 public:
  // A phone's logical screen, in points.
  static constexpr double kPhoneWidth = 393;
  static constexpr double kPhoneHeight = 852;

  // `scale` is device pixels per point; values outside 1...4 (NaN included) are brought into it.
  explicit ScreenRenderer(double scale = UIScreen::main().scale(), double width = kPhoneWidth,
                          double height = kPhoneHeight);

  double scale() const { return scale_; }
  std::size_t pixelWidth() const;
  std::size_t pixelHeight() const;

  // Every visible window of `application`, lowest level first.
  UIImage render(const UIApplication& application) const;
  // One window, shown or not.
  UIImage render(UIWindow& window) const;
  // Any view tree, filling the screen.
  UIImage render(UIView& view) const;

 private:
  double scale_;
  double width_;
  double height_;
};

// Writes `image` as PNG to `path` atomically (a temporary file beside it, then
// a rename) through `files`. Throws FileError when the folder is missing or
// not writable, and std::runtime_error when the image has no bitmap.
void writePNG(const UIImage& image, const std::string& path, FileManager& files);

}  // namespace aurimo::platform
