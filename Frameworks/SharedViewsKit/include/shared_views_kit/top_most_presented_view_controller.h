#pragma once
// topMostPresentedViewController: the end of the chain of screens presented
// one above another, starting at (and possibly being) `controller`.
//
// Thread contract: main thread only, like the screens.
//
//   std::shared_ptr<platform::UIViewController> top =
//       SharedViewsKit::topMostPresentedViewController(window->rootViewController());

#include <memory>

#include "platform/ui_view_controller.h"

namespace aurimo::SharedViewsKit {

std::shared_ptr<platform::UIViewController> topMostPresentedViewController(
    std::shared_ptr<platform::UIViewController> controller);

}  // namespace aurimo::SharedViewsKit
