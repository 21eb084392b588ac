#include "result_views_kit/global_activity_indicator_view.h"

#include <utility>

#include "platform/dispatch_queue.h"

namespace aurimo::ResultViewsKit {

std::shared_ptr<GlobalActivityIndicatorView> GlobalActivityIndicatorView::instantiateFromNib() {
  auto view = std::make_shared<GlobalActivityIndicatorView>();
  view->label_ = std::make_shared<platform::UILabel>();
  view->closeButton_ = std::make_shared<platform::UIButton>();
  view->closeButton_->setHidden(true);
  view->addSubview(view->label_);
  view->addSubview(view->closeButton_);
  view->closeButton_->addAction([close = std::weak_ptr<CloseState>(view->close_),
                                  button = std::weak_ptr<platform::UIButton>(view->closeButton_)] {
    std::shared_ptr<CloseState> state = close.lock();
    std::shared_ptr<platform::UIButton> tapped = button.lock();
    // A button not yet revealed takes no taps.
    if (!state || !state->handler || !tapped || tapped->isHidden()) return;
    std::function<void()> handler = state->handler;  // the handler may hide the button and drop itself
    handler();
  });
  return view;
}

void GlobalActivityIndicatorView::showCloseButton(platform::TimeInterval seconds, std::function<void()> handler) {
  platform::dispatchPreconditionOnMain();
  hideCloseButton();
  close_->handler = std::move(handler);
  platform::DispatchQueue::main().asyncAfter(
      seconds, [close = std::weak_ptr<CloseState>(close_), button = std::weak_ptr<platform::UIButton>(closeButton_),
                generation = close_->generation] {
        std::shared_ptr<CloseState> state = close.lock();
        std::shared_ptr<platform::UIButton> shown = button.lock();
        if (state && shown && state->generation == generation) shown->setHidden(false);
      });
}

void GlobalActivityIndicatorView::hideCloseButton() {
  platform::dispatchPreconditionOnMain();
  ++close_->generation;
  close_->handler = nullptr;
  closeButton_->setHidden(true);
}

}  // namespace aurimo::ResultViewsKit
