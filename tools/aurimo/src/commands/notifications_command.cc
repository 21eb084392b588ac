// aurimo notifications ls: the pending notification requests kept in the state
// folder, one JSON line each, in the order they were added.
// aurimo notifications deliver [--follow]: shows the requests that came due on
// the desktop, through the session bus; with --follow, each at its time, and
// clicks on them reach the app, until SIGINT or SIGTERM.

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "platform/desktop_notification_presenter.h"
#include "platform/directories.h"
#include "platform/un_user_notification_center.h"
#include "support/desktop_delivery.h"
#include "support/event_host.h"
#include "support/notification_json.h"
#include "support/plugins.h"

namespace aurimo::tool {
namespace {

int deliver(bool follow) {
  // Blocked before the bus and the queues start their threads, so the
  // signals wait for the loop, which ends cleanly, instead of killing it.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  int stop = -1;
  if (follow) {
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    stop = ::signalfd(-1, &stopSignals, SFD_CLOEXEC);
    if (stop < 0) return fail(kExitFailure, std::string("notifications: signalfd: ") + std::strerror(errno));
  }
  std::string problem;
  const auto connect = loadPlugin<DesktopEntry>("desktop", kDesktopEntry, problem);
  if (!connect) {
    if (stop >= 0) ::close(stop);
    return fail(kExitFailure, "notifications: " + problem);
  }
  const std::unique_ptr<platform::DesktopNotificationPresenter> presenter(connect(&problem));
  if (!presenter) {
    if (stop >= 0) ::close(stop);
    return fail(kExitFailure, "notifications: no session bus: " + problem);
  }
  {
    DesktopDelivery delivery(*presenter, std::cout);
    problem = follow ? delivery.follow(stop) : delivery.deliverDue();
  }
  if (stop >= 0) ::close(stop);
  return problem.empty() ? kExitSuccess : fail(kExitFailure, "notifications: " + problem);
}

int list() {
  // Only reads: nobody is ever asked anything here.
  platform::UNUserNotificationCenter center(platform::Directories::current().stateDirectory(),
                                            std::make_shared<platform::FixedPerson>(std::nullopt));
  for (const auto& request : pendingRequests(center)) std::cout << EventHost::format(requestJson(request)) << '\n';
  std::cout << std::flush;
  return kExitSuccess;
}

}  // namespace

void addNotificationsCommand(CommandLine& commandLine) {
  auto follow = std::make_shared<bool>(false);
  // Set by the chosen subcommand's callback while parsing; the work waits
  // until the global options (--data-dir) apply.
  auto delivers = std::make_shared<bool>(false);
  CLI::App* command = commandLine.addCommand("notifications", "Show the notification system's state",
                                             [follow, delivers] { return *delivers ? deliver(*follow) : list(); });
  command->add_subcommand("ls", "List the pending requests, one JSON line each");
  CLI::App* deliverCommand = command->add_subcommand(
      "deliver", "Show the requests that came due on the desktop (session D-Bus), one JSON line each");
  deliverCommand->callback([delivers] { *delivers = true; });
  deliverCommand->add_flag("--follow", *follow, "Keep running: show each at its time and report clicks, until SIGINT/SIGTERM");
  command->require_subcommand(1);
}

}  // namespace aurimo::tool
