// aurimo: drives the app-context library from the command line; see README.md.
#include "commands/commands.h"

int main(int argc, char** argv) {
  aurimo::tool::CommandLine commandLine;
  aurimo::tool::addCommandsFor(commandLine, argc, argv);
  return commandLine.run(argc, argv);
}
