#pragma once
// GlobalActivityIndicatorView: the full-screen view that blocks the app
// while long work runs: a spinner, a caption (label) and a close button that
// can be revealed after a delay, timed on the main run loop's clock.
//
// Thread contract: main thread only, like every view.
//
//   auto indicator = GlobalActivityIndicatorView::instantiateFromNib();
//   indicator->label()->setText("Counting your collectibles...");
//   indicator->showCloseButton(10, [] { giveUp(); });

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/clock.h"
#include "platform/ui_button.h"
#include "platform/ui_label.h"
#include "platform/ui_view.h"

namespace aurimo::ResultViewsKit {

class GlobalActivityIndicatorView : public platform::UIView {
 public:
  // The view with its caption and its (hidden) close button in place.
  static std::shared_ptr<GlobalActivityIndicatorView> instantiateFromNib();

  // The caption; null only for a broken layout.
  platform::UILabel* label() const { return label_.get(); }
  const std::shared_ptr<platform::UIButton>& closeButton() const { return closeButton_; }

  // Reveals the close button once `seconds` have passed on the main queue; a
  // tap then calls `handler`. Replaces any earlier close button.
  void showCloseButton(platform::TimeInterval seconds, std::function<void()> handler);
  // Hides the close button, forgets its handler, and cancels a pending reveal.
  void hideCloseButton();

  std::string_view className() const override { return "GlobalActivityIndicatorView"; }

 private:
  // Shared with the button's action and pending reveals, which must not reach a view that is gone.
  struct CloseState {
    std::function<void()> handler;
    std::uint64_t generation = 0;  // a reveal scheduled for an older showing is stale
  };

  std::shared_ptr<platform::UILabel> label_;
  std::shared_ptr<platform::UIButton> closeButton_;
  const std::shared_ptr<CloseState> close_ = std::make_shared<CloseState>();
};

}  // namespace aurimo::ResultViewsKit
