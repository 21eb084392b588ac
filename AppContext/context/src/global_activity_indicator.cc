// AppContext's global activity indicator: one view, re-hosted over the
// top-most screen on each showing.

#include <random>
#include <string>
#include <utility>

#include "app_context/context/app_context.h"
#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"
#include "platform/localization.h"
#include "shared_views_kit/bring_to_front.h"
#include "shared_views_kit/top_most_presented_view_controller.h"

namespace aurimo {

ResultViewsKit::GlobalActivityIndicatorView& AppContext::globalActivityIndicatorView() {
  platform::dispatchPreconditionOnMain();
  if (!globalActivityIndicatorView_) {
    globalActivityIndicatorView_ = ResultViewsKit::GlobalActivityIndicatorView::instantiateFromNib();
    globalActivityIndicatorView_->setHidden(true);
  }
  return *globalActivityIndicatorView_;
}

std::string AppContext::defaultActivityIndicatorCaption() const {
  const platform::Bundle& bundle = *services_.bundle;
  const std::string captions[] = {
      platform::NSLocalizedString("Counting your collectibles...", std::nullopt, bundle, "", "Activity indicator text"),
      platform::NSLocalizedString("Gathering new interesting facts...", std::nullopt, bundle, "",
                                  "Activity indicator text"),
  };
  std::random_device system;
  return captions[std::uniform_int_distribution<int>(0, 1)(system)];
}

void AppContext::showGlobalActivityIndicator(std::optional<std::string> title) {
  platform::dispatchPreconditionOnMain();
  const std::string caption = title ? std::move(*title) : defaultActivityIndicatorCaption();

  const std::shared_ptr<platform::UIViewController>& root = window_->rootViewController();
  if (!root) platform::fatalError("the app's window has no root view controller to host the activity indicator");
  const std::shared_ptr<platform::UIView>& top = SharedViewsKit::topMostPresentedViewController(root)->view();
  if (!top) platform::fatalError("the top-most screen has no view to host the activity indicator");
  platform::UIView* host = top->window() ? static_cast<platform::UIView*>(top->window()) : top.get();

  ResultViewsKit::GlobalActivityIndicatorView& indicator = globalActivityIndicatorView();
  if (indicator.superview() == host) {
    // Brings the host forward among its siblings, as the app always has.
    SharedViewsKit::bringToFront(*indicator.superview());
  } else {
    indicator.removeFromSuperview();
    indicator.setTranslatesAutoresizingMaskIntoConstraints(false);
    host->addSubview(globalActivityIndicatorView_);
    platform::NSLayoutConstraint::activate({
        indicator.topAnchor().constraint(host->topAnchor()),
        indicator.leftAnchor().constraint(host->leftAnchor()),
        indicator.bottomAnchor().constraint(host->bottomAnchor()),
        indicator.rightAnchor().constraint(host->rightAnchor()),
    });
  }
  indicator.hideCloseButton();
  platform::UILabel* label = indicator.label();
  if (!label) platform::fatalError("the activity indicator has no label");
  label->setText(caption);
  indicator.setHidden(false);
  services_.application->setIdleTimerDisabled(true);
}

void AppContext::showGlobalActivityIndicator(std::optional<std::string> title,
                                             platform::TimeInterval showCloseButtonAfter,
                                             std::function<void()> closeButtonHandler) {
  showGlobalActivityIndicator(std::move(title));
  globalActivityIndicatorView().showCloseButton(
      showCloseButtonAfter, [self = shared_from_this(), closeButtonHandler = std::move(closeButtonHandler)] {
        self->hideGlobalActivityIndicator();
        if (closeButtonHandler) closeButtonHandler();
      });
}

void AppContext::hideGlobalActivityIndicator() {
  platform::dispatchPreconditionOnMain();
  ResultViewsKit::GlobalActivityIndicatorView& indicator = globalActivityIndicatorView();
  if (indicator.isHidden()) return;
  indicator.hideCloseButton();
  indicator.setHidden(true);
  indicator.removeFromSuperview();
  services_.application->setIdleTimerDisabled(false);
}

}  // namespace aurimo
