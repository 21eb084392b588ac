#include "commands/commands.h"

namespace aurimo::tool {

void addAllCommands(CommandLine& commandLine) {
  addRunCommand(commandLine);
  addLinkCommand(commandLine);
  addPayloadCommand(commandLine);
  addInfoCommand(commandLine);
  addDemoCommand(commandLine);
  addNotificationsCommand(commandLine);
  addCacheCommand(commandLine);
}

}  // namespace aurimo::tool
