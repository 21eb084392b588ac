#pragma once
// FirebaseRemoteConfigHelper: the remote configuration the app last fetched,
// read by key. Linux fetches nothing: the default helper keeps its cached
// values in "remote-config.json" in the state folder, where a host (or a
// person) puts them; a damaged file is moved aside and reported, and the
// cache starts empty.
//
// Thread contract: any thread.
//
//   std::shared_ptr<FirebaseRemoteConfigHelper> remote = FirebaseRemoteConfigHelper::make(services);
//   bool enabled = remote->getCachedBoolValueForKey("coin_tips_prod").value_or(false);

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/services.h"

namespace aurimo::RemoteServicesKit {

class FirebaseRemoteConfigHelper {
 public:
  static constexpr std::string_view kFileName = "remote-config.json";

  virtual ~FirebaseRemoteConfigHelper() = default;

  // The default helper over `services.directories->stateDirectory() / kFileName`.
  static std::shared_ptr<FirebaseRemoteConfigHelper> make(const platform::Services& services);

  // nullopt when the key is unknown or was never fetched.
  virtual std::optional<bool> getCachedBoolValueForKey(std::string_view key) const = 0;

  // What a fetch would leave: sets (or, with nullopt, forgets) cached values and
  // persists them. Returns false when they could not be saved (kept in memory).
  virtual bool setCachedBoolValues(const std::map<std::string, std::optional<bool>>& values) = 0;
  // Every cached value, by key.
  virtual std::map<std::string, bool> cachedBoolValues() const = 0;
};

}  // namespace aurimo::RemoteServicesKit
