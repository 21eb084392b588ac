#pragma once
// bringToFront: moves a view in front of its siblings; a view without a
// superview stays as it is.
//
// Thread contract: main thread only, like every view.
//
//   SharedViewsKit::bringToFront(*indicator->superview());

#include "platform/ui_view.h"

namespace aurimo::SharedViewsKit {

inline void bringToFront(platform::UIView& view) {
  if (platform::UIView* superview = view.superview()) superview->bringSubviewToFront(view);
}

}  // namespace aurimo::SharedViewsKit
