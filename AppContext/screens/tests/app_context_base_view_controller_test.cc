#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "app_context/screens/app_context_base_navigation_controller.h"
#include "app_context/screens/app_context_base_view_controller.h"
#include "shared_views_kit/ui_color_bytes.h"
#include "testing/environment.h"
#include "testing/recording_app_managers.h"

namespace aurimo {
namespace {

using platform::UIBarButtonItem;
using platform::UIColor;
using platform::UIFont;
using Appearance = platform::UINavigationBarAppearance;
using Background = AppContextBaseViewController::NavigationBackgroundState;
using Configuration = AppContextBaseViewController::BaseNavigationBarConfiguration;
using Button = Configuration::BarButtonConfiguration;
using Kind = UIBarButtonItem::Kind;
using Text = std::optional<std::string>;

constexpr UIColor kOrange = SharedViewsKit::colorFromBytes(244, 132, 55, 255);
constexpr UIColor kBlue{0, 0, 1, 1};
constexpr UIFont kDefaultFont = UIFont::systemFont(17, UIFont::Weight::medium);
constexpr UIFont kOwnFont = UIFont::systemFont(13, UIFont::Weight::bold);

Button button(const std::string& action, Text title, Text image, std::optional<UIFont> font = std::nullopt) {
  return {platform::Selector(action), UIBarButtonItem::Style::done, std::move(title),
          image ? platform::UIImage::named(*image) : std::nullopt, font};
}

class NavigationBarTest : public ::testing::Test {
 protected:
  platform::UINavigationItem& item() { return screen_->navigationItem(); }
  void configure(const Configuration& configuration, Background background = Background::standart(),
                 bool updateScrollEdge = true) {
    screen_->configureNavigationBar(configuration, background, updateScrollEdge);
  }
  // Checks `bar` is built as `kind` from `from` (nullopt: no button), then taps it.
  void expectButton(const std::shared_ptr<UIBarButtonItem>& bar, std::optional<Kind> kind, const Button& from) {
    ASSERT_EQ(bar != nullptr, kind.has_value());
    if (!bar) return;
    ASSERT_EQ(bar->kind(), *kind);
    if (*kind == Kind::customView) {
      const auto* view = dynamic_cast<const platform::UIButton*>(bar->customView().get());
      ASSERT_TRUE(view && view->configuration());
      EXPECT_EQ(view->configuration()->attributedTitle->string, from.title);
      EXPECT_EQ(view->configuration()->image->name(), from.image->name());
      EXPECT_EQ(view->configuration()->imagePadding, 6);
    } else {
      EXPECT_EQ(bar->style(), UIBarButtonItem::Style::done);
      EXPECT_EQ(bar->title(), *kind == Kind::title ? from.title : std::nullopt);
      EXPECT_EQ(bar->image().has_value(), *kind == Kind::image);
    }
    bar->tap();
    EXPECT_EQ(screen_->takeReceivedAction(), from.action.name);
  }

  test::Environment env_;
  std::shared_ptr<test::RecordingScreen> screen_ = std::make_shared<test::RecordingScreen>();
};

TEST_F(NavigationBarTest, ButtonKindFollowsTitleAndImageAndTheRightPrefersTheTitle) {
  using Row = std::tuple<Text, Text, std::optional<Kind>, std::optional<Kind>>;  // title, image: left, right
  for (const auto& [title, image, leftKind, rightKind] : {Row{"Back", "icon", Kind::customView, Kind::title},
                                                          Row{"Back", {}, Kind::title, Kind::title},
                                                          Row{{}, "icon", Kind::image, Kind::image}, Row{}}) {
    SCOPED_TRACE(title.value_or("-") + " " + image.value_or("-"));
    const Button left = button("goBack", title, image), right = button("done", title, image);
    configure({.title = "Screen", .leftBarButtonConfiguration = left, .rightBarButtonConfiguration = right});
    EXPECT_EQ(item().title(), "Screen");
    expectButton(item().leftBarButtonItem(), leftKind, left);
    expectButton(item().rightBarButtonItem(), rightKind, right);
  }
}

TEST_F(NavigationBarTest, TitlesTakeTheTintAndOwnFontAndFadeToHalfWhenPressed) {
  for (const auto& [font, tint] : {std::pair<std::optional<UIFont>, std::optional<UIColor>>{}, {kOwnFont, kBlue}}) {
    configure({.leftBarButtonConfiguration = button("a", "Left", "icon", font),
               .rightBarButtonConfiguration = button("b", "Right", {}, font),
               .tintColor = tint});
    const platform::TextAttributes normal{font.value_or(kDefaultFont), tint.value_or(kOrange)};
    const auto& right = item().rightBarButtonItem();
    EXPECT_EQ(right->titleTextAttributes(platform::UIControlState::normal), normal);
    EXPECT_EQ(right->titleTextAttributes(platform::UIControlState::highlighted),
              (platform::TextAttributes{normal.font, normal.foregroundColor->withAlphaComponent(0.5)}));
    const auto* custom = dynamic_cast<const platform::UIButton*>(item().leftBarButtonItem()->customView().get());
    EXPECT_EQ(custom->configuration()->attributedTitle->attributes, normal);
  }
}

TEST_F(NavigationBarTest, BackgroundStateSetsTheAppearanceAndFadesOnlyOrangeImageButtons) {
  struct Row {
    Background state;
    Appearance::Background look;
    std::optional<UIColor> shadow, background;
    double imageAlpha;
  };
  const UIColor shadow = SharedViewsKit::colorFromBytes(217, 221, 210, 255), white = UIColor::white();
  for (const Row& row : {Row{Background::transparent(), Appearance::Background::transparent, {}, {}, 1},
                         Row{Background::standart(), Appearance::Background::defaultBackground, shadow, white, 1},
                         Row{Background::opaque(0.4), Appearance::Background::opaque, UIColor::clear(),
                             white.withAlphaComponent(0.4), 0.4},
                         Row{Background::opaque(0), Appearance::Background::opaque, UIColor::clear(),
                             white.withAlphaComponent(0), 0}}) {
    SCOPED_TRACE(std::string(platform::name(row.look)) + " " + std::to_string(row.imageAlpha));
    configure({.leftBarButtonConfiguration = button("a", {}, "icon"), .tintColor = kBlue}, row.state);
    const auto& look = item().standardAppearance();
    EXPECT_EQ(look->background(), row.look);
    EXPECT_EQ(look->shadowColor(), row.shadow);
    EXPECT_EQ(look->backgroundColor(), row.background);
    EXPECT_EQ(item().leftBarButtonItem()->tintColor(), kOrange.withAlphaComponent(row.imageAlpha));
  }
}

TEST_F(NavigationBarTest, ScrollEdgeAppearanceIsTheStandardOneOnlyWhenAsked) {
  configure({}, Background::standart(), true);
  const std::shared_ptr<Appearance> first = item().standardAppearance();
  EXPECT_TRUE(first && item().scrollEdgeAppearance() == first);

  configure({}, Background::transparent(), false);
  EXPECT_NE(item().standardAppearance(), first);
  EXPECT_EQ(item().scrollEdgeAppearance(), first);
}

TEST_F(NavigationBarTest, ButtonsHideTheSharedBackgroundFromSystem26On) {
  for (const auto& [version, hides] : {std::pair{"26.0", true}, {"25.9", false}, {"17.0", false}}) {
    SCOPED_TRACE(version);
    env_.device->setSystemVersion(version);
    configure({{}, button("a", "Left", {}), button("b", {}, "icon")});
    EXPECT_EQ(item().leftBarButtonItem()->hidesSharedBackground(), hides);
    EXPECT_EQ(item().rightBarButtonItem()->hidesSharedBackground(), hides);
  }
}

TEST_F(NavigationBarTest, EmptyConfigurationClearsTitleAndButtonsButStillStylesTheBar) {
  env_.device->setSystemVersion("26.0");  // the OS gate must cope with absent buttons
  configure({"Screen", button("a", "Left", {}), button("b", "Right", {})});
  configure({}, Background::opaque(0.5));
  EXPECT_EQ(item().title(), std::nullopt);
  EXPECT_EQ(item().leftBarButtonItem(), nullptr);
  EXPECT_EQ(item().rightBarButtonItem(), nullptr);
  EXPECT_EQ(item().standardAppearance()->backgroundColor(), UIColor::white().withAlphaComponent(0.5));
}

TEST(AppContextBaseNavigationControllerTest, InitialisersPassThroughToTheStack) {
  test::Environment env;
  using Stack = AppContextBaseNavigationController;
  const auto root = std::make_shared<test::RecordingScreen>();
  const auto stack = std::make_shared<Stack>(root);
  EXPECT_EQ(stack->viewControllers(), (std::vector<std::shared_ptr<platform::UIViewController>>{root}));
  EXPECT_EQ(root->navigationController(), stack.get());
  EXPECT_TRUE(std::make_shared<Stack>(&typeid(platform::UIView), nullptr)->viewControllers().empty());
  EXPECT_EQ(std::make_shared<Stack>("Main", nullptr)->nibName(), "Main");
  const auto restored =
      platform::UIViewController::restore<Stack>(platform::NSCoder(nlohmann::json{{"title", "Stack"}}));
  EXPECT_EQ(restored ? restored->title() : std::nullopt, "Stack");
  EXPECT_EQ(platform::UIViewController::restore<Stack>(platform::NSCoder(nlohmann::json::array())), nullptr);
}

}  // namespace
}  // namespace aurimo
