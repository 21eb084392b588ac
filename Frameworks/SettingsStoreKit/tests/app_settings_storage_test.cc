#include "settings_store_kit/app_settings_storage.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace aurimo {
namespace {

using Links = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

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

}  // namespace
}  // namespace aurimo
