#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app_context_fixture.h"
#include "platform/ns_layout_constraint.h"

namespace aurimo {
namespace {

using platform::NSLayoutAttribute;
using Pins = std::vector<std::pair<NSLayoutAttribute, NSLayoutAttribute>>;

class GlobalActivityIndicatorTest : public AppContextTest {
 protected:
  void SetUp() override { launch(); }
  ResultViewsKit::GlobalActivityIndicatorView& indicator() { return context_->globalActivityIndicatorView(); }
  std::optional<std::string> caption() { return indicator().label()->text(); }
  bool closeButtonHidden() { return indicator().closeButton()->isHidden(); }
  // The active constraints `host` keeps between the indicator and itself, as edge pairs.
  Pins pins(const platform::UIView& host) {
    Pins found;
    for (const auto& c : host.constraints()) {
      if (c->isActive() && c->firstItem() == &indicator() && c->secondItem() == &host) {
        found.emplace_back(c->firstAttribute(), c->secondAttribute());
      }
    }
    std::ranges::sort(found);
    return found;
  }
};

TEST_F(GlobalActivityIndicatorTest, ShowCoversTheTopMostScreensHostUntilHidden) {
  EXPECT_TRUE(indicator().isHidden());
  EXPECT_EQ(indicator().superview(), nullptr);
  const auto sheet = std::make_shared<platform::UIViewController>();
  root_->present(sheet, false);

  context_->showGlobalActivityIndicator("Loading");
  context_->showGlobalActivityIndicator("Still loading");
  EXPECT_EQ(indicator().superview(), window_.get());
  EXPECT_EQ(std::ranges::count_if(window_->subviews(), [&](const auto& view) { return view.get() == &indicator(); }), 1);
  // In the attributes' declared order, as pins() sorts them.
  const Pins edges{{NSLayoutAttribute::left, NSLayoutAttribute::left}, {NSLayoutAttribute::right, NSLayoutAttribute::right},
                   {NSLayoutAttribute::top, NSLayoutAttribute::top}, {NSLayoutAttribute::bottom, NSLayoutAttribute::bottom}};
  EXPECT_EQ(pins(*window_), edges);
  EXPECT_FALSE(indicator().translatesAutoresizingMaskIntoConstraints());
  EXPECT_EQ(caption(), "Still loading");
  EXPECT_FALSE(indicator().isHidden());
  EXPECT_TRUE(closeButtonHidden());
  EXPECT_TRUE(env_.application->isIdleTimerDisabled());

  // A screen whose view is in no window hosts it directly.
  const auto loose = std::make_shared<platform::UIViewController>();
  sheet->present(loose, false);
  loose->view()->removeFromSuperview();
  context_->showGlobalActivityIndicator("Moved");
  EXPECT_EQ(indicator().superview(), loose->view().get());
  EXPECT_EQ(pins(*loose->view()), edges);
  EXPECT_TRUE(pins(*window_).empty());

  context_->hideGlobalActivityIndicator();
  EXPECT_TRUE(indicator().isHidden());
  EXPECT_EQ(indicator().superview(), nullptr);
  EXPECT_FALSE(env_.application->isIdleTimerDisabled());
  // Hiding a hidden indicator leaves the idle timer as someone else set it.
  env_.application->setIdleTimerDisabled(true);
  context_->hideGlobalActivityIndicator();
  EXPECT_TRUE(env_.application->isIdleTimerDisabled());
}

TEST_F(GlobalActivityIndicatorTest, CloseButtonShowsAfterItsDelayUnlessALaterShowingCancelsIt) {
  int closed = 0;
  context_->showGlobalActivityIndicator("A", 10, [&] { ++closed; });
  env_.advance(9.9);
  EXPECT_TRUE(closeButtonHidden());
  env_.advance(0.1);
  EXPECT_FALSE(closeButtonHidden());
  context_->showGlobalActivityIndicator("B");
  EXPECT_TRUE(closeButtonHidden());

  context_->showGlobalActivityIndicator("C", 10, [&] { ++closed; });
  env_.advance(5);
  context_->showGlobalActivityIndicator("D");
  env_.advance(20);
  EXPECT_TRUE(closeButtonHidden());
  indicator().closeButton()->sendActionsForTouchUpInside();
  EXPECT_EQ(closed, 0);
  EXPECT_FALSE(indicator().isHidden());
}

TEST_F(GlobalActivityIndicatorTest, CloseButtonHidesTheIndicatorBeforeItsHandlerRuns) {
  std::vector<std::pair<bool, bool>> seen;  // indicator hidden, idle timer disabled
  context_->showGlobalActivityIndicator("Working", 1, [&] {
    seen.emplace_back(indicator().isHidden(), env_.application->isIdleTimerDisabled());
  });
  env_.advance(1);
  indicator().closeButton()->sendActionsForTouchUpInside();
  EXPECT_EQ(seen, (std::vector<std::pair<bool, bool>>{{true, false}}));
  EXPECT_TRUE(closeButtonHidden());
}

TEST_F(GlobalActivityIndicatorTest, NoTitleShowsEitherDefaultCaption) {
  std::set<std::string> captions;
  for (int i = 0; i < 40; ++i) {
    context_->showGlobalActivityIndicator(std::nullopt);
    captions.insert(caption().value_or(""));
  }
  EXPECT_EQ(captions, (std::set<std::string>{"Counting your collectibles...", "Gathering new interesting facts..."}));
}

}  // namespace
}  // namespace aurimo
