#include "platform/ui_view_controller.h"

#include <gtest/gtest.h>

#include <memory>

#include "platform/ui_navigation_controller.h"
#include "platform/ui_window.h"

namespace aurimo::platform {
namespace {

using std::make_shared;

// Remembers whether it was being dismissed when its view went.
class Sheet final : public UIViewController {
 public:
  bool dismissedWhileGone = false;

 protected:
  void viewDidDisappear(bool) override { dismissedWhileGone = isBeingDismissed(); }
};

TEST(UIViewController, PresentsOneAtATimeAndDismissesEverythingAbove) {
  auto window = make_shared<UIWindow>();
  auto root = make_shared<UIViewController>();
  auto a = make_shared<Sheet>(), b = make_shared<Sheet>(), c = make_shared<Sheet>(), d = make_shared<Sheet>();
  window->setRootViewController(root);
  root->present(a, false);
  a->present(b, false);
  bool completed = false;
  a->present(d, false, [&] { completed = true; });  // a already presents b
  EXPECT_FALSE(completed);
  EXPECT_EQ(a->presentedViewController(), b);
  EXPECT_EQ(d->presentingViewController(), nullptr);
  b->present(c, false);
  for (auto* sheet : {a.get(), b.get(), c.get()}) EXPECT_EQ(sheet->view()->window(), window.get());

  a->dismiss(false);
  EXPECT_EQ(a->presentedViewController(), nullptr);
  EXPECT_EQ(b->presentedViewController(), nullptr);
  EXPECT_EQ(a->view()->window(), window.get());
  for (auto* sheet : {b.get(), c.get()}) {
    EXPECT_EQ(sheet->presentingViewController(), nullptr);
    EXPECT_EQ(sheet->view()->window(), nullptr);
    EXPECT_TRUE(sheet->dismissedWhileGone);
    EXPECT_FALSE(sheet->isBeingDismissed());
  }
  a->dismiss(false);  // presents nothing now: leaves its presenter
  EXPECT_EQ(root->presentedViewController(), nullptr);
  EXPECT_EQ(a->view()->window(), nullptr);
}

TEST(UINavigationController, AdoptsItsStackAndShowsOnlyTheTop) {
  auto window = make_shared<UIWindow>();
  auto first = make_shared<UIViewController>(), second = make_shared<UIViewController>();
  auto stack = make_shared<UINavigationController>(first);
  window->setRootViewController(stack);
  stack->pushViewController(second, false);
  EXPECT_EQ(second->parent(), stack.get());
  EXPECT_EQ(second->navigationController(), stack.get());
  EXPECT_EQ(second->view()->window(), window.get());
  EXPECT_EQ(first->view()->superview(), nullptr);

  EXPECT_EQ(stack->popViewController(false), second);
  EXPECT_EQ(stack->popViewController(false), nullptr);  // the root stays
  EXPECT_EQ(second->navigationController(), nullptr);
  EXPECT_EQ(second->view()->superview(), nullptr);
  EXPECT_EQ(first->view()->superview(), stack->view().get());
}

TEST(UIView, AddSubviewMovesTheViewAndWindowFollowsTheTree) {
  auto window = make_shared<UIWindow>();
  auto left = make_shared<UIView>(), right = make_shared<UIView>(), card = make_shared<UIView>();
  window->addSubview(left);
  left->addSubview(card);
  EXPECT_EQ(card->window(), window.get());
  EXPECT_EQ(right->window(), nullptr);

  right->addSubview(card);
  EXPECT_TRUE(left->subviews().empty());
  EXPECT_EQ(card->superview(), right.get());
  EXPECT_EQ(card->window(), nullptr);
  window->addSubview(right);
  EXPECT_EQ(card->window(), window.get());
  window->addSubview(left);  // already there: only moves to the front
  EXPECT_EQ(window->subviews(), (std::vector<std::shared_ptr<UIView>>{right, left}));
}

}  // namespace
}  // namespace aurimo::platform
