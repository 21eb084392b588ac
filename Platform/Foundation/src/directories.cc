#include "platform/directories.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace aurimo::platform {
namespace {

constexpr const char* kAppFolder = "aurimo";

std::filesystem::path homeDirectory(const Directories::Environment& environment) {
  if (auto home = environment("HOME"); home && !home->empty()) return *home;
  // No HOME (a stripped service environment): ask the password database.
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* result = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &result) == 0 && result &&
      result->pw_dir && *result->pw_dir) {
    return result->pw_dir;
  }
  return std::filesystem::current_path();
}

// An XDG variable counts only when set to an absolute path.
std::filesystem::path xdg(const Directories::Environment& environment, const char* variable,
                          const std::filesystem::path& home, const char* fallback) {
  if (auto value = environment(variable); value && !value->empty()) {
    std::filesystem::path path(*value);
    if (path.is_absolute()) return path;
  }
  return home / fallback;
}

}  // namespace

Replaceable<Directories>& Directories::slot() {
  static Replaceable<Directories> instance(
      [] { return std::make_shared<Directories>(resolveFromProcessEnvironment()); });
  return instance;
}

Directories::Locations Directories::resolve(const Environment& environment) {
  const std::filesystem::path home = homeDirectory(environment);
  return Locations{
      .settings = xdg(environment, "XDG_CONFIG_HOME", home, ".config") / kAppFolder,
      .state = xdg(environment, "XDG_STATE_HOME", home, ".local/state") / kAppFolder,
      .caches = xdg(environment, "XDG_CACHE_HOME", home, ".cache") / kAppFolder,
      .pictures = xdg(environment, "XDG_PICTURES_DIR", home, "Pictures"),
  };
}

Directories::Locations Directories::resolveFromProcessEnvironment() {
  return resolve([](const std::string& name) -> std::optional<std::string> {
    const char* value = std::getenv(name.c_str());
    if (value == nullptr) return std::nullopt;
    return std::string(value);
  });
}

Directories::Locations Directories::withDataDirectory(Locations base,
                                                      const std::filesystem::path& dataDirectory) {
  std::filesystem::path absolute = std::filesystem::absolute(dataDirectory).lexically_normal();
  base.settings = absolute;
  base.state = absolute;
  return base;
}

}  // namespace aurimo::platform
