#pragma once
// AppSettingsStorage: the app's persisted settings as static accessors,
// nested by the component that owns each one, all kept in a user-defaults
// store (the standard one unless given) under "AppSettingsStorage." followed
// by the setting's path, e.g. "AppSettingsStorage.Home.didShowScrollHint".
// Bools read false and counts 0 when absent; optional settings read nullopt,
// and so does a stored value of the wrong kind.
//
// Thread contract: as UserDefaults, safe from any thread.
//
//   using Home = SettingsStoreKit::AppSettingsStorage::Home;
//   if (!Home::didShowScrollHint()) Home::setCompletedAppLaunchCountSinceScrollHintAddition(1);

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/user_defaults.h"

namespace aurimo::SettingsStoreKit {

struct AppSettingsStorage {
  using Defaults = platform::UserDefaults;

  static bool hapticFeedbackGenerator_isEnabled(Defaults& defaults = Defaults::standard());
  static void setHapticFeedbackGenerator_isEnabled(bool enabled, Defaults& defaults = Defaults::standard());
  static bool didShowOnboarding(Defaults& defaults = Defaults::standard());
  static void setDidShowOnboarding(bool shown, Defaults& defaults = Defaults::standard());

  struct AppContext {
    static bool appVersionIsUpdated(Defaults& defaults = Defaults::standard());
    static void setAppVersionIsUpdated(bool updated, Defaults& defaults = Defaults::standard());
    static std::int64_t completedAppLaunchCountSinceAppVersion_1_2(Defaults& defaults = Defaults::standard());
    static void setCompletedAppLaunchCountSinceAppVersion_1_2(std::int64_t count,
                                                              Defaults& defaults = Defaults::standard());

    struct UniversalLinkManager {
      static constexpr std::string_view kOnboardingVersionKey =
          "AppSettingsStorage.AppContext.UniversalLinkManager.onboardingVersion";

      // nullopt when never written or when the stored value is not an integer.
      static std::optional<std::int64_t> onboardingVersion(Defaults& defaults = Defaults::standard());
      // nullopt removes the setting.
      static void setOnboardingVersion(std::optional<std::int64_t> version, Defaults& defaults = Defaults::standard());
    };
  };

  struct CoreServicesKit {
    static std::optional<std::int64_t> currentUserAccountIdentifier(Defaults& defaults = Defaults::standard());
    static void setCurrentUserAccountIdentifier(std::optional<std::int64_t> identifier,
                                                Defaults& defaults = Defaults::standard());
    static std::optional<std::string> apiServerUserIdentifier(Defaults& defaults = Defaults::standard());
    static void setApiServerUserIdentifier(std::optional<std::string> identifier,
                                           Defaults& defaults = Defaults::standard());
  };

  struct Home {
    static bool didShowScrollHint(Defaults& defaults = Defaults::standard());
    static void setDidShowScrollHint(bool shown, Defaults& defaults = Defaults::standard());
    static bool didShowAIHint(Defaults& defaults = Defaults::standard());
    static void setDidShowAIHint(bool shown, Defaults& defaults = Defaults::standard());
    static std::optional<std::int64_t> completedAppLaunchCountSinceScrollHintAddition(
        Defaults& defaults = Defaults::standard());
    static void setCompletedAppLaunchCountSinceScrollHintAddition(std::optional<std::int64_t> count,
                                                                  Defaults& defaults = Defaults::standard());
    static std::optional<std::int64_t> completedAppLaunchCountSinceAIAddition(Defaults& defaults = Defaults::standard());
    static void setCompletedAppLaunchCountSinceAIAddition(std::optional<std::int64_t> count,
                                                          Defaults& defaults = Defaults::standard());
  };

  struct Identification {
    // nullopt until the user chooses.
    static std::optional<bool> autocropIsEnabledByUser(Defaults& defaults = Defaults::standard());
    static void setAutocropIsEnabledByUser(std::optional<bool> enabled, Defaults& defaults = Defaults::standard());
  };

  // Every setting above, for tools that list or edit them by path.
  enum class ValueType { boolean, integer, string };
  struct Setting {
    std::string_view path;  // e.g. "Home.didShowScrollHint"
    ValueType type;
  };
  static std::span<const Setting> allSettings();
  // The user-defaults key of the setting at `path`.
  static std::string key(std::string_view path) { return "AppSettingsStorage." + std::string(path); }
};

}  // namespace aurimo::SettingsStoreKit
