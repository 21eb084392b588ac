#include "toolbox_kit/network_reachability.h"

#include <ifaddrs.h>
#include <net/if.h>

#include <fstream>
#include <sstream>
#include <string>

namespace aurimo::ToolboxKit {
namespace {

// A line of /proc/net/route whose destination is 0.0.0.0 and that is up (RTF_UP).
bool hasDefaultRoute() {
  std::ifstream routes("/proc/net/route");
  std::string line;
  std::getline(routes, line);  // the header
  while (std::getline(routes, line)) {
    std::istringstream fields(line);
    std::string interface, destination, gateway;
    unsigned flags = 0;
    if (!(fields >> interface >> destination >> gateway >> std::hex >> flags)) continue;
    if (destination == "00000000" && (flags & 0x1) != 0) return true;
  }
  return false;
}

bool hasUsableInterface() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return false;
  bool found = false;
  for (ifaddrs* entry = list; entry && !found; entry = entry->ifa_next) {
    const unsigned flags = entry->ifa_flags;
    found = (flags & IFF_UP) && (flags & IFF_RUNNING) && !(flags & IFF_LOOPBACK);
  }
  ::freeifaddrs(list);
  return found;
}

class MachineReachability final : public NetworkReachability {
 public:
  bool isNetworkReachable() const override { return hasDefaultRoute() || hasUsableInterface(); }
};

}  // namespace

platform::Replaceable<NetworkReachability>& NetworkReachability::slot() {
  static platform::Replaceable<NetworkReachability> instance([] { return std::make_shared<MachineReachability>(); });
  return instance;
}

}  // namespace aurimo::ToolboxKit
