#pragma once
// The subcommands of `aurimo`, each added by one call.
//
//   CommandLine commandLine;
//   addAllCommands(commandLine);

#include "support/command_line.h"

namespace aurimo::tool {

void addRunCommand(CommandLine& commandLine);    // run [--script FILE]
void addLinkCommand(CommandLine& commandLine);   // link URL [--activity-type T]
void addPayloadCommand(CommandLine& commandLine);  // payload JSON
void addInfoCommand(CommandLine& commandLine);   // info
void addDemoCommand(CommandLine& commandLine);   // demo
void addNotificationsCommand(CommandLine& commandLine);  // notifications ls
void addCacheCommand(CommandLine& commandLine);  // cache --dir PARENT --name NAME COMMAND

// Every subcommand, in the order --help lists them; add new ones here.
void addAllCommands(CommandLine& commandLine);

}  // namespace aurimo::tool
