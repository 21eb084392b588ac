// aurimo info: one JSON line with the version, the universal-link host and the
// folders in use.

#include <iostream>
#include <string>

#include <nlohmann/json.hpp>

#include "app_context/links/universal_link_manager.h"
#include "commands/commands.h"
#include "platform/directories.h"
#include "support/event_host.h"

namespace aurimo::tool {

void addInfoCommand(CommandLine& commandLine) {
  commandLine.addCommand("info", "Print the version, the universal-link host and the folders in use", [] {
    const platform::Directories& directories = platform::Directories::current();
    nlohmann::ordered_json info;
    info["version"] = AURIMO_VERSION;
    info["universalLinkHost"] = std::string(UniversalLinkManager::universalLinkHost);
    info["settingsDirectory"] = directories.settingsDirectory().string();
    info["stateDirectory"] = directories.stateDirectory().string();
    info["cachesDirectory"] = directories.cachesDirectory().string();
    std::cout << EventHost::format(info) << '\n';
    return kExitSuccess;
  });
}

}  // namespace aurimo::tool
