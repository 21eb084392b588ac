#include "platform/directories.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

using platform::Directories;

Directories::Environment environment(std::map<std::string, std::string> variables) {
  return [variables = std::move(variables)](const std::string& name) -> std::optional<std::string> {
    auto found = variables.find(name);
    if (found == variables.end()) return std::nullopt;
    return found->second;
  };
}

TEST(Directories, ResolvesXdgVariablesWithHomeFallbacks) {
  struct Case {
    std::map<std::string, std::string> variables;
    Directories::Locations expected;
  } cases[] = {
      {{{"HOME", "/home/u"}},
       {"/home/u/.config/aurimo", "/home/u/.local/state/aurimo", "/home/u/.cache/aurimo", "/home/u/Pictures"}},
      {{{"HOME", "/home/u"},
        {"XDG_CONFIG_HOME", "/cfg"},
        {"XDG_STATE_HOME", "/st"},
        {"XDG_CACHE_HOME", "/cache"},
        {"XDG_PICTURES_DIR", "/pics"}},
       {"/cfg/aurimo", "/st/aurimo", "/cache/aurimo", "/pics"}},
      // Empty and relative values do not count.
      {{{"HOME", "/home/u"}, {"XDG_CONFIG_HOME", ""}, {"XDG_CACHE_HOME", "relative/cache"}},
       {"/home/u/.config/aurimo", "/home/u/.local/state/aurimo", "/home/u/.cache/aurimo", "/home/u/Pictures"}},
  };
  for (const Case& c : cases) {
    Directories::Locations got = Directories::resolve(environment(c.variables));
    EXPECT_EQ(got.settings, c.expected.settings);
    EXPECT_EQ(got.state, c.expected.state);
    EXPECT_EQ(got.caches, c.expected.caches);
    EXPECT_EQ(got.pictures, c.expected.pictures);
  }
}

TEST(Directories, DataDirectoryTakesSettingsAndStateOnly) {
  Directories::Locations base = Directories::resolve(environment({{"HOME", "/home/u"}}));
  Directories::Locations moved = Directories::withDataDirectory(base, "/data/run/../aurimo");
  EXPECT_EQ(moved.settings, "/data/aurimo");
  EXPECT_EQ(moved.state, "/data/aurimo");
  EXPECT_EQ(moved.caches, base.caches);
  EXPECT_EQ(moved.pictures, base.pictures);
  EXPECT_TRUE(Directories::withDataDirectory(base, "relative").settings.is_absolute());
}

TEST(Directories, PrivateDirectoriesAre0700AndFailuresAreValues) {
  test::TemporaryDirectory tmp;
  const auto nested = tmp.path() / "a" / "b";
  ASSERT_FALSE(Directories::createPrivateDirectory(nested));
  EXPECT_EQ(test::permissions(tmp.path() / "a"), 0700u);
  EXPECT_EQ(test::permissions(nested), 0700u);

  std::filesystem::create_directory(tmp.path() / "wide");
  std::filesystem::permissions(tmp.path() / "wide", std::filesystem::perms::all);
  ASSERT_FALSE(Directories::createPrivateDirectory(tmp.path() / "wide"));
  EXPECT_EQ(test::permissions(tmp.path() / "wide"), 0700u);

  std::ofstream(tmp.path() / "file") << "x";
  EXPECT_EQ(Directories::createPrivateDirectory(tmp.path() / "file" / "sub"), std::errc::not_a_directory);
  EXPECT_TRUE(Directories::createPrivateDirectory(""));
}

}  // namespace

}  // namespace aurimo
