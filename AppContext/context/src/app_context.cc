#include "app_context/context/app_context.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>

#include "app_context/media/cache_helper.h"
#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"
#include "platform/ui_navigation_controller.h"
#include "settings_store_kit/app_settings_storage.h"
#include "settings_store_kit/constants.h"
#include "shared_views_kit/top_most_presented_view_controller.h"

namespace aurimo {
namespace {

using SettingsStoreKit::AppSettingsStorage;
using SettingsStoreKit::Constants;

// Int(scale): truncation, with the platform's trap on what no 64-bit integer holds.
std::int64_t integerScale(double scale) {
  if (!std::isfinite(scale) || scale < -0x1p63 || scale >= 0x1p63) {
    platform::fatalError("the main screen's scale " + std::to_string(scale) + " is not a 64-bit integer");
  }
  return static_cast<std::int64_t>(scale);
}

std::int64_t incremented(std::int64_t count, std::string_view counter) {
  if (count == std::numeric_limits<std::int64_t>::max()) {
    platform::fatalError("the launch counter " + std::string(counter) + " overflowed");
  }
  return count + 1;
}

// A hint's launch counter after this launch: `first` when it had none, one
// more once onboarding is done, else as it was.
std::int64_t nextHintCount(std::optional<std::int64_t> count, bool didShowOnboarding, std::int64_t first,
                           std::string_view counter) {
  if (!count) return first;
  return didShowOnboarding ? incremented(*count, counter) : *count;
}

}  // namespace

AppContext::Frameworks AppContext::Frameworks::defaults() {
  return Frameworks{
      .makeHapticFeedbackGenerator = [] { return SharedLogicKit::HapticFeedbackGenerator::make(); },
      .makeRemoteConfig = [](const platform::Services& s) { return RemoteServicesKit::FirebaseRemoteConfigHelper::make(s); },
      .makeCoreServicesKit = [](const platform::Services& s) { return CoreServicesKit::CoreServicesKit::make(s); },
      .makeCDNImageLoader =
          [](platform::URL url, std::int64_t scale,
             std::shared_ptr<SharedViewsKit::QzCDNImageLoaderDataCacheProtocol> cache, std::int64_t tasks) {
            return SharedViewsKit::QzCDNImageLoader::make(std::move(url), scale, std::move(cache), tasks);
          },
      .reachability = ToolboxKit::NetworkReachability::slot().shared(),
      .printToConsole = [](std::string_view line) { std::printf("%.*s\n", static_cast<int>(line.size()), line.data()); },
  };
}

std::shared_ptr<AppContext> AppContext::create(
    std::shared_ptr<platform::UIWindow> window, std::shared_ptr<AppContextAccountManagerProtocol> accountManager,
    std::shared_ptr<AppContextIdentificationManagerProtocol> identificationManager,
    std::shared_ptr<AppContextCollectionsManagerProtocol> collectionsManager,
    std::shared_ptr<AppContextAmplitudeAnalyticsManagerProtocol> amplitudeAnalytics,
    std::shared_ptr<AppContextAppsFlyerAnalyticsManagerProtocol> appsFlyerAnalytics,
    std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol> firebaseAnalytics,
    std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol> qonversionAnalytics,
    const platform::Services& services, const Frameworks& frameworks) {
  return std::make_shared<AppContext>(Passkey(), std::move(window), std::move(accountManager),
                                      std::move(identificationManager), std::move(collectionsManager),
                                      std::move(amplitudeAnalytics), std::move(appsFlyerAnalytics),
                                      std::move(firebaseAnalytics), std::move(qonversionAnalytics), services,
                                      frameworks);
}

AppContext::AppContext(Passkey, std::shared_ptr<platform::UIWindow> window,
                       std::shared_ptr<AppContextAccountManagerProtocol> accountManager,
                       std::shared_ptr<AppContextIdentificationManagerProtocol> identificationManager,
                       std::shared_ptr<AppContextCollectionsManagerProtocol> collectionsManager,
                       std::shared_ptr<AppContextAmplitudeAnalyticsManagerProtocol> amplitudeAnalytics,
                       std::shared_ptr<AppContextAppsFlyerAnalyticsManagerProtocol> appsFlyerAnalytics,
                       std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol> firebaseAnalytics,
                       std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol> qonversionAnalytics,
                       const platform::Services& services, const Frameworks& frameworks)
    : services_(services), reachability_(frameworks.reachability), printToConsole_(frameworks.printToConsole) {
  platform::dispatchPreconditionOnMain();
  // The order of these steps is part of the launch's contract: the frameworks
  // and the app's managers see their calls in exactly this sequence.
  hapticFeedbackGenerator_ = frameworks.makeHapticFeedbackGenerator();
  photoLibraryManager_ = std::make_unique<PhotoLibraryManager>(services_.photoLibrary);
  tabBarController_ = nullptr;
  remoteConfig_ = frameworks.makeRemoteConfig(services_);
  universalLinkManager_ = UniversalLinkManager::create(services_);
  localUserNotificationScheduler_ = QzLocalUserNotificationScheduler::create(services_);
  localUserNotificationManager_ = QzUserNotificationManager::create(services_);
  window_ = std::move(window);

  accountManager_ = std::move(accountManager);
  identificationManager_ = std::move(identificationManager);
  collectionsManager_ = std::move(collectionsManager);
  amplitudeAnalytics_ = std::move(amplitudeAnalytics);
  appsFlyerAnalytics_ = std::move(appsFlyerAnalytics);
  firebaseAnalytics_ = std::move(firebaseAnalytics);
  qonversionAnalytics_ = std::move(qonversionAnalytics);

  platform::UserDefaults& defaults = *services_.userDefaults;
  hapticFeedbackGenerator_->setEnabled(AppSettingsStorage::hapticFeedbackGenerator_isEnabled(defaults));

  coreServicesKit_ = frameworks.makeCoreServicesKit(services_);
  std::shared_ptr<NetworkKit::NetworkKit> networkKit = coreServicesKit_->networkKit();
  if (!networkKit) platform::fatalError("CoreServicesKit has no networkKit request object");
  appsFlyerAnalytics_->setNetworkKit(std::move(networkKit));

  cdnImageLoader_ = frameworks.makeCDNImageLoader(Constants::CDN::baseURL(), integerScale(services_.screen->scale()),
                                                  std::make_shared<CacheHelper>(), kMaxDownloadingTasksInOneMoment);

  // Unowned in spirit: the context must outlive the analytics manager's use of
  // the callback, and a call after that is a defect worth stopping for.
  appsFlyerAnalytics_->setDeepLinkHandler(
      [this, alive = std::weak_ptr<const bool>(alive_)](const nlohmann::json& payload) {
        if (alive.expired()) platform::fatalError("the deep-link callback ran after its AppContext was destroyed");
        universalLinkManager_->handleActionPayload(payload);
      });

  bootstrapAccount();
  countLaunch();
  localUserNotificationScheduler_->updateSchedule(nullptr);
  amplitudeAnalytics_->start();
  apiServerUserIdentifierObserver_ = services_.notificationCenter->addObserver(
      CoreServicesKit::CoreServicesKit::apiServerUserIdentifierDidChangeNotification(), nullptr,
      [this](const platform::Notification& notification) { didUpdateApiServerUserIdentifier(notification); });
  setApiServerUserIdentifierUserProperty();
}

AppContext::~AppContext() {
  platform::dispatchPreconditionOnMain();
  apiServerUserIdentifierObserver_.remove();
}

void AppContext::bootstrapAccount() {
  platform::UserDefaults& defaults = *services_.userDefaults;
  const bool appVersionIsUpdated = AppSettingsStorage::AppContext::appVersionIsUpdated(defaults);
  SignInState state = accountManager_->signInState();
  if (AppSettingsStorage::CoreServicesKit::currentUserAccountIdentifier(defaults)) {
    coreServicesKit_->repairFirebaseConnectionIfNeed(std::move(state.firebaseUserIdentifier), state.isAnonymous);
  } else {
    coreServicesKit_->createFirstUserAccount(std::move(state.firebaseUserIdentifier), state.isAnonymous);
  }
  coreServicesKit_->userAccountInitializationCompleted(appVersionIsUpdated);
}

void AppContext::countLaunch() {
  using Launches = AppSettingsStorage::AppContext;
  using Home = AppSettingsStorage::Home;
  platform::UserDefaults& defaults = *services_.userDefaults;
  Launches::setCompletedAppLaunchCountSinceAppVersion_1_2(
      incremented(Launches::completedAppLaunchCountSinceAppVersion_1_2(defaults),
                  "AppContext.completedAppLaunchCountSinceAppVersion_1_2"),
      defaults);

  // The two hints start from mirror-image values on purpose: before onboarding
  // the scroll hint counts as further along, after it the AI hint does.
  const bool didShowOnboarding = AppSettingsStorage::didShowOnboarding(defaults);
  if (!Home::didShowScrollHint(defaults)) {
    Home::setCompletedAppLaunchCountSinceScrollHintAddition(
        nextHintCount(Home::completedAppLaunchCountSinceScrollHintAddition(defaults), didShowOnboarding,
                      didShowOnboarding ? 1 : 2, "Home.completedAppLaunchCountSinceScrollHintAddition"),
        defaults);
  }
  if (!Home::didShowAIHint(defaults)) {
    Home::setCompletedAppLaunchCountSinceAIAddition(
        nextHintCount(Home::completedAppLaunchCountSinceAIAddition(defaults), didShowOnboarding,
                      didShowOnboarding ? 2 : 1, "Home.completedAppLaunchCountSinceAIAddition"),
        defaults);
  }
}

bool AppContext::cachedFlag(std::optional<bool>& cache, std::string_view key) const {
  platform::dispatchPreconditionOnMain();
  if (!cache) cache = remoteConfig_->getCachedBoolValueForKey(key).value_or(false);
  return *cache;
}

bool AppContext::isCommunityEnabled() const { return cachedFlag(isCommunityEnabled_, kCommunityEnabledKey); }
bool AppContext::isCommunityHomeBannerEnabled() const {
  return cachedFlag(isCommunityHomeBannerEnabled_, kCommunityHomeBannerEnabledKey);
}
bool AppContext::areCoinDescriptionHintsEnabled() const {
  return cachedFlag(areCoinDescriptionHintsEnabled_, kCoinDescriptionHintsEnabledKey);
}
bool AppContext::isMarketplaceEnabled() const { return cachedFlag(isMarketplaceEnabled_, kMarketplaceEnabledKey); }

bool AppContext::isAutocropEnabled() const {
  platform::dispatchPreconditionOnMain();
  if (!services_.device->isOperatingSystemAtLeast(17)) return false;
  if (std::optional<bool> chosen = AppSettingsStorage::Identification::autocropIsEnabledByUser(*services_.userDefaults)) {
    return *chosen;
  }
  return remoteConfig_->getCachedBoolValueForKey(kAutocropDefaultEnabledKey).value_or(false);
}

void AppContext::storeTabBarController(std::shared_ptr<platform::UIViewController> screen,
                                       std::shared_ptr<MainTabBarControllerProtocol> controller) {
  platform::dispatchPreconditionOnMain();
  tabBarViewController_ = std::move(screen);
  tabBarController_ = std::move(controller);
}

void AppContext::applicationWillEnterForeground() {
  platform::dispatchPreconditionOnMain();
  if (tabBarController_) tabBarController_->applicationWillEnterForeground();
  localUserNotificationScheduler_->updateSchedule(nullptr);
}

std::shared_ptr<platform::UIViewController> AppContext::getTopMostPresentedViewController(
    bool traverseNavigationController) const {
  platform::dispatchPreconditionOnMain();
  const std::shared_ptr<platform::UIViewController>& root = window_->rootViewController();
  if (!root) platform::fatalError("the app's window has no root view controller");
  std::shared_ptr<platform::UIViewController> top = SharedViewsKit::topMostPresentedViewController(root);
  auto* navigation = dynamic_cast<platform::UINavigationController*>(top.get());
  if (!traverseNavigationController || !navigation) return top;
  if (navigation->viewControllers().empty()) {
    platform::fatalError("the top-most navigation controller has an empty stack");
  }
  return navigation->viewControllers().back();
}

std::string AppContext::getApiUrlForService(NetworkKit::ApiService service) const {
  return std::string(service == NetworkKit::ApiService::recognition ? Constants::apiRecognitionBaseUrl
                                                                    : Constants::apiBaseUrl);
}

void AppContext::getFirebaseToken(TokenCompletion completion) const {
  accountManager_->getFirebaseToken(std::move(completion));
}

void AppContext::getFirebaseTokenAndRefreshIt(TokenCompletion completion) const {
  accountManager_->getFirebaseTokenAndRefreshIt(std::move(completion));
}

void AppContext::setApiServerUserIdentifierUserProperty() {
  const std::string property(kApiServerUserIdentifierProperty);
  if (std::optional<std::string> identifier =
          AppSettingsStorage::CoreServicesKit::apiServerUserIdentifier(*services_.userDefaults)) {
    amplitudeAnalytics_->setUserProperty(property, *identifier);
  } else {
    amplitudeAnalytics_->unsetUserProperty(property);
  }
}

void AppContext::didUpdateApiServerUserIdentifier(const platform::Notification&) {
  setApiServerUserIdentifierUserProperty();
}

void AppContext::setCommunityManager(std::shared_ptr<CommunityManagerProtocol> manager) {
  platform::dispatchPreconditionOnMain();
  communityManager_ = std::move(manager);
}

void AppContext::setCommunityViewControllerFactory(std::shared_ptr<CommunityViewControllerFactoryProtocol> factory) {
  platform::dispatchPreconditionOnMain();
  communityViewControllerFactory_ = std::move(factory);
}

}  // namespace aurimo
