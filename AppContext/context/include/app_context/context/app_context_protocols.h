#pragma once
// The protocols the app implements for the managers it hands to AppContext,
// and for the screens and community pieces it plugs in later. They list what
// this library calls; each manager's other work is the app's own business.
//
// Thread contract: AppContext calls every requirement on the main thread;
// token completions may run on any thread.
//
//   class AccountManager final : public aurimo::AppContextAccountManagerProtocol { ... };
//   auto context = aurimo::AppContext::create(window, std::make_shared<AccountManager>(), ...);

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "network_kit/network_kit.h"
#include "platform/error.h"

namespace aurimo {

// Who is signed in, as the account manager knows it.
struct SignInState {
  std::optional<std::string> firebaseUserIdentifier;
  bool isAnonymous = true;

  friend bool operator==(const SignInState&, const SignInState&) = default;
};

// Exactly one of token and error is set.
using TokenCompletion = std::function<void(std::optional<std::string> token, std::optional<platform::Error> error)>;

class AppContextAccountManagerProtocol {
 public:
  virtual ~AppContextAccountManagerProtocol() = default;
  virtual bool isSignedIn() const = 0;
  virtual SignInState signInState() const = 0;
  virtual void getFirebaseToken(TokenCompletion completion) = 0;
  // The same after forcing a refresh of the token.
  virtual void getFirebaseTokenAndRefreshIt(TokenCompletion completion) = 0;
};

// The identification and collections flows belong to their screens; nothing here calls them.
class AppContextIdentificationManagerProtocol {
 public:
  virtual ~AppContextIdentificationManagerProtocol() = default;
};

class AppContextCollectionsManagerProtocol {
 public:
  virtual ~AppContextCollectionsManagerProtocol() = default;
};

class AppContextAmplitudeAnalyticsManagerProtocol {
 public:
  virtual ~AppContextAmplitudeAnalyticsManagerProtocol() = default;
  virtual void setUserProperty(const std::string& key, const std::string& value) = 0;
  virtual void unsetUserProperty(const std::string& key) = 0;
  // Called once, at the end of the context's construction.
  virtual void start() = 0;
};

class AppContextAppsFlyerAnalyticsManagerProtocol {
 public:
  // Takes an opened message's payload: a JSON object of String keys to any values.
  using DeepLinkHandler = std::function<void(const nlohmann::json& payload)>;

  virtual ~AppContextAppsFlyerAnalyticsManagerProtocol() = default;
  virtual void setNetworkKit(std::shared_ptr<NetworkKit::NetworkKit> networkKit) = 0;
  virtual void setDeepLinkHandler(DeepLinkHandler handler) = 0;
};

class AppContextFirebaseAnalyticsManagerProtocol {
 public:
  virtual ~AppContextFirebaseAnalyticsManagerProtocol() = default;
};

class AppContextQonversionAnalyticsManagerProtocol {
 public:
  virtual ~AppContextQonversionAnalyticsManagerProtocol() = default;
};

// The main tab screen; AppContext holds it as a screen that also conforms to this.
class MainTabBarControllerProtocol {
 public:
  virtual ~MainTabBarControllerProtocol() = default;
  // The app came back to the foreground.
  virtual void applicationWillEnterForeground() = 0;
};

class CommunityViewControllerProtocol {
 public:
  virtual ~CommunityViewControllerProtocol() = default;
};

class CommunityManagerProtocol {
 public:
  virtual ~CommunityManagerProtocol() = default;
};

class CommunityViewControllerFactoryProtocol {
 public:
  virtual ~CommunityViewControllerFactoryProtocol() = default;
};

}  // namespace aurimo
