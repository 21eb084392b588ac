#pragma once
// colorFromBytes: a colour from four 8-bit components (0...255), as the app's
// design values are written.
//
// Thread contract: a pure function; any thread.
//
//   platform::UIColor orange = SharedViewsKit::colorFromBytes(244, 132, 55, 255);

#include "platform/ui_color.h"

namespace aurimo::SharedViewsKit {

constexpr platform::UIColor colorFromBytes(int red, int green, int blue, int alpha) {
  return {red / 255.0, green / 255.0, blue / 255.0, alpha / 255.0};
}

}  // namespace aurimo::SharedViewsKit
