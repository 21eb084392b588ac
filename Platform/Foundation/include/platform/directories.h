#pragma once
// Directories: where the app keeps its settings, state, caches and pictures.
//
// Resolved once from the XDG environment (settings in $XDG_CONFIG_HOME/aurimo,
// state in $XDG_STATE_HOME/aurimo, caches in $XDG_CACHE_HOME/aurimo, pictures
// in $XDG_PICTURES_DIR, each with the usual fallback under $HOME); --data-dir
// puts settings and state in one given folder instead.
//
// Thread contract: the accessors are const and safe from any thread;
// replacing the process instance is for start-up and test fixtures.
//
//   auto dirs = std::make_shared<platform::Directories>(platform::Directories::withDataDirectory(tmp));
//   platform::ScopedReplacement pin(platform::Directories::slot(), dirs);

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "platform/replaceable.h"

namespace aurimo::platform {

class Directories {
 public:
  struct Locations {
    std::filesystem::path settings;
    std::filesystem::path state;
    std::filesystem::path caches;
    std::filesystem::path pictures;
  };
  // Reads one environment variable; nullopt when unset.
  using Environment = std::function<std::optional<std::string>(const std::string& name)>;

  explicit Directories(Locations locations) : locations_(std::move(locations)) {}

  static Directories& current() { return slot().get(); }
  static Replaceable<Directories>& slot();

  // The XDG locations for `environment` (the process environment by default).
  // Empty or relative XDG values are ignored, as the XDG rules require.
  static Locations resolve(const Environment& environment);
  static Locations resolveFromProcessEnvironment();
  // `base` with settings and state both moved to `dataDirectory`.
  static Locations withDataDirectory(Locations base, const std::filesystem::path& dataDirectory);
  static Locations withDataDirectory(const std::filesystem::path& dataDirectory) {
    return withDataDirectory(resolveFromProcessEnvironment(), dataDirectory);
  }

  const std::filesystem::path& settingsDirectory() const { return locations_.settings; }
  const std::filesystem::path& stateDirectory() const { return locations_.state; }
  const std::filesystem::path& cachesDirectory() const { return locations_.caches; }
  const std::filesystem::path& picturesDirectory() const { return locations_.pictures; }
  const Locations& locations() const { return locations_; }

 private:
  Locations locations_;
};

}  // namespace aurimo::platform
