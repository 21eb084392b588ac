#pragma once
// CoreServicesKit: the app's central business-logic object. The stand-in
// keeps the account bookkeeping a launch relies on: a first account gets the
// next local identifier, stored as AppSettingsStorage's
// CoreServicesKit.currentUserAccountIdentifier, so the next launch repairs it
// instead of creating one.
//
// Thread contract: main thread only, like the context that owns it.
//
//   std::shared_ptr<CoreServicesKit::CoreServicesKit> core = CoreServicesKit::CoreServicesKit::make(services);
//   if (!core->networkKit()) platform::fatalError("no request object");

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "network_kit/network_kit.h"
#include "platform/error.h"
#include "platform/notification_center.h"
#include "platform/services.h"

namespace aurimo::CoreServicesKit {

// The framework's failures; the ordinal is the stored value and the code of
// their platform error.
enum class CoreServicesKitError : std::int32_t {
  noInternetConnection = 0,
  storeConnectionFailure = 1,
  serviceNotResponding = 2,
  unauthorized = 3,
  retryableFailure = 4,
};

inline constexpr std::string_view kCoreServicesKitErrorDomain = "CoreServicesKit.CoreServicesKitError";

// The platform error of `error` (domain kCoreServicesKitErrorDomain, code = ordinal).
platform::Error makeError(CoreServicesKitError error);
// The case an error of this framework stands for; nullopt for any other error.
std::optional<CoreServicesKitError> coreServicesKitError(const platform::Error& error);

class CoreServicesKit {
 public:
  virtual ~CoreServicesKit() = default;

  // "CoreServicesKit.apiServerUserIdentifierDidChangeNotification", posted on the
  // default centre when the api server's identifier for the user changes.
  static platform::NotificationName apiServerUserIdentifierDidChangeNotification();

  // The default object, keeping its settings in `services.userDefaults`.
  static std::shared_ptr<CoreServicesKit> make(const platform::Services& services);

  // The request object; set by the time the object is made (null is a defect).
  virtual std::shared_ptr<NetworkKit::NetworkKit> networkKit() const = 0;

  virtual void repairFirebaseConnectionIfNeed(std::optional<std::string> firebaseUserIdentifier, bool isAnonymous) = 0;
  virtual void createFirstUserAccount(std::optional<std::string> firebaseIdentifier, bool isAnonymous) = 0;
  virtual void userAccountInitializationCompleted(bool appVersionIsUpdated) = 0;
};

}  // namespace aurimo::CoreServicesKit
