#include "support/command_line.h"

#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

#include "platform/directories.h"
#include "platform/user_defaults.h"

namespace aurimo::tool {

CommandLine::CommandLine() : app_("Aurimo app-context library: routes links and payloads, shows state.", "aurimo") {
  app_.require_subcommand(1);
  // Lets the global options come after the subcommand too.
  app_.fallthrough();
  app_.add_option("--data-dir", dataDirectoryText_, "Keep settings and state in DIR instead of the XDG folders")
      ->option_text("DIR");
}

CLI::App* CommandLine::addCommand(std::string name, std::string description, Action action) {
  CLI::App* command = app_.add_subcommand(std::move(name), std::move(description));
  commands_.emplace_back(command, std::move(action));
  return command;
}

int CommandLine::run(int argc, char** argv) {
  const int status = parseAndRun(argc, argv);
  // Settings are saved off the main thread: they must land before the process ends.
  if (std::shared_ptr<platform::UserDefaults> defaults = platform::UserDefaults::slot().existing()) {
    defaults->synchronize();
  }
  return status;
}

int CommandLine::parseAndRun(int argc, char** argv) {
  try {
    app_.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app_.exit(help);
  } catch (const CLI::CallForAllHelp& help) {
    return app_.exit(help);
  } catch (const CLI::ParseError& error) {
    return fail(kExitUsage, std::string(error.what()) + " (see aurimo --help)");
  }

  if (app_.count("--data-dir") > 0) {
    if (dataDirectoryText_.empty()) return fail(kExitUsage, "--data-dir: the folder name is empty");
    std::error_code ignored;
    std::filesystem::path directory(dataDirectoryText_);
    if (std::filesystem::exists(directory, ignored) && !std::filesystem::is_directory(directory, ignored)) {
      return fail(kExitUsage, "--data-dir: " + dataDirectoryText_ + " is not a folder");
    }
    dataDirectory_ = directory;
    platform::Directories::slot().replace(
        std::make_shared<platform::Directories>(platform::Directories::withDataDirectory(directory)));
  }

  for (const auto& [command, action] : commands_) {
    if (command->parsed()) return action();
  }
  return fail(kExitUsage, "no subcommand given (see aurimo --help)");
}

int fail(int status, std::string_view message) {
  std::string line(message);
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  std::fprintf(stderr, "aurimo: %s\n", line.c_str());
  return status;
}

}  // namespace aurimo::tool
