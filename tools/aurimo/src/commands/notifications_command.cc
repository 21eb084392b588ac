// aurimo notifications ls: the pending notification requests kept in the state
// folder, one JSON line each, in the order they were added.

#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "platform/directories.h"
#include "platform/un_user_notification_center.h"
#include "support/event_host.h"
#include "support/notification_json.h"

namespace aurimo::tool {

void addNotificationsCommand(CommandLine& commandLine) {
  // "ls" is its only subcommand so far, and a required one.
  CLI::App* command = commandLine.addCommand("notifications", "Show the notification system's state", [] {
    // Only reads: nobody is ever asked anything here.
    platform::UNUserNotificationCenter center(platform::Directories::current().stateDirectory(),
                                              std::make_shared<platform::FixedPerson>(std::nullopt));
    for (const auto& request : pendingRequests(center)) std::cout << EventHost::format(requestJson(request)) << '\n';
    std::cout << std::flush;
    return kExitSuccess;
  });
  command->add_subcommand("ls", "List the pending requests, one JSON line each");
  command->require_subcommand(1);
}

}  // namespace aurimo::tool
