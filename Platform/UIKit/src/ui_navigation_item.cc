#include "platform/ui_navigation_item.h"

namespace aurimo::platform {

std::string_view name(UINavigationBarAppearance::Background background) {
  switch (background) {
    case UINavigationBarAppearance::Background::defaultBackground:
      return "default";
    case UINavigationBarAppearance::Background::opaque:
      return "opaque";
    case UINavigationBarAppearance::Background::transparent:
      return "transparent";
  }
  return "default";
}

}  // namespace aurimo::platform
