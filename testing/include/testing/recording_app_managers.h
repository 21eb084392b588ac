#pragma once
// Stand-ins for the app's seven managers and for the closed frameworks'
// objects AppContext makes, each recording every call made on it, in order,
// in one CallLog as {"call": NAME, ...arguments}. Tests read the log to check
// the launch's sequence; the aurimo host prints it.
//
// Thread contract: the stand-ins are called on the main thread, as the
// context calls them; the log itself is safe from any thread.
//
//   auto log = std::make_shared<test::CallLog>();
//   test::RecordingAppManagers app(log);
//   auto context = app.launch(window, services, test::recordingFrameworks(log));

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "app_context/context/app_context.h"
#include "app_context/screens/app_context_base_view_controller.h"

namespace aurimo::test {

class CallLog {
 public:
  void record(nlohmann::ordered_json call);
  std::size_t count() const;
  // The calls from index `mark` on, as a JSON array.
  nlohmann::ordered_json since(std::size_t mark) const;
  // Just the names, from `mark` on.
  std::vector<std::string> names(std::size_t mark = 0) const;

 private:
  mutable std::mutex mutex_;
  std::vector<nlohmann::ordered_json> calls_;  // guarded by mutex_
};

class RecordingAccountManager final : public AppContextAccountManagerProtocol {
 public:
  explicit RecordingAccountManager(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}

  // What signInState() answers; the host's launch event sets it.
  SignInState state;
  // What the token calls complete with: a token, or an error when set.
  std::string token = "token";
  std::optional<platform::Error> tokenError;

  bool isSignedIn() const override { return state.firebaseUserIdentifier.has_value(); }
  SignInState signInState() const override;
  void getFirebaseToken(TokenCompletion completion) override;
  void getFirebaseTokenAndRefreshIt(TokenCompletion completion) override;

 private:
  std::shared_ptr<CallLog> log_;
};

class RecordingAmplitudeAnalytics final : public AppContextAmplitudeAnalyticsManagerProtocol {
 public:
  explicit RecordingAmplitudeAnalytics(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}
  void setUserProperty(const std::string& key, const std::string& value) override;
  void unsetUserProperty(const std::string& key) override;
  void start() override;

 private:
  std::shared_ptr<CallLog> log_;
};

class RecordingAppsFlyerAnalytics final : public AppContextAppsFlyerAnalyticsManagerProtocol {
 public:
  explicit RecordingAppsFlyerAnalytics(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}
  void setNetworkKit(std::shared_ptr<NetworkKit::NetworkKit> networkKit) override;
  void setDeepLinkHandler(DeepLinkHandler handler) override;

  // Plays AppsFlyer resolving a deep link: calls the handler the context gave, if any.
  bool deliverDeepLink(const nlohmann::json& payload) const;
  const std::shared_ptr<NetworkKit::NetworkKit>& networkKit() const { return networkKit_; }

 private:
  std::shared_ptr<CallLog> log_;
  std::shared_ptr<NetworkKit::NetworkKit> networkKit_;
  DeepLinkHandler handler_;
};

// A screen that answers every action a control sends it and remembers the last one.
class RecordingScreen : public AppContextBaseViewController {
 public:
  bool respondsTo(const platform::Selector&) const override { return true; }
  bool perform(const platform::Selector& selector) override {
    received_ = selector.name;
    return true;
  }
  // The last action received, forgotten once read.
  std::optional<std::string> takeReceivedAction() { return std::exchange(received_, std::nullopt); }

 private:
  std::optional<std::string> received_;
};

// The main tab screen, recording the context's foreground call.
class RecordingTabBarController final : public RecordingScreen, public MainTabBarControllerProtocol {
 public:
  explicit RecordingTabBarController(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}
  void applicationWillEnterForeground() override;
  std::string_view className() const override { return "MainTabBarController"; }

 private:
  std::shared_ptr<CallLog> log_;
};

// The seven managers the app hands to AppContext.
struct RecordingAppManagers {
  explicit RecordingAppManagers(std::shared_ptr<CallLog> log);

  // AppContext::create with these managers.
  std::shared_ptr<AppContext> launch(std::shared_ptr<platform::UIWindow> window, const platform::Services& services,
                                     const AppContext::Frameworks& frameworks) const;

  std::shared_ptr<CallLog> log;
  std::shared_ptr<RecordingAccountManager> accountManager;
  std::shared_ptr<AppContextIdentificationManagerProtocol> identificationManager;
  std::shared_ptr<AppContextCollectionsManagerProtocol> collectionsManager;
  std::shared_ptr<RecordingAmplitudeAnalytics> amplitudeAnalytics;
  std::shared_ptr<RecordingAppsFlyerAnalytics> appsFlyerAnalytics;
  std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol> firebaseAnalytics;
  std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol> qonversionAnalytics;
};

// `frameworks` with each object it makes wrapped to record its creation and
// the calls the context makes on it.
AppContext::Frameworks recordingFrameworks(std::shared_ptr<CallLog> log,
                                           AppContext::Frameworks frameworks = AppContext::Frameworks::defaults());

}  // namespace aurimo::test
