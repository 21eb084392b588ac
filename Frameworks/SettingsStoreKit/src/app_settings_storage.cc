#include "settings_store_kit/app_settings_storage.h"

#include "platform/user_defaults.h"

namespace aurimo::SettingsStoreKit {
namespace {

std::optional<std::int64_t> optionalInteger(platform::UserDefaults& defaults, std::string_view key) {
  std::optional<nlohmann::json> value = defaults.objectForKey(key);
  if (!value || !value->is_number_integer()) return std::nullopt;
  if (value->is_number_unsigned() && value->get<std::uint64_t>() > INT64_MAX) return std::nullopt;
  return value->get<std::int64_t>();
}

void setOptionalInteger(platform::UserDefaults& defaults, std::optional<std::int64_t> value, std::string_view key) {
  if (value) {
    defaults.set(*value, key);
  } else {
    defaults.removeObjectForKey(key);
  }
}

}  // namespace

std::optional<std::int64_t> AppSettingsStorage::AppContext::UniversalLinkManager::onboardingVersion(
    platform::UserDefaults& defaults) {
  return optionalInteger(defaults, kOnboardingVersionKey);
}

void AppSettingsStorage::AppContext::UniversalLinkManager::setOnboardingVersion(
    std::optional<std::int64_t> version, platform::UserDefaults& defaults) {
  setOptionalInteger(defaults, version, kOnboardingVersionKey);
}

}  // namespace aurimo::SettingsStoreKit
