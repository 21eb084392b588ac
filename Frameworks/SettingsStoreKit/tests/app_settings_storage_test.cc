#include "settings_store_kit/app_settings_storage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace aurimo {
namespace {

using S = SettingsStoreKit::AppSettingsStorage;
using Links = S::AppContext::UniversalLinkManager;
using D = platform::UserDefaults;
using Json = nlohmann::json;

// A setting's typed accessors, seen through JSON (null: absent).
struct Accessors {
  std::string_view path;
  std::function<Json(D&)> get;
  std::function<void(const Json&, D&)> set;
};
template <class T> Json toJson(const T& value) { return value; }
template <class T> Json toJson(const std::optional<T>& value) { return value ? Json(*value) : Json(); }
template <class T> void fromJson(const Json& json, T& value) { value = json.get<T>(); }
template <class T> void fromJson(const Json& json, std::optional<T>& value) { value = json.get<T>(); }
template <class T, class U>
Accessors accessors(std::string_view path, T (*get)(D&), void (*set)(U, D&)) {
  return {path, [get](D& d) { return toJson(get(d)); }, [set](const Json& json, D& d) {
            U value;
            fromJson(json, value);
            set(value, d);
          }};
}

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

TEST(AppSettingsStorage, EverySettingRoundTripsUnderItsPathAndOptionalsReadOtherKindsAsAbsent) {
  using A = S::AppContext;
  using C = S::CoreServicesKit;
  using H = S::Home;
  const Accessors all[] = {
      accessors("hapticFeedbackGenerator_isEnabled", &S::hapticFeedbackGenerator_isEnabled,
                &S::setHapticFeedbackGenerator_isEnabled),
      accessors("didShowOnboarding", &S::didShowOnboarding, &S::setDidShowOnboarding),
      accessors("AppContext.appVersionIsUpdated", &A::appVersionIsUpdated, &A::setAppVersionIsUpdated),
      accessors("AppContext.completedAppLaunchCountSinceAppVersion_1_2", &A::completedAppLaunchCountSinceAppVersion_1_2,
                &A::setCompletedAppLaunchCountSinceAppVersion_1_2),
      accessors("AppContext.UniversalLinkManager.onboardingVersion", &Links::onboardingVersion,
                &Links::setOnboardingVersion),
      accessors("CoreServicesKit.currentUserAccountIdentifier", &C::currentUserAccountIdentifier,
                &C::setCurrentUserAccountIdentifier),
      accessors("CoreServicesKit.apiServerUserIdentifier", &C::apiServerUserIdentifier, &C::setApiServerUserIdentifier),
      accessors("Home.didShowScrollHint", &H::didShowScrollHint, &H::setDidShowScrollHint),
      accessors("Home.didShowAIHint", &H::didShowAIHint, &H::setDidShowAIHint),
      accessors("Home.completedAppLaunchCountSinceScrollHintAddition",
                &H::completedAppLaunchCountSinceScrollHintAddition,
                &H::setCompletedAppLaunchCountSinceScrollHintAddition),
      accessors("Home.completedAppLaunchCountSinceAIAddition", &H::completedAppLaunchCountSinceAIAddition,
                &H::setCompletedAppLaunchCountSinceAIAddition),
      accessors("Identification.autocropIsEnabledByUser", &S::Identification::autocropIsEnabledByUser,
                &S::Identification::setAutocropIsEnabledByUser),
  };
  ASSERT_EQ(S::allSettings().size(), std::size(all));
  platform::UserDefaults defaults;
  for (const S::Setting& setting : S::allSettings()) {
    SCOPED_TRACE(setting.path);
    const auto found = std::find_if(std::begin(all), std::end(all), [&](auto& a) { return a.path == setting.path; });
    ASSERT_NE(found, std::end(all));
    const std::string key = "AppSettingsStorage." + std::string(setting.path);
    const bool optional = found->get(defaults).is_null();
    // A value the type holds, and one of another kind.
    const Json value = setting.type == S::ValueType::boolean ? Json(true)
                       : setting.type == S::ValueType::integer ? Json(-42) : Json("u-42");
    found->set(value, defaults);
    EXPECT_EQ(defaults.objectForKey(key), value);
    EXPECT_EQ(found->get(defaults), value);
    defaults.setObject(setting.type == S::ValueType::string ? Json(7) : Json("7"), key);
    EXPECT_TRUE(!optional || found->get(defaults).is_null());
  }
}

}  // namespace
}  // namespace aurimo
