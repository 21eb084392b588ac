#pragma once
// NetworkReachability: whether the device has a network path, the question
// URLSession.isNetworkReachable() answers. current() is a replaceable
// process-wide service; the default one looks at this machine: a default
// route in /proc/net/route, or else any interface that is up, running and not
// a loopback.
//
// Thread contract: any thread.
//
//   if (!ToolboxKit::URLSession::isNetworkReachable()) showOffline();
//   platform::ScopedReplacement offline(ToolboxKit::NetworkReachability::slot(),
//                                       std::make_shared<ToolboxKit::FixedNetworkReachability>(false));

#include <atomic>
#include <memory>

#include "platform/replaceable.h"

namespace aurimo::ToolboxKit {

class NetworkReachability {
 public:
  virtual ~NetworkReachability() = default;
  virtual bool isNetworkReachable() const = 0;

  static NetworkReachability& current() { return slot().get(); }
  // The default reads the machine's routes and interfaces on every question.
  static platform::Replaceable<NetworkReachability>& slot();
};

// An answer set by hand (tests, and hosts that play a device).
class FixedNetworkReachability final : public NetworkReachability {
 public:
  explicit FixedNetworkReachability(bool reachable) : reachable_(reachable) {}
  bool isNetworkReachable() const override { return reachable_.load(std::memory_order_relaxed); }
  void setReachable(bool reachable) { reachable_.store(reachable, std::memory_order_relaxed); }

 private:
  std::atomic<bool> reachable_;
};

struct URLSession {
  static bool isNetworkReachable() { return NetworkReachability::current().isNetworkReachable(); }
};

}  // namespace aurimo::ToolboxKit
