// Events of the application context:
//   {"event":"launch","account":{"firebaseUserIdentifier":"…"|null,"isAnonymous":B}}  once per run
//   {"event":"settings","set":{PATH:VALUE|null,…}}       "set" optional; null removes
//   {"event":"remoteConfig","values":{KEY:true|false|null,…}}
//   {"event":"device","systemVersion":…,"modelName":…,"screenScale":…,"networkReachable":…,"buildNumber":…}
//   {"event":"flags"}
//   {"event":"apiServerUserIdentifier","value":"…"|null}
//   {"event":"apiUrl","service":N}
//
// Settings are keyed by their path in AppSettingsStorage; remote values and
// the device persist in the state folder, settings in the user defaults.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "events/events.h"
#include "platform/directories.h"
#include "platform/file_manager.h"
#include "platform/notification_center.h"
#include "platform/un_user_notification_center.h"
#include "platform/user_defaults.h"
#include "settings_store_kit/app_settings_storage.h"
#include "support/app_session.h"
#include "support/notification_json.h"

namespace aurimo::tool {
namespace {

using SettingsStoreKit::AppSettingsStorage;
using Json = nlohmann::ordered_json;

// Every setting, by path, null where absent.
Json settingsJson() {
  platform::UserDefaults& defaults = platform::UserDefaults::standard();
  Json out = Json::object();
  for (const AppSettingsStorage::Setting& setting : AppSettingsStorage::allSettings()) {
    std::optional<nlohmann::json> value = defaults.objectForKey(AppSettingsStorage::key(setting.path));
    out[std::string(setting.path)] = value ? Json(*value) : Json(nullptr);
  }
  return out;
}

bool fits(AppSettingsStorage::ValueType type, const nlohmann::json& value) {
  switch (type) {
    case AppSettingsStorage::ValueType::boolean:
      return value.is_boolean();
    case AppSettingsStorage::ValueType::integer:
      return value.is_number_integer() && !(value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX);
    case AppSettingsStorage::ValueType::string:
      return value.is_string();
  }
  return false;
}

const char* typeName(AppSettingsStorage::ValueType type) {
  switch (type) {
    case AppSettingsStorage::ValueType::boolean:
      return "true or false";
    case AppSettingsStorage::ValueType::integer:
      return "a 64-bit integer";
    case AppSettingsStorage::ValueType::string:
      return "a string";
  }
  return "";
}

// Checks every change before making any, so a bad one leaves the settings alone.
void applySettings(const nlohmann::json& changes) {
  if (!changes.is_object()) throw EventError("settings: \"set\" must be a JSON object");
  for (const auto& [path, value] : changes.items()) {
    const AppSettingsStorage::Setting* setting = nullptr;
    for (const AppSettingsStorage::Setting& candidate : AppSettingsStorage::allSettings()) {
      if (candidate.path == path) setting = &candidate;
    }
    if (!setting) throw EventError("settings: unknown setting \"" + path + "\"");
    if (!value.is_null() && !fits(setting->type, value)) {
      throw EventError("settings: \"" + path + "\" must be " + typeName(setting->type) + " or null");
    }
  }
  for (const auto& [path, value] : changes.items()) {
    platform::UserDefaults::standard().setObject(value, AppSettingsStorage::key(path));
  }
}

std::optional<std::string> nullableString(const nlohmann::json& event, const char* field, const std::string& name) {
  if (!event.contains(field) || event[field].is_null()) return std::nullopt;
  if (!event[field].is_string()) throw EventError(name + ": \"" + field + "\" must be a string or null");
  return event[field].get<std::string>();
}

SignInState accountOf(const nlohmann::json& event) {
  SignInState state;
  if (!event.contains("account")) return state;
  const nlohmann::json& account = event["account"];
  if (!account.is_object()) throw EventError("launch: \"account\" must be a JSON object");
  state.firebaseUserIdentifier = nullableString(account, "firebaseUserIdentifier", "launch");
  if (account.contains("isAnonymous")) {
    if (!account["isAnonymous"].is_boolean()) throw EventError("launch: \"isAnonymous\" must be true or false");
    state.isAnonymous = account["isAnonymous"].get<bool>();
  }
  return state;
}

class AppEvents final : public EventModule {
 public:
  explicit AppEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}
  void registerEvents(EventHost& host) override;

 private:
  const std::shared_ptr<AppSession> app_;
};

void AppEvents::registerEvents(EventHost& host) {
  host.on("launch", [this](const nlohmann::json& event) -> EventHost::Answer {
    const SignInState account = accountOf(event);
    app_->launch(account);
    return [app = app_](Json& out) {
      out["calls"] = app->calls().since(0);
      out["settings"] = settingsJson();
      out["broadcasts"] = app->reportLaunchBroadcasts();
      out["pending"] = pendingRequestsJson(pendingRequests(platform::UNUserNotificationCenter::current()));
    };
  });

  host.on("settings", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    if (event.contains("set")) applySettings(event["set"]);
    // The settings shown are the ones the app now uses; "error" says the file lacks them.
    platform::UserDefaults& defaults = platform::UserDefaults::standard();
    std::optional<std::string> unsaved;
    if (!defaults.synchronize()) {
      unsaved = "settings: the settings could not be saved to " + defaults.file().value_or("memory").string() +
                " (why is on stderr); they hold until the app quits";
    }
    return [unsaved](Json& out) {
      out["settings"] = settingsJson();
      if (unsaved) out["error"] = *unsaved;
    };
  });

  host.on("remoteConfig", [this](const nlohmann::json& event) -> EventHost::Answer {
    RemoteServicesKit::FirebaseRemoteConfigHelper& remote = app_->context().remoteConfig();
    const nlohmann::json& values = requiredField(event, "values");
    if (!values.is_object()) throw EventError("remoteConfig: \"values\" must be a JSON object");
    std::map<std::string, std::optional<bool>> changes;
    for (const auto& [key, value] : values.items()) {
      if (!value.is_boolean() && !value.is_null()) {
        throw EventError("remoteConfig: \"" + key + "\" must be true, false or null");
      }
      changes[key] = value.is_null() ? std::nullopt : std::optional<bool>(value.get<bool>());
    }
    if (!remote.setCachedBoolValues(changes)) throw EventError("remoteConfig: the values could not be saved");
    return [&remote](Json& out) { out["values"] = Json(remote.cachedBoolValues()); };
  });

  host.on("device", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    DeviceState& device = app_->device();
    DeviceState next = device;
    next.update(event);
    try {
      next.save(platform::FileManager::defaultManager(), platform::Directories::current().stateDirectory());
    } catch (const std::filesystem::filesystem_error& error) {
      throw EventError("device: " + platform::fileErrorMessage(error));
    }
    device = std::move(next);
    app_->deviceDidChange();
    return [&device](Json& out) {
      const Json fields = device.json();
      for (const auto& [field, value] : fields.items()) out[field] = value;
    };
  });

  host.on("flags", [this](const nlohmann::json&) -> EventHost::Answer {
    AppContext& context = app_->context();
    return [&context](Json& out) {
      out["isCommunityEnabled"] = context.isCommunityEnabled();
      out["isCommunityHomeBannerEnabled"] = context.isCommunityHomeBannerEnabled();
      out["areCoinDescriptionHintsEnabled"] = context.areCoinDescriptionHintsEnabled();
      out["isMarketplaceEnabled"] = context.isMarketplaceEnabled();
      out["isAutocropEnabled"] = context.isAutocropEnabled();
    };
  });

  host.on("apiServerUserIdentifier", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    requiredField(event, "value");
    const std::optional<std::string> value = nullableString(event, "value", "apiServerUserIdentifier");
    const std::size_t mark = app_->calls().count();
    AppSettingsStorage::CoreServicesKit::setApiServerUserIdentifier(value);
    platform::NotificationCenter::defaultCenter().post(
        CoreServicesKit::CoreServicesKit::apiServerUserIdentifierDidChangeNotification());
    return [app = app_, mark](Json& out) { out["calls"] = app->calls().since(mark); };
  });

  host.on("apiUrl", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    const nlohmann::json& service = requiredField(event, "service");
    std::optional<NetworkKit::ApiService> known;
    if (service.is_number_integer()) known = NetworkKit::apiServiceWithOrdinal(service.get<std::int64_t>());
    if (!known) {
      throw EventError("apiUrl: \"service\" must be a service ordinal from 0 to " +
                       std::to_string(NetworkKit::kApiServiceCount - 1));
    }
    return [ordinal = service.get<std::int64_t>(), url = context.getApiUrlForService(*known)](Json& out) {
      out["service"] = ordinal;
      out["url"] = url;
    };
  });
}

}  // namespace

std::unique_ptr<EventModule> appEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<AppEvents>(std::move(app));
}

}  // namespace aurimo::tool
