#include "app_context_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>

#include "app_context/screens/app_context_base_view_controller.h"
#include "platform/ui_navigation_controller.h"
#include "settings_store_kit/app_settings_storage.h"

namespace aurimo {
namespace {

using Json = nlohmann::ordered_json;
using Settings = SettingsStoreKit::AppSettingsStorage;

// A CoreServicesKit whose request object never came.
struct NoNetworkCoreServicesKit final : CoreServicesKit::CoreServicesKit {
  std::shared_ptr<NetworkKit::NetworkKit> networkKit() const override { return nullptr; }
  void repairFirebaseConnectionIfNeed(std::optional<std::string>, bool) override {}
  void createFirstUserAccount(std::optional<std::string>, bool) override {}
  void userAccountInitializationCompleted(bool) override {}
};

TEST_F(AppContextTest, FirstLaunchCreatesTheAccountAndTheNextRepairsIt) {
  Settings::setHapticFeedbackGenerator_isEnabled(true, defaults());
  Settings::AppContext::setAppVersionIsUpdated(true, defaults());
  app_.accountManager->state = {"fb-1", false};
  env_.screen->setScale(2.75);
  launch();
  EXPECT_EQ(log_->since(0), Json::parse(R"([
    {"call": "HapticFeedbackGenerator.init"}, {"call": "FirebaseRemoteConfigHelper.init"},
    {"call": "HapticFeedbackGenerator.setEnabled", "isEnabled": true},
    {"call": "CoreServicesKit.init"}, {"call": "appsFlyerAnalytics.setNetworkKit"},
    {"call": "QzCDNImageLoader.init", "baseCDNURL": "https://cdn.aurimo.app/", "screenScale": 2,
     "maxDownloadingTasksInOneMoment": 8},
    {"call": "appsFlyerAnalytics.setDeepLinkHandler"}, {"call": "accountManager.signInState"},
    {"call": "CoreServicesKit.createFirstUserAccount", "firebaseIdentifier": "fb-1", "isAnonymous": false},
    {"call": "CoreServicesKit.userAccountInitializationCompleted", "appVersionIsUpdated": true},
    {"call": "amplitudeAnalytics.start"},
    {"call": "amplitudeAnalytics.unsetUserProperty", "key": "api_server_user_id"}])"));
  EXPECT_EQ(Settings::AppContext::completedAppLaunchCountSinceAppVersion_1_2(defaults()), 1);

  Settings::setHapticFeedbackGenerator_isEnabled(false, defaults());
  Settings::AppContext::setAppVersionIsUpdated(false, defaults());
  Settings::CoreServicesKit::setApiServerUserIdentifier("api-7", defaults());
  app_.accountManager->state = {std::nullopt, true};
  const std::size_t mark = log_->count();
  launch();
  EXPECT_EQ(log_->since(mark)[2]["isEnabled"], false);
  EXPECT_EQ(log_->since(mark + 7), Json::parse(R"([
    {"call": "accountManager.signInState"},
    {"call": "CoreServicesKit.repairFirebaseConnectionIfNeed", "firebaseUserIdentifier": null, "isAnonymous": true},
    {"call": "CoreServicesKit.userAccountInitializationCompleted", "appVersionIsUpdated": false},
    {"call": "amplitudeAnalytics.start"},
    {"call": "amplitudeAnalytics.setUserProperty", "key": "api_server_user_id", "value": "api-7"}])"));
  EXPECT_EQ(Settings::AppContext::completedAppLaunchCountSinceAppVersion_1_2(defaults()), 2);
}

TEST_F(AppContextTest, HintCountersStartMirroredAndCountOnlyAfterOnboardingUntilShown) {
  using Count = std::optional<std::int64_t>;
  const bool F = false, T = true;
  const auto none = std::nullopt;
  // Stored counts, when present, are 5 (scroll) and 7 (AI).
  const struct { bool onboarding, scrollShown, aiShown, present; Count scroll, ai; } rows[] = {
      {F, F, F, F, 2, 1}, {F, T, F, F, none, 1}, {F, F, T, F, 2, none}, {F, T, T, F, none, none},
      {T, F, F, F, 1, 2}, {T, T, F, F, none, 2}, {T, F, T, F, 1, none}, {T, T, T, F, none, none},
      {F, F, F, T, 5, 7}, {F, T, F, T, 5, 7},    {F, F, T, T, 5, 7},    {F, T, T, T, 5, 7},
      {T, F, F, T, 6, 8}, {T, T, F, T, 5, 8},    {T, F, T, T, 6, 7},    {T, T, T, T, 5, 7},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row " << (&row - rows));
    Settings::setDidShowOnboarding(row.onboarding, defaults());
    Settings::Home::setDidShowScrollHint(row.scrollShown, defaults());
    Settings::Home::setDidShowAIHint(row.aiShown, defaults());
    Settings::Home::setCompletedAppLaunchCountSinceScrollHintAddition(row.present ? Count(5) : none, defaults());
    Settings::Home::setCompletedAppLaunchCountSinceAIAddition(row.present ? Count(7) : none, defaults());
    launch();
    EXPECT_EQ(Settings::Home::completedAppLaunchCountSinceScrollHintAddition(defaults()), row.scroll);
    EXPECT_EQ(Settings::Home::completedAppLaunchCountSinceAIAddition(defaults()), row.ai);
  }
}

TEST_F(AppContextTest, RemoteFlagsAreReadOnceAndKeptForTheContextsLife) {
  const std::pair<bool (AppContext::*)() const, std::string> flags[] = {
      {&AppContext::isCommunityEnabled, "community_octopus_enabled_prod"},
      {&AppContext::isCommunityHomeBannerEnabled, "community_octopus_hometab_prod"},
      {&AppContext::areCoinDescriptionHintsEnabled, "coin_tips_prod"},
      {&AppContext::isMarketplaceEnabled, "marketplace_enabled_prod"},
  };
  for (const auto& [flag, key] : flags) {
    SCOPED_TRACE(key);
    launch();
    context_->remoteConfig().setCachedBoolValues({{key, true}});
    EXPECT_TRUE(((*context_).*flag)());
    context_->remoteConfig().setCachedBoolValues({{key, false}});
    EXPECT_TRUE(((*context_).*flag)());

    context_->remoteConfig().setCachedBoolValues({{key, std::nullopt}});
    launch();
    EXPECT_FALSE(((*context_).*flag)());
    context_->remoteConfig().setCachedBoolValues({{key, true}});
    EXPECT_FALSE(((*context_).*flag)());
  }
}

TEST_F(AppContextTest, AutocropNeedsVersion17ThenFollowsTheUserElseTheRemoteDefault) {
  launch();
  // One context throughout: every read sees the current values.
  const struct { const char* version; std::optional<bool> user, remote; bool enabled; } rows[] = {
      {"17.0", std::nullopt, std::nullopt, false}, {"17.0", std::nullopt, true, true},
      {"17.0", false, true, false},                {"17.0", true, false, true},
      {"16.4", true, true, false},                 {"18.1", std::nullopt, true, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row " << (&row - rows));
    env_.device->setSystemVersion(row.version);
    Settings::Identification::setAutocropIsEnabledByUser(row.user, defaults());
    context_->remoteConfig().setCachedBoolValues({{"autocrop_default_enabled_prod", row.remote}});
    EXPECT_EQ(context_->isAutocropEnabled(), row.enabled);
  }
}

TEST_F(AppContextTest, IdentifierChangesResyncTheUserPropertyWhileTheContextLives) {
  launch();
  const auto name = CoreServicesKit::CoreServicesKit::apiServerUserIdentifierDidChangeNotification();
  const auto post = [&] { env_.notificationCenter().post(name); env_.runUntilIdle(); };
  const std::size_t mark = log_->count();
  Settings::CoreServicesKit::setApiServerUserIdentifier("api-9", defaults());
  post();
  Settings::CoreServicesKit::setApiServerUserIdentifier(std::nullopt, defaults());
  post();
  context_.reset();
  post();
  EXPECT_EQ(log_->since(mark), Json::parse(R"([
    {"call": "amplitudeAnalytics.setUserProperty", "key": "api_server_user_id", "value": "api-9"},
    {"call": "amplitudeAnalytics.unsetUserProperty", "key": "api_server_user_id"}])"));
}

TEST_F(AppContextTest, ForegroundTellsTheTabScreenThenUpdatesTheSchedule) {
  (void)env_.userNotificationCenter().setAuthorizationStatus(platform::UNAuthorizationStatus::authorized);
  launch();
  context_->localUserNotificationScheduler()->setScheduleDiscount([this] { log_->record({{"call", "discount"}}); });
  const auto foreground = [this] {
    const std::size_t mark = log_->count();
    context_->applicationWillEnterForeground();
    env_.runUntilIdle();
    return log_->names(mark);
  };
  EXPECT_EQ(foreground(), std::vector<std::string>{"discount"});
  context_->setTabBarController(std::make_shared<test::RecordingTabBarController>(log_));
  EXPECT_EQ(foreground(), (std::vector<std::string>{"tabBarController.applicationWillEnterForeground", "discount"}));
}

TEST_F(AppContextTest, TopMostPresentedFollowsPresentationsAndOptionallyTheStack) {
  launch();
  EXPECT_EQ(context_->getTopMostPresentedViewController(true), root_);
  auto sheet = std::make_shared<platform::UIViewController>(), top = std::make_shared<platform::UIViewController>();
  auto stack = std::make_shared<platform::UINavigationController>(std::make_shared<platform::UIViewController>());
  stack->pushViewController(top, false);
  root_->present(sheet, false);
  EXPECT_EQ(context_->getTopMostPresentedViewController(true), sheet);
  sheet->present(stack, false);
  EXPECT_EQ(context_->getTopMostPresentedViewController(true), top);
  EXPECT_EQ(context_->getTopMostPresentedViewController(false), stack);
}

TEST_F(AppContextTest, ForwardsUrlsTokensAndDeepLinks) {
  launch();
  for (std::int64_t ordinal = 0; ordinal < NetworkKit::kApiServiceCount; ++ordinal) {
    EXPECT_EQ(context_->getApiUrlForService(*NetworkKit::apiServiceWithOrdinal(ordinal)),
              ordinal == 1 ? "https://recognition.aurimo.app/" : "https://api.aurimo.app/");
  }

  using Answer = std::pair<std::optional<std::string>, std::optional<platform::Error>>;
  std::vector<Answer> answers;
  const auto keep = [&](auto token, auto error) { answers.emplace_back(token, error); };
  context_->getFirebaseToken(keep);
  context_->getFirebaseTokenAndRefreshIt(keep);
  const platform::Error failure = CoreServicesKit::makeError(CoreServicesKit::CoreServicesKitError::unauthorized);
  app_.accountManager->tokenError = failure;
  context_->getFirebaseToken(keep);
  context_->getFirebaseTokenAndRefreshIt(keep);
  EXPECT_EQ(answers, (std::vector<Answer>{{"token", {}}, {"token-refreshed", {}}, {{}, failure}, {{}, failure}}));

  ASSERT_TRUE(app_.appsFlyerAnalytics->deliverDeepLink({{"action", "home_tab"}}));
  EXPECT_EQ(context_->universalLinkManager()->shouldGoTo(), UniversalLinkManager::ShouldGoTo::homeTab());
}

TEST_F(AppContextTest, DefectsStopTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto noNetwork = test::recordingFrameworks(log_);
  noNetwork.makeCoreServicesKit = [](auto&) { return std::make_shared<NoNetworkCoreServicesKit>(); };
  const auto scaled = [this](double scale) { return [this, scale] { env_.screen->setScale(scale); launch(); }; };
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] { launch(noNetwork); }, "CoreServicesKit has no networkKit"},
      {scaled(NAN), "scale nan is not a 64-bit integer"},
      {scaled(INFINITY), "scale inf is not a 64-bit integer"},
      {scaled(1e300), "scale 1[0-9.]* is not a 64-bit integer"},
      {[this] { Settings::AppContext::setCompletedAppLaunchCountSinceAppVersion_1_2(INT64_MAX, defaults()); launch(); },
       "counter AppContext.completedAppLaunchCountSinceAppVersion_1_2 overflowed"},
      {[this] { window_->setRootViewController(nullptr); launch(); context_->getTopMostPresentedViewController(0); },
       "window has no root view controller"},
      {[this] { launch(); root_->present(std::make_shared<platform::UINavigationController>(), false);
                context_->getTopMostPresentedViewController(true); },
       "navigation controller has an empty stack"},
      {[this] { auto screen = std::make_shared<test::RecordingTabBarController>(log_);
                launch(); screen->setAppContext(context_); context_.reset(); screen->appContext(); },
       "read its AppContext after the context was destroyed"},
  };
  for (const auto& [act, message] : cases) EXPECT_DEATH(act(), message);
}

}  // namespace
}  // namespace aurimo
