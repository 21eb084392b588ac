#include "platform/sf_safari_view_controller.h"

#include <utility>

#include "platform/dispatch_queue.h"

namespace aurimo::platform {

SFSafariViewController::SFSafariViewController(URL url, Configuration configuration)
    : url_(std::move(url)), configuration_(configuration) {}

SFSafariViewController::SFSafariViewController(URL url, bool entersReaderIfAvailable)
    : SFSafariViewController(std::move(url), Configuration{.entersReaderIfAvailable = entersReaderIfAvailable}) {}

std::optional<UIColor> SFSafariViewController::preferredControlTintColor() const {
  dispatchPreconditionOnMain();
  return preferredControlTintColor_;
}

void SFSafariViewController::setPreferredControlTintColor(std::optional<UIColor> color) {
  dispatchPreconditionOnMain();
  preferredControlTintColor_ = color;
}

}  // namespace aurimo::platform
