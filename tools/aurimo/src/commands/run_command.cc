// aurimo run [--script FILE]: answers JSON-line events from FILE or stdin.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include "commands/commands.h"
#include "events/events.h"

namespace aurimo::tool {

void addRunCommand(CommandLine& commandLine) {
  auto script = std::make_shared<std::string>();
  CLI::App* command = commandLine.addCommand(
      "run", "Answer JSON-line events (one answer line each) from FILE, or stdin", [script] {
        EventHost host;
        registerAllEvents(host);
        if (script->empty()) {
          host.run(std::cin, std::cout);
          return kExitSuccess;
        }
        std::error_code ignored;
        if (std::filesystem::is_directory(*script, ignored)) return fail(kExitFailure, "run: " + *script + " is a folder");
        std::ifstream in(*script);
        if (!in) return fail(kExitFailure, "run: cannot read " + *script);
        host.run(in, std::cout);
        if (in.bad()) return fail(kExitFailure, "run: error while reading " + *script);
        return kExitSuccess;
      });
  command->add_option("--script", *script, "Read events from FILE instead of stdin")->option_text("FILE");
}

}  // namespace aurimo::tool
