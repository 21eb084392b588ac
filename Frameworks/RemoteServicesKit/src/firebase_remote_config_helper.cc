#include "remote_services_kit/firebase_remote_config_helper.h"

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/state_file.h"

namespace aurimo::RemoteServicesKit {
namespace {

class CachedRemoteConfig final : public FirebaseRemoteConfigHelper {
 public:
  explicit CachedRemoteConfig(const platform::Services& services)
      : files_(services.fileManager),
        file_(services.directories->stateDirectory() / std::string(kFileName)) {
    platform::loadStateFile(*files_, file_, "remote configuration", "starting empty", [this](std::string_view text) {
      nlohmann::json parsed = nlohmann::json::parse(text, nullptr, false);
      if (parsed.is_discarded() || !parsed.is_object()) return std::string("not a JSON object");
      for (const auto& [key, value] : parsed.items()) {
        if (!value.is_boolean()) return "\"" + key + "\" is not true or false";
      }
      for (const auto& [key, value] : parsed.items()) values_[key] = value.get<bool>();
      return std::string();
    });
  }

  std::optional<bool> getCachedBoolValueForKey(std::string_view key) const override {
    std::lock_guard lock(mutex_);
    auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
  }

  bool setCachedBoolValues(const std::map<std::string, std::optional<bool>>& values) override {
    std::lock_guard lock(mutex_);
    for (const auto& [key, value] : values) {
      if (value) {
        values_.insert_or_assign(key, *value);
      } else {
        values_.erase(key);
      }
    }
    try {
      platform::saveStateFile(*files_, file_, nlohmann::json(values_).dump(2) + "\n");
      return true;
    } catch (const std::filesystem::filesystem_error& error) {
      std::fprintf(stderr, "aurimo: cannot save remote configuration: %s\n", platform::fileErrorMessage(error).c_str());
      return false;
    }
  }

  std::map<std::string, bool> cachedBoolValues() const override {
    std::lock_guard lock(mutex_);
    return {values_.begin(), values_.end()};
  }

 private:
  const std::shared_ptr<platform::FileManager> files_;
  const std::filesystem::path file_;
  mutable std::mutex mutex_;
  std::map<std::string, bool, std::less<>> values_;  // guarded by mutex_
};

}  // namespace

std::shared_ptr<FirebaseRemoteConfigHelper> FirebaseRemoteConfigHelper::make(const platform::Services& services) {
  return std::make_shared<CachedRemoteConfig>(services);
}

}  // namespace aurimo::RemoteServicesKit
