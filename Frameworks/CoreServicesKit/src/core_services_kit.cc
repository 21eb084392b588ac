#include "core_services_kit/core_services_kit.h"

#include <string>
#include <utility>

#include "platform/dispatch_queue.h"
#include "settings_store_kit/app_settings_storage.h"

namespace aurimo::CoreServicesKit {
namespace {

using Settings = SettingsStoreKit::AppSettingsStorage::CoreServicesKit;

constexpr std::string_view kDescriptions[] = {
    "The Internet connection appears to be offline.",
    "Cannot connect to the store.",
    "The service is not responding.",
    "The user is not authorized.",
    "The request failed; try again.",
};

class CoreServicesKitImpl final : public CoreServicesKit {
 public:
  explicit CoreServicesKitImpl(platform::Services services)
      : services_(std::move(services)), networkKit_(std::make_shared<NetworkKit::NetworkKit>("Aurimo")) {}

  std::shared_ptr<NetworkKit::NetworkKit> networkKit() const override { return networkKit_; }

  void repairFirebaseConnectionIfNeed(std::optional<std::string>, bool) override {
    platform::dispatchPreconditionOnMain();
  }

  void createFirstUserAccount(std::optional<std::string>, bool) override {
    platform::dispatchPreconditionOnMain();
    // Local identifiers count up, so a reinstall never reuses one it can still see.
    platform::UserDefaults& defaults = *services_.userDefaults;
    const std::int64_t next = Settings::currentUserAccountIdentifier(defaults).value_or(0) + 1;
    Settings::setCurrentUserAccountIdentifier(next, defaults);
  }

  void userAccountInitializationCompleted(bool) override { platform::dispatchPreconditionOnMain(); }

 private:
  const platform::Services services_;
  const std::shared_ptr<NetworkKit::NetworkKit> networkKit_;
};

}  // namespace

platform::Error makeError(CoreServicesKitError error) {
  const auto ordinal = static_cast<std::int32_t>(error);
  return platform::Error(std::string(kCoreServicesKitErrorDomain), ordinal, std::string(kDescriptions[ordinal]));
}

std::optional<CoreServicesKitError> coreServicesKitError(const platform::Error& error) {
  if (error.domain() != kCoreServicesKitErrorDomain) return std::nullopt;
  if (error.code() < 0 || error.code() >= static_cast<std::int64_t>(std::size(kDescriptions))) return std::nullopt;
  return static_cast<CoreServicesKitError>(error.code());
}

platform::NotificationName CoreServicesKit::apiServerUserIdentifierDidChangeNotification() {
  static const platform::NotificationName name("CoreServicesKit.apiServerUserIdentifierDidChangeNotification");
  return name;
}

std::shared_ptr<CoreServicesKit> CoreServicesKit::make(const platform::Services& services) {
  return std::make_shared<CoreServicesKitImpl>(services);
}

}  // namespace aurimo::CoreServicesKit
