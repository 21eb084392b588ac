#include "app_context/screens/qz_safari_view_controller.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "../../context/tests/app_context_fixture.h"
#include "settings_store_kit/app_settings_storage.h"
#include "settings_store_kit/constants.h"

namespace aurimo {
namespace {

using platform::UIModalPresentationStyle;
using Constants = SettingsStoreKit::Constants;
using UserSettings = SettingsStoreKit::AppSettingsStorage::CoreServicesKit;

// Lets a test send the disappearance the platform sends when another screen covers the browser.
struct Browser final : QzSafariViewController {
  using QzSafariViewController::QzSafariViewController;
  using QzSafariViewController::viewDidDisappear;
};

platform::URL url(std::string_view text) { return *platform::URL::fromString(text); }

class QzSafariViewControllerTest : public AppContextTest {
 protected:
  // The environment shares the process's main bundle: put its dictionary back.
  ~QzSafariViewControllerTest() override { bundle().setInfoDictionary(savedInfo_); }
  platform::Bundle& bundle() { return *env_.services().bundle; }

  const std::optional<nlohmann::json> savedInfo_ = bundle().infoDictionary();
};

TEST_F(QzSafariViewControllerTest, FixedPagesOpenInPageSheetsWithoutDeferring) {
  const struct { std::shared_ptr<QzSafariViewController> browser; std::string_view url; } pages[] = {
      {QzSafariViewController::instantiate(url("https://example.com/a?b=c")), "https://example.com/a?b=c"},
      {QzSafariViewController::instantiateTermsOfUse(), Constants::termsOfUseUrl},
      {QzSafariViewController::instantiatePrivacyPolicy(), Constants::privacyPolicyUrl},
      {QzSafariViewController::instantiateSubscriptionTermsForChina(), Constants::subscriptionTermsForChina},
  };
  for (const auto& [browser, expected] : pages) {
    SCOPED_TRACE(expected);
    EXPECT_EQ(browser->url().absoluteString(), expected);
    EXPECT_EQ(browser->modalPresentationStyle(), UIModalPresentationStyle::pageSheet);
    EXPECT_FALSE(browser->isDefferingBannerActionsEnabled());
    EXPECT_FALSE(browser->needsToRunDefferedBannerActionsAfterDismiss());
  }
}

TEST_F(QzSafariViewControllerTest, ContactUsEncodesTheDeviceButSendsBuildAndUserAsTheyAre) {
  const struct { std::string model, system, build; std::optional<std::string> user; std::string_view query; } rows[] = {
      {"iPhone 14", "17.2", "1234", "42", "devname=iPhone%2014&iosver=17.2&appver=1234&userid=42"},
      {"iPhone15,2", "17.0", "9%2B1", std::nullopt, "devname=iPhone15,2&iosver=17.0&appver=9%2B1"},
      {"Pixel", "18.0 beta", "7", "a%20b#c", "devname=Pixel&iosver=18.0%20beta&appver=7&userid=a%20b#c"},
      {"M\u00e4c", "1", "1", "", "devname=M%C3%A4c&iosver=1&appver=1&userid="},
  };
  launch();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.query);
    env_.device->setModelName(row.model);
    env_.device->setSystemVersion(row.system);
    bundle().setInfoDictionary(nlohmann::json{{"CFBundleVersion", row.build}});
    UserSettings::setApiServerUserIdentifier(row.user, defaults());
    auto browser = QzSafariViewController::instantiateContactUs(*context_);
    EXPECT_EQ(browser->url().absoluteString(), std::string(Constants::supportUrl) + "?" + std::string(row.query));
    EXPECT_EQ(browser->modalPresentationStyle(), UIModalPresentationStyle::fullScreen);
    EXPECT_TRUE(browser->isDefferingBannerActionsEnabled());
    EXPECT_FALSE(browser->needsToRunDefferedBannerActionsAfterDismiss());
  }
}

TEST_F(QzSafariViewControllerTest, ContactUsStopsWithoutAStringBuildNumber) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  launch();
  for (const std::optional<nlohmann::json>& info : {std::optional<nlohmann::json>(),
                                                    std::optional(nlohmann::json{{"CFBundleVersion", 7}})}) {
    bundle().setInfoDictionary(info);
    EXPECT_DEATH(QzSafariViewController::instantiateContactUs(*context_), "information dictionary|CFBundleVersion");
  }
}

TEST_F(QzSafariViewControllerTest, OnlyADismissedDeferringBrowserReleasesItsHeldBackAction) {
  const struct { std::string_view name; bool dismissed, deferring, heldBack; std::size_t posts; } rows[] = {
      {"dismissed with an action held back", true, true, true, 1},
      {"covered by another screen", false, true, true, 0},
      {"dismissed without deferring", true, false, true, 0},
      {"dismissed with nothing held back", true, true, false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto browser = std::make_shared<Browser>(url("https://example.com/"));
    browser->setIsDefferingBannerActionsEnabled(row.deferring);
    browser->setNeedsToRunDefferedBannerActionsAfterDismiss(row.heldBack);
    root_->present(browser, false);
    EXPECT_EQ(browser->canShowDefferedBannerNow(), !row.deferring);
    std::vector<bool> heldBackWhenPosted;
    platform::ObserverToken token = platform::NotificationCenter::defaultCenter().addObserver(
        DefferedBannerShowController::defferedActionsCanBeExecuted(), nullptr, [&](const platform::Notification& n) {
          EXPECT_TRUE(n.object == nullptr && n.userInfo.is_null());
          heldBackWhenPosted.push_back(browser->needsToRunDefferedBannerActionsAfterDismiss());
        });
    row.dismissed ? browser->dismiss(false) : browser->viewDidDisappear(false);
    EXPECT_EQ(heldBackWhenPosted, std::vector<bool>(row.posts, false));
    EXPECT_EQ(browser->isDefferingBannerActionsEnabled(), row.deferring);
    EXPECT_EQ(browser->needsToRunDefferedBannerActionsAfterDismiss(), row.heldBack && row.posts == 0);
    EXPECT_EQ(browser->canShowDefferedBannerNow(), row.dismissed || !row.deferring);
    token.remove();
    browser->dismiss(false);
  }
}

TEST_F(QzSafariViewControllerTest, TintsItsControlsOnceLoadedAndKeepsItsConfiguration) {
  auto browser = std::make_shared<QzSafariViewController>(url("https://example.com/"), true);
  EXPECT_EQ(browser->preferredControlTintColor(), std::nullopt);
  browser->view();
  EXPECT_EQ(browser->preferredControlTintColor(), (platform::UIColor{244 / 255.0, 132 / 255.0, 55 / 255.0, 1}));
  EXPECT_TRUE(browser->configuration().entersReaderIfAvailable && browser->configuration().barCollapsingEnabled);
  EXPECT_FALSE(browser->isDefferingBannerActionsEnabled() || browser->needsToRunDefferedBannerActionsAfterDismiss());
}

}  // namespace
}  // namespace aurimo
