#pragma once
// AppSettingsStorage: the app's persisted settings as static accessors,
// nested by the component that owns each one, all kept in a user-defaults
// store (the standard one unless given) under the key spelled like the path.
//
// Thread contract: as UserDefaults, safe from any thread.
//
//   using Links = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;
//   Links::setOnboardingVersion(7);

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/user_defaults.h"

namespace aurimo::SettingsStoreKit {

struct AppSettingsStorage {
  struct AppContext {
    struct UniversalLinkManager {
      static constexpr std::string_view kOnboardingVersionKey =
          "AppSettingsStorage.AppContext.UniversalLinkManager.onboardingVersion";

      // nullopt when never written or when the stored value is not an integer.
      static std::optional<std::int64_t> onboardingVersion(
          platform::UserDefaults& defaults = platform::UserDefaults::standard());
      // nullopt removes the setting.
      static void setOnboardingVersion(std::optional<std::int64_t> version,
                                       platform::UserDefaults& defaults = platform::UserDefaults::standard());
    };
  };
};

}  // namespace aurimo::SettingsStoreKit
