// Renders of fixed screens against the reference PNGs in reference/.

#include "platform/screen_renderer.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/ui_alert_controller.h"
#include "platform/ui_label.h"
#include "platform/ui_navigation_controller.h"
#include "testing/environment.h"
#include "testing/snapshot_expectation.h"

namespace aurimo::platform {
namespace {

using std::make_shared;
constexpr UIColor kOrange{244 / 255.0, 132 / 255.0, 55 / 255.0, 1};

// The activity indicator as ResultViewsKit builds it: a caption and a close button.
struct Indicator final : UIView {
  std::string_view className() const override { return "GlobalActivityIndicatorView"; }
};

std::shared_ptr<UIViewController> barScreen(UINavigationBarAppearance::Background background) {
  auto screen = make_shared<UIViewController>();
  auto look = make_shared<UINavigationBarAppearance>();
  look->configureWithDefaultBackground();
  if (background == UINavigationBarAppearance::Background::transparent) look->configureWithTransparentBackground();
  if (background == UINavigationBarAppearance::Background::opaque) {
    look->configureWithOpaqueBackground();
    look->setBackgroundColor(UIColor{1, 0.96, 0.9, 1});
    look->setShadowColor(kOrange);
  }
  screen->navigationItem().setStandardAppearance(look);
  return screen;
}

struct Case {
  const char* name;
  std::function<void(UIViewController& root, UIWindow& window)> build;
};

TEST(ScreenRendererTest, FixedScreensMatchTheirReferences) {
  test::Environment env;
  const Case cases[] = {
      {"navigation-bar-opaque", [](UIViewController& root, UIWindow&) {
         UINavigationItem& item = root.navigationItem();
         item.setTitle("Roman denarius");
         item.setStandardAppearance(barScreen(UINavigationBarAppearance::Background::opaque)->navigationItem().standardAppearance());
         UIButton::Configuration back{NSAttributedString{"Back", {UIFont{17, UIFont::Weight::medium}, kOrange}}, UIImage::named("chevron.left"), 6};
         item.setLeftBarButtonItem(UIBarButtonItem::withCustomView(make_shared<UIButton>(back)));
         auto share = UIBarButtonItem::withTitle("Share", UIBarButtonItem::Style::done, nullptr, std::nullopt);
         share->setTintColor(kOrange);
         item.setRightBarButtonItem(share);
       }},
      {"navigation-bar-transparent", [](UIViewController& root, UIWindow&) {
         root.navigationItem().setTitle("Gallery");
         root.navigationItem().setStandardAppearance(barScreen(UINavigationBarAppearance::Background::transparent)->navigationItem().standardAppearance());
         auto close = UIBarButtonItem::withImage(UIImage::named("xmark"), UIBarButtonItem::Style::plain, nullptr, std::nullopt);
         close->setTintColor(kOrange);
         root.navigationItem().setRightBarButtonItem(close);
       }},
      {"alert", [](UIViewController& root, UIWindow&) {  // on a window of its own, as the app shows alerts
         root.navigationItem().setTitle("Home");
         auto overlay = make_shared<UIWindow>();
         overlay->setWindowLevel(UIWindow::kLevelAlert);
         overlay->setRootViewController(make_shared<UIViewController>());
         overlay->makeKeyAndVisible();
         auto alert = make_shared<UIAlertController>("Oops! Something Went Wrong", "Please scan the coin again.", UIAlertController::Style::alert);
         for (auto [title, style] : {std::pair{"Cancel", UIAlertAction::Style::cancel}, {"Error Info", UIAlertAction::Style::defaultStyle}, {"Delete", UIAlertAction::Style::destructive}}) {
           alert->addAction(make_shared<UIAlertAction>(title, style, nullptr));
         }
         overlay->rootViewController()->present(alert, false);
       }},
      {"activity-indicator", [](UIViewController& root, UIWindow& window) {
         root.navigationItem().setTitle("Home");
         auto indicator = make_shared<Indicator>();
         auto caption = make_shared<UILabel>();
         caption->setText("Identifying your coin...");
         indicator->addSubview(caption);
         indicator->addSubview(make_shared<UIButton>());
         window.addSubview(indicator);
       }},
  };
  for (const Case& shown : cases) {
    auto window = make_shared<UIWindow>();
    auto root = barScreen(UINavigationBarAppearance::Background::defaultBackground);
    window->setRootViewController(make_shared<UINavigationController>(root));
    window->makeKeyAndVisible();
    shown.build(*root, *window);
    EXPECT_TRUE(test::matchesReference(ScreenRenderer(2).render(*env.application), shown.name,
                                       {AURIMO_SNAPSHOT_REFERENCES, AURIMO_SNAPSHOT_OUTPUT}));
    for (const auto& visible : env.application->windows()) visible->setHidden(true);
  }
}

}  // namespace
}  // namespace aurimo::platform
