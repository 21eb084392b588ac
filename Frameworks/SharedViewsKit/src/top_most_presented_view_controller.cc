#include "shared_views_kit/top_most_presented_view_controller.h"

#include <utility>

namespace aurimo::SharedViewsKit {

std::shared_ptr<platform::UIViewController> topMostPresentedViewController(
    std::shared_ptr<platform::UIViewController> controller) {
  while (controller && controller->presentedViewController()) controller = controller->presentedViewController();
  return controller;
}

}  // namespace aurimo::SharedViewsKit
