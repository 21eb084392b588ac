// The host's own plumbing: which subcommands start-up builds, and when
// answers are flushed.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "support/event_host.h"
#include "testing/environment.h"

namespace aurimo::tool {
namespace {

TEST(HostOutputTest, StartUpBuildsOnlyThePlainlyNamedSubcommand) {
  const std::vector<std::pair<std::vector<const char*>, std::vector<std::string>>> cases = {
      {{"aurimo", "info"}, {"info"}},
      {{"aurimo", "--data-dir", "run", "cache", "ls"}, {"cache"}},  // "run" is the folder
      {{"aurimo", "--data-dir=d", "run", "--script", "x"}, {"run"}},
      {{"aurimo", "--help"}, {"run", "link", "payload", "info", "demo", "notifications", "cache"}},
      {{"aurimo", "frob", "info"}, {"run", "link", "payload", "info", "demo", "notifications", "cache"}},
      {{"aurimo"}, {"run", "link", "payload", "info", "demo", "notifications", "cache"}},
  };
  for (const auto& [argv, expected] : cases) {
    CommandLine commandLine;
    addCommandsFor(commandLine, static_cast<int>(argv.size()), argv.data());
    std::vector<std::string> names;
    for (const CLI::App* command : commandLine.app().get_subcommands({})) names.push_back(command->get_name());
    EXPECT_EQ(names, expected) << argv.back();
  }
}

// Counts flushes; keeps what was written.
class FlushCounter : public std::stringbuf {
 public:
  int flushes = 0;

 protected:
  int sync() override {
    ++flushes;
    return 0;
  }
};

TEST(HostOutputTest, FlushesEachAnswerOnlyWhenAskedAndAlwaysAtTheEnd) {
  test::Environment env;
  EventHost host;
  host.on("ping", [](const nlohmann::json&) { return EventHost::Answer(); });
  for (const bool eachAnswer : {true, false}) {
    FlushCounter buffer;
    std::ostream out(&buffer);
    std::istringstream in("{\"event\":\"ping\"}\n# comment\n{\"event\":\"ping\"}\n");
    host.run(in, out, eachAnswer);
    EXPECT_EQ(buffer.str(), "{\"event\":\"ping\"}\n{\"event\":\"ping\"}\n");
    EXPECT_EQ(buffer.flushes, eachAnswer ? 3 : 1);
  }
}

}  // namespace
}  // namespace aurimo::tool
