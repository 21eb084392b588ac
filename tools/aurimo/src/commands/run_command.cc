// aurimo run [--script FILE]: answers JSON-line events from FILE or stdin.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include "commands/commands.h"
#include "events/events.h"

namespace aurimo::tool {
namespace {

// Someone may be waiting on each answer when events come from a terminal or
// a pipe (stdin or a named one); a regular file is read straight through, so
// its answers are written in bulk.
bool mayWaitOnAnswers(int descriptor) {
  struct stat status;
  return ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode);
}
bool mayWaitOnAnswers(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode);
}

// Answers still buffered when a handler ends the process with an uncaught
// exception go out before the usual report and abort.
std::terminate_handler previousTerminate = nullptr;
void flushThenTerminate() {
  std::cout.flush();
  std::fflush(stdout);
  if (previousTerminate) previousTerminate();
  std::abort();
}

}  // namespace

void addRunCommand(CommandLine& commandLine) {
  auto script = std::make_shared<std::string>();
  CLI::App* command = commandLine.addCommand(
      "run", "Answer JSON-line events (one answer line each) from FILE, or stdin", [script] {
        previousTerminate = std::set_terminate(flushThenTerminate);
        EventHost host;
        registerAllEvents(host);
        if (script->empty()) {
          host.run(std::cin, std::cout, mayWaitOnAnswers(STDIN_FILENO));
          return kExitSuccess;
        }
        std::error_code ignored;
        if (std::filesystem::is_directory(*script, ignored)) return fail(kExitFailure, "run: " + *script + " is a folder");
        std::ifstream in(*script);
        if (!in) return fail(kExitFailure, "run: cannot read " + *script);
        host.run(in, std::cout, mayWaitOnAnswers(*script));
        if (in.bad()) return fail(kExitFailure, "run: error while reading " + *script);
        return kExitSuccess;
      });
  command->add_option("--script", *script, "Read events from FILE instead of stdin")->option_text("FILE");
}

}  // namespace aurimo::tool
