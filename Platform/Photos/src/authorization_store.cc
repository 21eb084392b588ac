#include "authorization_store.h"

#include <cstdio>
#include <system_error>

#include <nlohmann/json.hpp>

#include "platform/clock.h"
#include "platform/directories.h"

namespace aurimo::platform::internal {
namespace {

constexpr PHAccessLevel kLevels[] = {PHAccessLevel::addOnly, PHAccessLevel::readWrite};

std::size_t indexOf(PHAccessLevel level) { return level == PHAccessLevel::addOnly ? 0 : 1; }

}  // namespace

AuthorizationStore::AuthorizationStore(std::filesystem::path file) : file_(std::move(file)) { load(); }

PHAuthorizationStatus AuthorizationStore::status(PHAccessLevel level) const {
  std::lock_guard lock(mutex_);
  return statuses_[indexOf(level)];
}

std::optional<FileError> AuthorizationStore::set(PHAccessLevel level, PHAuthorizationStatus status) {
  std::lock_guard lock(mutex_);
  statuses_[indexOf(level)] = status;
  return saveLocked();
}

bool AuthorizationStore::allowsAdding() const {
  std::lock_guard lock(mutex_);
  return platform::allowsAdding(statuses_[0]) || platform::allowsAdding(statuses_[1]);
}

void AuthorizationStore::load() {
  ReadFileResult read = readFile(file_);
  if (!read) {
    if (!read.error->isNotFound()) moveAside(read.error->message());
    return;
  }
  nlohmann::json root = nlohmann::json::parse(stringView(*read.data), nullptr, /*allow_exceptions=*/false);
  if (!root.is_object()) {
    moveAside("not a JSON object");
    return;
  }
  auto statuses = root.find("authorizationStatus");
  if (statuses == root.end() || !statuses->is_object()) return;
  for (PHAccessLevel level : kLevels) {
    auto entry = statuses->find(std::string(name(level)));
    if (entry == statuses->end() || !entry->is_string()) continue;
    // An unknown name (a newer build's status) leaves the level undetermined.
    if (auto status = authorizationStatusNamed(entry->get<std::string>())) statuses_[indexOf(level)] = *status;
  }
}

void AuthorizationStore::moveAside(const std::string& problem) {
  auto stamp = static_cast<long long>(unixSeconds(Clock::current().now()));
  std::filesystem::path aside = file_;
  aside += ".corrupt-" + std::to_string(stamp);
  std::error_code moveError;
  std::filesystem::rename(file_, aside, moveError);
  std::fprintf(stderr, "aurimo: photo library state %s unusable (%s), %s%s; every status undetermined\n",
               file_.c_str(), problem.c_str(), moveError ? "could not move it aside: " : "moved to ",
               moveError ? moveError.message().c_str() : aside.c_str());
}

std::optional<FileError> AuthorizationStore::saveLocked() const {
  nlohmann::json statuses = nlohmann::json::object();
  for (PHAccessLevel level : kLevels) statuses[std::string(name(level))] = name(statuses_[indexOf(level)]);
  std::string text = nlohmann::json{{"authorizationStatus", statuses}}.dump(2) + "\n";
  if (std::error_code error = Directories::createPrivateDirectory(file_.parent_path())) {
    return FileError{"mkdir", file_.parent_path(), error.value()};
  }
  return writeFileAtomically(file_, dataFromString(text));
}

}  // namespace aurimo::platform::internal
