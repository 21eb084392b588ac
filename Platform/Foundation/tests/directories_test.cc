#include "platform/directories.h"

#include <gtest/gtest.h>

#include <map>

namespace aurimo {
namespace {

using platform::Directories;
using Paths = std::vector<std::filesystem::path>;

Directories::Locations resolve(const std::map<std::string, std::string>& variables) {
  return Directories::resolve([&](const std::string& name) -> std::optional<std::string> {
    auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  });
}

Paths paths(const Directories::Locations& l) { return {l.settings, l.state, l.caches, l.pictures}; }

TEST(Directories, ResolvesXdgVariablesWithHomeFallbacks) {
  const Paths fallbacks{"/home/u/.config/aurimo", "/home/u/.local/state/aurimo", "/home/u/.cache/aurimo",
                        "/home/u/Pictures"};
  EXPECT_EQ(paths(resolve({{"HOME", "/home/u"}})), fallbacks);
  // Empty and relative values do not count.
  EXPECT_EQ(paths(resolve({{"HOME", "/home/u"}, {"XDG_CONFIG_HOME", ""}, {"XDG_CACHE_HOME", "relative/cache"}})),
            fallbacks);
  EXPECT_EQ(paths(resolve({{"HOME", "/home/u"},
                           {"XDG_CONFIG_HOME", "/cfg"},
                           {"XDG_STATE_HOME", "/st"},
                           {"XDG_CACHE_HOME", "/cache"},
                           {"XDG_PICTURES_DIR", "/pics"}})),
            (Paths{"/cfg/aurimo", "/st/aurimo", "/cache/aurimo", "/pics"}));
}

TEST(Directories, DataDirectoryTakesSettingsAndStateOnly) {
  const Directories::Locations moved = Directories::withDataDirectory(resolve({{"HOME", "/h"}}), "/data/run/../a");
  EXPECT_EQ(paths(moved), (Paths{"/data/a", "/data/a", "/h/.cache/aurimo", "/h/Pictures"}));
  EXPECT_TRUE(Directories::withDataDirectory(moved, "relative").settings.is_absolute());
}

}  // namespace
}  // namespace aurimo
