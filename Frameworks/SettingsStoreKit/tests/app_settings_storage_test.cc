#include "settings_store_kit/app_settings_storage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>

namespace aurimo {
namespace {

using S = SettingsStoreKit::AppSettingsStorage;
using Links = S::AppContext::UniversalLinkManager;
using D = platform::UserDefaults;
using Json = nlohmann::json;

template <class T> Json json(const T& value) { return value; }
template <class T> Json json(const std::optional<T>& value) { return value ? Json(*value) : Json(); }
// A typed getter, seen through JSON (null: absent).
template <class T> std::function<Json(D&)> read(T (*get)(D&)) { return [get](D& d) { return json(get(d)); }; }

TEST(AppSettingsStorage, OnboardingVersionRoundTripsAndOnlyAnInt64ReadsBack) {
  platform::UserDefaults defaults;
  EXPECT_EQ(Links::onboardingVersion(defaults), std::nullopt);
  for (std::int64_t version : {std::int64_t{7}, std::int64_t{-3}, INT64_MAX, INT64_MIN}) {
    Links::setOnboardingVersion(version, defaults);
    EXPECT_EQ(Links::onboardingVersion(defaults), version);
    EXPECT_EQ(defaults.integerForKey(Links::kOnboardingVersionKey), version);
  }
  Links::setOnboardingVersion(std::nullopt, defaults);
  EXPECT_FALSE(defaults.objectForKey(Links::kOnboardingVersionKey).has_value());
  // Whatever else an older build or a hand edit left under the key reads as absent.
  for (const nlohmann::json& stored : {nlohmann::json("7"), nlohmann::json(7.5), nlohmann::json(UINT64_MAX)}) {
    defaults.setObject(stored, Links::kOnboardingVersionKey);
    EXPECT_EQ(Links::onboardingVersion(defaults), std::nullopt) << stored;
  }
}

TEST(AppSettingsStorage, EverySettingReadsItsPathAndOptionalsReadOtherKindsAsAbsent) {
  const std::map<std::string_view, std::function<Json(D&)>> getters{
      {"hapticFeedbackGenerator_isEnabled", read(&S::hapticFeedbackGenerator_isEnabled)},
      {"didShowOnboarding", read(&S::didShowOnboarding)},
      {"AppContext.appVersionIsUpdated", read(&S::AppContext::appVersionIsUpdated)},
      {"AppContext.completedAppLaunchCountSinceAppVersion_1_2",
       read(&S::AppContext::completedAppLaunchCountSinceAppVersion_1_2)},
      {"AppContext.UniversalLinkManager.onboardingVersion", read(&Links::onboardingVersion)},
      {"CoreServicesKit.currentUserAccountIdentifier", read(&S::CoreServicesKit::currentUserAccountIdentifier)},
      {"CoreServicesKit.apiServerUserIdentifier", read(&S::CoreServicesKit::apiServerUserIdentifier)},
      {"Home.didShowScrollHint", read(&S::Home::didShowScrollHint)},
      {"Home.didShowAIHint", read(&S::Home::didShowAIHint)},
      {"Home.completedAppLaunchCountSinceScrollHintAddition",
       read(&S::Home::completedAppLaunchCountSinceScrollHintAddition)},
      {"Home.completedAppLaunchCountSinceAIAddition", read(&S::Home::completedAppLaunchCountSinceAIAddition)},
      {"Identification.autocropIsEnabledByUser", read(&S::Identification::autocropIsEnabledByUser)},
  };
  ASSERT_EQ(S::allSettings().size(), getters.size());
  for (const S::Setting& setting : S::allSettings()) {
    SCOPED_TRACE(setting.path);
    const auto& get = getters.at(setting.path);  // throws, failing the test, for a setting without a getter
    const std::string key = "AppSettingsStorage." + std::string(setting.path);
    D defaults;
    const bool optional = get(defaults).is_null();
    const int type = static_cast<int>(setting.type);  // boolean, integer, string
    defaults.setObject(Json::array({true, -42, "u-42"})[type], key);
    EXPECT_EQ(get(defaults), Json::array({true, -42, "u-42"})[type]);
    defaults.setObject(Json::array({"7", "7", 7})[type], key);  // of another kind
    EXPECT_TRUE(!optional || get(defaults).is_null());
  }
}

}  // namespace
}  // namespace aurimo
