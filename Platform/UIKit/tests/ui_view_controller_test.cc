#include "platform/ui_view_controller.h"

#include <gtest/gtest.h>

#include "platform/ui_navigation_controller.h"
#include "platform/ui_window.h"

namespace aurimo::platform {
namespace {

using std::make_shared;

// Notes what the platform promises a screen when it appears and when it is dismissed.
struct Sheet final : UIViewController {
  void viewWillAppear(bool) override { loadedBeforeAppearing = isViewLoaded(), ++appearances; }
  void viewDidDisappear(bool) override { dismissedWhenGone = isBeingDismissed(), ++disappearances; }
  bool loadedBeforeAppearing = false, dismissedWhenGone = false;
  int appearances = 0, disappearances = 0;
};

TEST(UIViewController, PresentsOneAtATimeAndDismissesEverythingAbove) {
  auto window = make_shared<UIWindow>();
  auto root = make_shared<UIViewController>();
  auto a = make_shared<Sheet>(), b = make_shared<Sheet>(), c = make_shared<Sheet>();
  window->setRootViewController(root);
  root->present(a, false);
  a->present(b, false);
  a->present(c, false, [] { ADD_FAILURE() << "an ignored presentation completed"; });  // a already presents b
  EXPECT_EQ(a->presentedViewController(), b);
  b->present(c, false);
  for (auto* sheet : {a.get(), b.get(), c.get()}) {
    EXPECT_TRUE(sheet->loadedBeforeAppearing);
    EXPECT_EQ(sheet->view()->window(), window.get());
  }

  a->dismiss(false);
  for (auto* sheet : {b.get(), c.get()}) {
    EXPECT_EQ(sheet->presentingViewController(), nullptr);
    EXPECT_EQ(sheet->view()->window(), nullptr);
    EXPECT_TRUE(sheet->dismissedWhenGone && !sheet->isBeingDismissed());
  }
  a->dismiss(false);  // presents nothing now: leaves its presenter
  EXPECT_EQ(root->presentedViewController(), nullptr);
  EXPECT_EQ(a->view()->window(), nullptr);

  // Only a full-screen presentation hides its presenter, which comes back when it goes.
  for (const auto style : {UIModalPresentationStyle::fullScreen, UIModalPresentationStyle::pageSheet}) {
    auto cover = make_shared<Sheet>();
    cover->setModalPresentationStyle(style);
    a = make_shared<Sheet>();
    root->present(a, false);
    a->present(cover, false);
    cover->dismiss(false);
    const int expected = style == UIModalPresentationStyle::fullScreen ? 1 : 0;
    EXPECT_EQ(a->disappearances, expected);
    EXPECT_EQ(a->appearances, 1 + expected);
    EXPECT_FALSE(a->dismissedWhenGone);
    a->dismiss(false);
  }
}

TEST(UINavigationController, AdoptsItsStackAndShowsOnlyTheTop) {
  auto window = make_shared<UIWindow>();
  auto first = make_shared<UIViewController>(), second = make_shared<UIViewController>();
  auto stack = make_shared<UINavigationController>(first);
  window->setRootViewController(stack);
  stack->pushViewController(second, false);
  EXPECT_EQ(second->navigationController(), stack.get());
  EXPECT_EQ(second->view()->window(), window.get());
  EXPECT_EQ(first->view()->superview(), nullptr);
  EXPECT_EQ(stack->popViewController(false), second);
  EXPECT_EQ(stack->popViewController(false), nullptr);  // the root stays
  EXPECT_EQ(second->parent(), nullptr);
  EXPECT_EQ(second->view()->superview(), nullptr);
  EXPECT_EQ(first->view()->window(), window.get());
}

TEST(UIView, AddSubviewMovesTheViewAndWindowFollowsTheTree) {
  auto window = make_shared<UIWindow>();
  auto left = make_shared<UIView>(), right = make_shared<UIView>(), card = make_shared<UIView>();
  window->addSubview(left);
  left->addSubview(card);
  right->addSubview(card);
  EXPECT_TRUE(left->subviews().empty());
  EXPECT_EQ(card->window(), nullptr);
  window->addSubview(right);
  EXPECT_EQ(card->window(), window.get());
}

}  // namespace
}  // namespace aurimo::platform
