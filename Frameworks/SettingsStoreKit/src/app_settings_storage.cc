#include "settings_store_kit/app_settings_storage.h"

#include <array>
#include <cstdint>

#include "settings_store_kit/constants.h"
#include "platform/fatal_error.h"

namespace aurimo::SettingsStoreKit {
namespace {

using Defaults = platform::UserDefaults;

bool readBool(Defaults& defaults, std::string_view path) { return defaults.boolForKey(AppSettingsStorage::key(path)); }

void writeBool(Defaults& defaults, std::string_view path, bool value) {
  defaults.set(value, AppSettingsStorage::key(path));
}

std::optional<std::int64_t> readOptionalInteger(Defaults& defaults, std::string_view path) {
  std::optional<nlohmann::json> value = defaults.objectForKey(AppSettingsStorage::key(path));
  if (!value || !value->is_number_integer()) return std::nullopt;
  if (value->is_number_unsigned() && value->get<std::uint64_t>() > INT64_MAX) return std::nullopt;
  return value->get<std::int64_t>();
}

template <class T>
void writeOptional(Defaults& defaults, std::string_view path, const std::optional<T>& value) {
  if (value) {
    defaults.set(*value, AppSettingsStorage::key(path));
  } else {
    defaults.removeObjectForKey(AppSettingsStorage::key(path));
  }
}

constexpr std::string_view kHapticEnabled = "hapticFeedbackGenerator_isEnabled";
constexpr std::string_view kDidShowOnboarding = "didShowOnboarding";
constexpr std::string_view kAppVersionIsUpdated = "AppContext.appVersionIsUpdated";
constexpr std::string_view kLaunchCount = "AppContext.completedAppLaunchCountSinceAppVersion_1_2";
constexpr std::string_view kOnboardingVersion = "AppContext.UniversalLinkManager.onboardingVersion";
constexpr std::string_view kAccountIdentifier = "CoreServicesKit.currentUserAccountIdentifier";
constexpr std::string_view kApiServerUserIdentifier = "CoreServicesKit.apiServerUserIdentifier";
constexpr std::string_view kDidShowScrollHint = "Home.didShowScrollHint";
constexpr std::string_view kDidShowAIHint = "Home.didShowAIHint";
constexpr std::string_view kScrollHintCount = "Home.completedAppLaunchCountSinceScrollHintAddition";
constexpr std::string_view kAIHintCount = "Home.completedAppLaunchCountSinceAIAddition";
constexpr std::string_view kAutocrop = "Identification.autocropIsEnabledByUser";

using Type = AppSettingsStorage::ValueType;
constexpr std::array<AppSettingsStorage::Setting, 12> kSettings{{
    {kHapticEnabled, Type::boolean},
    {kDidShowOnboarding, Type::boolean},
    {kAppVersionIsUpdated, Type::boolean},
    {kLaunchCount, Type::integer},
    {kAccountIdentifier, Type::integer},
    {kApiServerUserIdentifier, Type::string},
    {kDidShowScrollHint, Type::boolean},
    {kDidShowAIHint, Type::boolean},
    {kScrollHintCount, Type::integer},
    {kAIHintCount, Type::integer},
    {kAutocrop, Type::boolean},
    {kOnboardingVersion, Type::integer},
}};

}  // namespace

std::span<const AppSettingsStorage::Setting> AppSettingsStorage::allSettings() { return kSettings; }

bool AppSettingsStorage::hapticFeedbackGenerator_isEnabled(Defaults& d) { return readBool(d, kHapticEnabled); }
void AppSettingsStorage::setHapticFeedbackGenerator_isEnabled(bool v, Defaults& d) { writeBool(d, kHapticEnabled, v); }
bool AppSettingsStorage::didShowOnboarding(Defaults& d) { return readBool(d, kDidShowOnboarding); }
void AppSettingsStorage::setDidShowOnboarding(bool v, Defaults& d) { writeBool(d, kDidShowOnboarding, v); }

bool AppSettingsStorage::AppContext::appVersionIsUpdated(Defaults& d) { return readBool(d, kAppVersionIsUpdated); }
void AppSettingsStorage::AppContext::setAppVersionIsUpdated(bool v, Defaults& d) {
  writeBool(d, kAppVersionIsUpdated, v);
}
std::int64_t AppSettingsStorage::AppContext::completedAppLaunchCountSinceAppVersion_1_2(Defaults& d) {
  return d.integerForKey(key(kLaunchCount));
}
void AppSettingsStorage::AppContext::setCompletedAppLaunchCountSinceAppVersion_1_2(std::int64_t v, Defaults& d) {
  d.set(v, key(kLaunchCount));
}

std::optional<std::int64_t> AppSettingsStorage::AppContext::UniversalLinkManager::onboardingVersion(Defaults& d) {
  return readOptionalInteger(d, kOnboardingVersion);
}
void AppSettingsStorage::AppContext::UniversalLinkManager::setOnboardingVersion(std::optional<std::int64_t> v,
                                                                                Defaults& d) {
  writeOptional(d, kOnboardingVersion, v);
}

std::optional<std::int64_t> AppSettingsStorage::CoreServicesKit::currentUserAccountIdentifier(Defaults& d) {
  return readOptionalInteger(d, kAccountIdentifier);
}
void AppSettingsStorage::CoreServicesKit::setCurrentUserAccountIdentifier(std::optional<std::int64_t> v,
                                                                          Defaults& d) {
  writeOptional(d, kAccountIdentifier, v);
}
std::optional<std::string> AppSettingsStorage::CoreServicesKit::apiServerUserIdentifier(Defaults& d) {
  std::optional<nlohmann::json> value = d.objectForKey(key(kApiServerUserIdentifier));
  if (!value || !value->is_string()) return std::nullopt;
  return value->get<std::string>();
}
void AppSettingsStorage::CoreServicesKit::setApiServerUserIdentifier(std::optional<std::string> v, Defaults& d) {
  writeOptional(d, kApiServerUserIdentifier, v);
}

bool AppSettingsStorage::Home::didShowScrollHint(Defaults& d) { return readBool(d, kDidShowScrollHint); }
void AppSettingsStorage::Home::setDidShowScrollHint(bool v, Defaults& d) { writeBool(d, kDidShowScrollHint, v); }
bool AppSettingsStorage::Home::didShowAIHint(Defaults& d) { return readBool(d, kDidShowAIHint); }
void AppSettingsStorage::Home::setDidShowAIHint(bool v, Defaults& d) { writeBool(d, kDidShowAIHint, v); }
std::optional<std::int64_t> AppSettingsStorage::Home::completedAppLaunchCountSinceScrollHintAddition(Defaults& d) {
  return readOptionalInteger(d, kScrollHintCount);
}
void AppSettingsStorage::Home::setCompletedAppLaunchCountSinceScrollHintAddition(std::optional<std::int64_t> v,
                                                                                 Defaults& d) {
  writeOptional(d, kScrollHintCount, v);
}
std::optional<std::int64_t> AppSettingsStorage::Home::completedAppLaunchCountSinceAIAddition(Defaults& d) {
  return readOptionalInteger(d, kAIHintCount);
}
void AppSettingsStorage::Home::setCompletedAppLaunchCountSinceAIAddition(std::optional<std::int64_t> v,
                                                                         Defaults& d) {
  writeOptional(d, kAIHintCount, v);
}

std::optional<bool> AppSettingsStorage::Identification::autocropIsEnabledByUser(Defaults& d) {
  std::optional<nlohmann::json> value = d.objectForKey(key(kAutocrop));
  if (!value || !value->is_boolean()) return std::nullopt;
  return value->get<bool>();
}
void AppSettingsStorage::Identification::setAutocropIsEnabledByUser(std::optional<bool> v, Defaults& d) {
  writeOptional(d, kAutocrop, v);
}

platform::URL Constants::CDN::baseURL() {
  static const std::optional<platform::URL> url = platform::URL::fromString(baseURLString);
  if (!url) platform::fatalError("Constants.CDN.baseURL is not a valid URL");
  return *url;
}

}  // namespace aurimo::SettingsStoreKit
