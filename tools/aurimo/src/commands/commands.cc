#include "commands/commands.h"

#include <string_view>

namespace aurimo::tool {
namespace {

struct NamedCommand {
  std::string_view name;
  void (*add)(CommandLine& commandLine);
};

constexpr NamedCommand kCommands[] = {
    {"run", addRunCommand},     {"link", addLinkCommand},
    {"payload", addPayloadCommand}, {"info", addInfoCommand},
    {"demo", addDemoCommand},   {"notifications", addNotificationsCommand},
    {"cache", addCacheCommand},
};

}  // namespace

void addAllCommands(CommandLine& commandLine) {
  for (const NamedCommand& command : kCommands) command.add(commandLine);
}

void addCommandsFor(CommandLine& commandLine, int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--data-dir") {
      ++i;
      continue;
    }
    if (argument.starts_with("--data-dir=")) continue;
    for (const NamedCommand& command : kCommands) {
      if (command.name == argument) {
        command.add(commandLine);
        return;
      }
    }
    break;
  }
  addAllCommands(commandLine);
}

}  // namespace aurimo::tool
