#include "platform/application.h"

#include <algorithm>

#include "platform/dispatch_queue.h"
#include "platform/ui_window.h"

namespace aurimo::platform {

Replaceable<UIApplication>& UIApplication::slot() {
  static Replaceable<UIApplication> instance([] { return std::make_shared<UIApplication>(); });
  return instance;
}

void UIApplication::setIdleTimerDisabled(bool disabled) {
  dispatchPreconditionOnMain();
  idleTimerDisabled_ = disabled;
}

std::vector<std::shared_ptr<UIWindow>> UIApplication::windows() const {
  std::vector<std::shared_ptr<UIWindow>> sorted = windows_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a->windowLevel() < b->windowLevel(); });
  return sorted;
}

void UIApplication::windowDidShow(std::shared_ptr<UIWindow> window) {
  dispatchPreconditionOnMain();
  if (std::find(windows_.begin(), windows_.end(), window) == windows_.end()) windows_.push_back(std::move(window));
}

void UIApplication::windowDidHide(const UIWindow& window) {
  dispatchPreconditionOnMain();
  std::erase_if(windows_, [&](const auto& shown) { return shown.get() == &window; });
}

}  // namespace aurimo::platform
