#include "authorization_store.h"

#include <nlohmann/json.hpp>

#include "platform/bounded_json.h"
#include "platform/state_file.h"

namespace aurimo::platform::internal {
namespace {

constexpr PHAccessLevel kLevels[] = {PHAccessLevel::addOnly, PHAccessLevel::readWrite};

std::size_t indexOf(PHAccessLevel level) { return level == PHAccessLevel::addOnly ? 0 : 1; }

}  // namespace

AuthorizationStore::AuthorizationStore(std::filesystem::path file, FileManager& files)
    : file_(std::move(file)), files_(files) {
  loadStateFile(files_, file_, "photo library state", "every status undetermined",
                [this](std::string_view text) -> std::string {
                  const std::optional<nlohmann::json> parsed = parseBoundedJson(text);
                  if (!parsed || !parsed->is_object()) return "not a JSON object";
                  const nlohmann::json& root = *parsed;
                  auto statuses = root.find("authorizationStatus");
                  if (statuses == root.end() || !statuses->is_object()) return {};
                  for (PHAccessLevel level : kLevels) {
                    auto entry = statuses->find(std::string(name(level)));
                    if (entry == statuses->end() || !entry->is_string()) continue;
                    // An unknown name (a newer build's status) leaves the level undetermined.
                    if (auto status = authorizationStatusNamed(entry->get<std::string>())) {
                      statuses_[indexOf(level)] = *status;
                    }
                  }
                  return {};
                });
}

PHAuthorizationStatus AuthorizationStore::status(PHAccessLevel level) const {
  std::lock_guard lock(mutex_);
  return statuses_[indexOf(level)];
}

void AuthorizationStore::set(PHAccessLevel level, PHAuthorizationStatus status) {
  std::lock_guard lock(mutex_);
  statuses_[indexOf(level)] = status;
  nlohmann::json statuses = nlohmann::json::object();
  for (PHAccessLevel each : kLevels) statuses[std::string(name(each))] = name(statuses_[indexOf(each)]);
  saveStateFile(files_, file_, nlohmann::json{{"authorizationStatus", statuses}}.dump(2) + "\n");
}

bool AuthorizationStore::allowsAdding() const {
  std::lock_guard lock(mutex_);
  return platform::allowsAdding(statuses_[0]) || platform::allowsAdding(statuses_[1]);
}

}  // namespace aurimo::platform::internal
