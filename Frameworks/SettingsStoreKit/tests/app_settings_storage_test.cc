#include "settings_store_kit/app_settings_storage.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "platform/user_defaults.h"

namespace aurimo {
namespace {

using Links = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

class AppSettingsStorageTest : public ::testing::Test {
 protected:
  std::shared_ptr<platform::UserDefaults> defaults_ = std::make_shared<platform::UserDefaults>();
  platform::ScopedReplacement<platform::UserDefaults> pin_{platform::UserDefaults::slot(), defaults_};
};

TEST_F(AppSettingsStorageTest, OnboardingVersionRoundTripsThroughStandardDefaults) {
  EXPECT_EQ(Links::onboardingVersion(), std::nullopt);
  for (std::int64_t version : {std::int64_t{7}, std::int64_t{-3}, std::numeric_limits<std::int64_t>::max(),
                               std::numeric_limits<std::int64_t>::min()}) {
    Links::setOnboardingVersion(version);
    EXPECT_EQ(Links::onboardingVersion(), version);
    EXPECT_EQ(defaults_->integerForKey("AppSettingsStorage.AppContext.UniversalLinkManager.onboardingVersion"),
              version);
  }
  Links::setOnboardingVersion(std::nullopt);
  EXPECT_EQ(Links::onboardingVersion(), std::nullopt);
  EXPECT_FALSE(defaults_->objectForKey(Links::kOnboardingVersionKey).has_value());
}

}  // namespace

}  // namespace aurimo
