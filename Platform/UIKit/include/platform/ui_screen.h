#pragma once
// UIScreen: the display the app draws on; only its scale (device pixels per
// point) matters here. main() is a replaceable process-wide service: a host
// sets the scale of the device it plays, a test pins its own screen.
//
// Thread contract: safe from any thread.
//
//   double scale = platform::UIScreen::main().scale();
//   platform::UIScreen::main().setScale(3);

#include <atomic>

#include "platform/replaceable.h"

namespace aurimo::platform {

class UIScreen {
 public:
  explicit UIScreen(double scale = 1) : scale_(scale) {}

  static UIScreen& main() { return slot().get(); }
  static Replaceable<UIScreen>& slot();

  // May be anything a double holds; readers decide what they can use.
  double scale() const { return scale_.load(std::memory_order_relaxed); }
  void setScale(double scale) { scale_.store(scale, std::memory_order_relaxed); }

 private:
  std::atomic<double> scale_;
};

}  // namespace aurimo::platform
