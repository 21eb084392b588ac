#include "settings_store_kit/app_settings_storage.h"

#include "platform/user_defaults.h"

namespace aurimo::SettingsStoreKit {
namespace {

std::optional<std::int64_t> optionalInteger(std::string_view key) {
  std::optional<nlohmann::json> value = platform::UserDefaults::standard().objectForKey(key);
  if (!value || !value->is_number_integer()) return std::nullopt;
  if (value->is_number_unsigned() && value->get<std::uint64_t>() > INT64_MAX) return std::nullopt;
  return value->get<std::int64_t>();
}

void setOptionalInteger(std::optional<std::int64_t> value, std::string_view key) {
  if (value) {
    platform::UserDefaults::standard().set(*value, key);
  } else {
    platform::UserDefaults::standard().removeObjectForKey(key);
  }
}

}  // namespace

std::optional<std::int64_t> AppSettingsStorage::AppContext::UniversalLinkManager::onboardingVersion() {
  return optionalInteger(kOnboardingVersionKey);
}

void AppSettingsStorage::AppContext::UniversalLinkManager::setOnboardingVersion(
    std::optional<std::int64_t> version) {
  setOptionalInteger(version, kOnboardingVersionKey);
}

}  // namespace aurimo::SettingsStoreKit
