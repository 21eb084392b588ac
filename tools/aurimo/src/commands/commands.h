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
// Only the subcommand `argv` names, when it plainly names one (after any
// --data-dir DIR); every subcommand otherwise (--help, a mistyped name...).
// Start-up then builds one subcommand's options, not all of them.
void addCommandsFor(CommandLine& commandLine, int argc, const char* const* argv);

}  // namespace aurimo::tool
