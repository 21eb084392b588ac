#include "testing/recording_app_managers.h"

#include <utility>

namespace aurimo::test {
namespace {

using Json = nlohmann::ordered_json;

Json call(const char* name) { return Json{{"call", name}}; }

Json optionalText(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

class RecordingHaptics final : public SharedLogicKit::HapticFeedbackGenerator {
 public:
  RecordingHaptics(std::shared_ptr<CallLog> log, std::unique_ptr<HapticFeedbackGenerator> wrapped)
      : log_(std::move(log)), wrapped_(std::move(wrapped)) {}
  bool isEnabled() const override { return wrapped_->isEnabled(); }
  void setEnabled(bool isEnabled) override {
    Json entry = call("HapticFeedbackGenerator.setEnabled");
    entry["isEnabled"] = isEnabled;
    log_->record(std::move(entry));
    wrapped_->setEnabled(isEnabled);
  }
  void impactOccurred() override { wrapped_->impactOccurred(); }

 private:
  std::shared_ptr<CallLog> log_;
  std::unique_ptr<HapticFeedbackGenerator> wrapped_;
};

class RecordingCoreServicesKit final : public CoreServicesKit::CoreServicesKit {
 public:
  RecordingCoreServicesKit(std::shared_ptr<CallLog> log, std::shared_ptr<CoreServicesKit> wrapped)
      : log_(std::move(log)), wrapped_(std::move(wrapped)) {}

  std::shared_ptr<NetworkKit::NetworkKit> networkKit() const override { return wrapped_->networkKit(); }

  void repairFirebaseConnectionIfNeed(std::optional<std::string> firebaseUserIdentifier, bool isAnonymous) override {
    Json entry = call("CoreServicesKit.repairFirebaseConnectionIfNeed");
    entry["firebaseUserIdentifier"] = optionalText(firebaseUserIdentifier);
    entry["isAnonymous"] = isAnonymous;
    log_->record(std::move(entry));
    wrapped_->repairFirebaseConnectionIfNeed(std::move(firebaseUserIdentifier), isAnonymous);
  }
  void createFirstUserAccount(std::optional<std::string> firebaseIdentifier, bool isAnonymous) override {
    Json entry = call("CoreServicesKit.createFirstUserAccount");
    entry["firebaseIdentifier"] = optionalText(firebaseIdentifier);
    entry["isAnonymous"] = isAnonymous;
    log_->record(std::move(entry));
    wrapped_->createFirstUserAccount(std::move(firebaseIdentifier), isAnonymous);
  }
  void userAccountInitializationCompleted(bool appVersionIsUpdated) override {
    Json entry = call("CoreServicesKit.userAccountInitializationCompleted");
    entry["appVersionIsUpdated"] = appVersionIsUpdated;
    log_->record(std::move(entry));
    wrapped_->userAccountInitializationCompleted(appVersionIsUpdated);
  }

 private:
  std::shared_ptr<CallLog> log_;
  std::shared_ptr<CoreServicesKit> wrapped_;
};

}  // namespace

void CallLog::record(nlohmann::ordered_json call) {
  std::lock_guard lock(mutex_);
  calls_.push_back(std::move(call));
}

std::size_t CallLog::count() const {
  std::lock_guard lock(mutex_);
  return calls_.size();
}

nlohmann::ordered_json CallLog::since(std::size_t mark) const {
  std::lock_guard lock(mutex_);
  Json list = Json::array();
  for (std::size_t i = mark; i < calls_.size(); ++i) list.push_back(calls_[i]);
  return list;
}

std::vector<std::string> CallLog::names(std::size_t mark) const {
  std::vector<std::string> names;
  for (const Json& entry : since(mark)) names.push_back(entry["call"].get<std::string>());
  return names;
}

SignInState RecordingAccountManager::signInState() const {
  log_->record(call("accountManager.signInState"));
  return state;
}

void RecordingAccountManager::getFirebaseToken(TokenCompletion completion) {
  log_->record(call("accountManager.getFirebaseToken"));
  tokenError ? completion(std::nullopt, tokenError) : completion(token, std::nullopt);
}

void RecordingAccountManager::getFirebaseTokenAndRefreshIt(TokenCompletion completion) {
  log_->record(call("accountManager.getFirebaseTokenAndRefreshIt"));
  tokenError ? completion(std::nullopt, tokenError) : completion(token + "-refreshed", std::nullopt);
}

void RecordingAmplitudeAnalytics::setUserProperty(const std::string& key, const std::string& value) {
  log_->record(Json{{"call", "amplitudeAnalytics.setUserProperty"}, {"key", key}, {"value", value}});
}

void RecordingAmplitudeAnalytics::unsetUserProperty(const std::string& key) {
  log_->record(Json{{"call", "amplitudeAnalytics.unsetUserProperty"}, {"key", key}});
}

void RecordingAmplitudeAnalytics::start() { log_->record(call("amplitudeAnalytics.start")); }

void RecordingAppsFlyerAnalytics::setNetworkKit(std::shared_ptr<NetworkKit::NetworkKit> networkKit) {
  log_->record(call("appsFlyerAnalytics.setNetworkKit"));
  networkKit_ = std::move(networkKit);
}

void RecordingAppsFlyerAnalytics::setDeepLinkHandler(DeepLinkHandler handler) {
  log_->record(call("appsFlyerAnalytics.setDeepLinkHandler"));
  handler_ = std::move(handler);
}

bool RecordingAppsFlyerAnalytics::deliverDeepLink(const nlohmann::json& payload) const {
  if (!handler_) return false;
  handler_(payload);
  return true;
}

void RecordingTabBarController::applicationWillEnterForeground() {
  log_->record(call("tabBarController.applicationWillEnterForeground"));
}

RecordingAppManagers::RecordingAppManagers(std::shared_ptr<CallLog> callLog)
    : log(std::move(callLog)),
      accountManager(std::make_shared<RecordingAccountManager>(log)),
      identificationManager(std::make_shared<AppContextIdentificationManagerProtocol>()),
      collectionsManager(std::make_shared<AppContextCollectionsManagerProtocol>()),
      amplitudeAnalytics(std::make_shared<RecordingAmplitudeAnalytics>(log)),
      appsFlyerAnalytics(std::make_shared<RecordingAppsFlyerAnalytics>(log)),
      firebaseAnalytics(std::make_shared<AppContextFirebaseAnalyticsManagerProtocol>()),
      qonversionAnalytics(std::make_shared<AppContextQonversionAnalyticsManagerProtocol>()) {}

std::shared_ptr<AppContext> RecordingAppManagers::launch(std::shared_ptr<platform::UIWindow> window,
                                                         const platform::Services& services,
                                                         const AppContext::Frameworks& frameworks) const {
  return AppContext::create(std::move(window), accountManager, identificationManager, collectionsManager,
                            amplitudeAnalytics, appsFlyerAnalytics, firebaseAnalytics, qonversionAnalytics, services,
                            frameworks);
}

AppContext::Frameworks recordingFrameworks(std::shared_ptr<CallLog> log, AppContext::Frameworks frameworks) {
  frameworks.makeHapticFeedbackGenerator =
      [log, make = std::move(frameworks.makeHapticFeedbackGenerator)]()
      -> std::unique_ptr<SharedLogicKit::HapticFeedbackGenerator> {
    log->record(call("HapticFeedbackGenerator.init"));
    return std::make_unique<RecordingHaptics>(log, make());
  };
  frameworks.makeRemoteConfig = [log, make = std::move(frameworks.makeRemoteConfig)](const platform::Services& services) {
    log->record(call("FirebaseRemoteConfigHelper.init"));
    return make(services);
  };
  frameworks.makeCoreServicesKit =
      [log, make = std::move(frameworks.makeCoreServicesKit)](
          const platform::Services& services) -> std::shared_ptr<CoreServicesKit::CoreServicesKit> {
    log->record(call("CoreServicesKit.init"));
    return std::make_shared<RecordingCoreServicesKit>(log, make(services));
  };
  frameworks.makeCDNImageLoader = [log, make = std::move(frameworks.makeCDNImageLoader)](
                                      platform::URL url, std::int64_t scale,
                                      std::shared_ptr<SharedViewsKit::QzCDNImageLoaderDataCacheProtocol> cache,
                                      std::int64_t tasks) {
    log->record(Json{{"call", "QzCDNImageLoader.init"},
                     {"baseCDNURL", url.absoluteString()},
                     {"screenScale", scale},
                     {"maxDownloadingTasksInOneMoment", tasks}});
    return make(std::move(url), scale, std::move(cache), tasks);
  };
  return frameworks;
}

}  // namespace aurimo::test
