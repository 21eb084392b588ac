#pragma once
// AppContext: the one object the app creates at launch and hands to every
// screen. It owns every app-wide service, runs the launch bookkeeping
// (account bootstrap, launch counters, reminder schedule, the analytics user
// property) while it is constructed, and answers the feature flags read from
// remote configuration.
//
// Alerts are shown on windows of their own, above everything else; the
// activity indicator covers the top-most screen while long work runs.
//
// Thread contract: main thread only (checked in debug builds): create it, call
// it and destroy it there. The token operations complete on whatever thread
// the account manager completes on.
//
//   auto context = aurimo::AppContext::create(window, account, identification, collections,
//                                             amplitude, appsFlyer, firebase, qonversion);
//   if (context->isMarketplaceEnabled()) showMarketplace(*context);

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app_context/context/alert_action.h"
#include "app_context/context/app_context_protocols.h"
#include "app_context/links/universal_link_manager.h"
#include "app_context/media/photo_library_manager.h"
#include "app_context/notifications/qz_local_user_notification_scheduler.h"
#include "app_context/notifications/qz_user_notification_manager.h"
#include "core_services_kit/core_services_kit.h"
#include "network_kit/network_kit.h"
#include "platform/error.h"
#include "platform/notification_center.h"
#include "platform/services.h"
#include "platform/ui_alert_controller.h"
#include "platform/ui_view_controller.h"
#include "platform/ui_window.h"
#include "remote_services_kit/firebase_remote_config_helper.h"
#include "result_views_kit/global_activity_indicator_view.h"
#include "shared_logic_kit/haptic_feedback_generator.h"
#include "shared_views_kit/qz_cdn_image_loader.h"
#include "toolbox_kit/network_reachability.h"

namespace aurimo {

class AppContextBaseViewController;

class AppContext : public std::enable_shared_from_this<AppContext> {
 public:
  // How the context makes the closed frameworks' objects, and the few
  // framework services it asks. defaults() gives the frameworks' own; a test
  // or a host hands in its stand-ins instead.
  struct Frameworks {
    std::function<std::unique_ptr<SharedLogicKit::HapticFeedbackGenerator>()> makeHapticFeedbackGenerator;
    std::function<std::shared_ptr<RemoteServicesKit::FirebaseRemoteConfigHelper>(const platform::Services&)>
        makeRemoteConfig;
    std::function<std::shared_ptr<CoreServicesKit::CoreServicesKit>(const platform::Services&)> makeCoreServicesKit;
    std::function<std::shared_ptr<SharedViewsKit::QzCDNImageLoader>(
        platform::URL baseCDNURL, std::int64_t screenScale,
        std::shared_ptr<SharedViewsKit::QzCDNImageLoaderDataCacheProtocol> localDataCache,
        std::int64_t maxDownloadingTasksInOneMoment)>
        makeCDNImageLoader;
    std::shared_ptr<ToolboxKit::NetworkReachability> reachability;
    // Where the error alert prints its one console line (stdout by default).
    std::function<void(std::string_view line)> printToConsole;

    static Frameworks defaults();
  };

  // Remote-configuration keys of the flags.
  static constexpr std::string_view kCommunityEnabledKey = "community_octopus_enabled_prod";
  static constexpr std::string_view kCommunityHomeBannerEnabledKey = "community_octopus_hometab_prod";
  static constexpr std::string_view kCoinDescriptionHintsEnabledKey = "coin_tips_prod";
  static constexpr std::string_view kMarketplaceEnabledKey = "marketplace_enabled_prod";
  static constexpr std::string_view kAutocropDefaultEnabledKey = "autocrop_default_enabled_prod";
  // The analytics user property that carries the api server's user identifier.
  static constexpr std::string_view kApiServerUserIdentifierProperty = "api_server_user_id";
  static constexpr std::int64_t kMaxDownloadingTasksInOneMoment = 8;

  // Creates every service and runs the launch bookkeeping, in a fixed order.
  // Stops the process when CoreServicesKit has no request object, when the
  // main screen's scale is not a finite number in the 64-bit range, or when a
  // launch counter would overflow.
  static std::shared_ptr<AppContext> create(
      std::shared_ptr<platform::UIWindow> window, std::shared_ptr<AppContextAccountManagerProtocol> accountManager,
      std::shared_ptr<AppContextIdentificationManagerProtocol> identificationManager,
      std::shared_ptr<AppContextCollectionsManagerProtocol> collectionsManager,
      std::shared_ptr<AppContextAmplitudeAnalyticsManagerProtocol> amplitudeAnalytics,
      std::shared_ptr<AppContextAppsFlyerAnalyticsManagerProtocol> appsFlyerAnalytics,
      std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol> firebaseAnalytics,
      std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol> qonversionAnalytics,
      const platform::Services& services = platform::Services::defaults(),
      const Frameworks& frameworks = Frameworks::defaults());

  ~AppContext();
  AppContext(const AppContext&) = delete;
  AppContext& operator=(const AppContext&) = delete;

  // Feature flags. The first four are read from remote configuration once and
  // kept for the context's life; an absent key reads false.
  bool isCommunityEnabled() const;
  bool isCommunityHomeBannerEnabled() const;
  bool areCoinDescriptionHintsEnabled() const;
  bool isMarketplaceEnabled() const;
  // Read every time: false before OS version 17, else the user's choice, else the remote default.
  bool isAutocropEnabled() const;

  // Keeps the main tab screen, replacing an earlier one.
  template <class Screen>
    requires std::derived_from<Screen, AppContextBaseViewController> &&
             std::derived_from<Screen, MainTabBarControllerProtocol>
  void setTabBarController(std::shared_ptr<Screen> controller) {
    storeTabBarController(controller, controller);
  }
  // Tells the tab screen, if any, then updates the reminder schedule.
  void applicationWillEnterForeground();

  // The last screen presented over the window's root; with `traverseNavigationController`,
  // a navigation controller there gives its top screen instead. Stops the process when
  // the window has no root or that navigation stack is empty.
  std::shared_ptr<platform::UIViewController> getTopMostPresentedViewController(
      bool traverseNavigationController) const;

  // The base URL of `service`: the recognition service has its own.
  std::string getApiUrlForService(NetworkKit::ApiService service) const;

  // Forward to the account manager; its answer comes back unchanged.
  void getFirebaseToken(TokenCompletion completion) const;
  void getFirebaseTokenAndRefreshIt(TokenCompletion completion) const;

  // Alerts (each shown on a QzViewControllerWithSelfControllWindow of its own):
  // a plain alert with the given buttons in order, and the standard error
  // alert, whose text and buttons follow the error's kind. Both return the
  // presented alert, so a caller may dismiss it.
  std::shared_ptr<platform::UIAlertController> showAlert(std::optional<std::string> title,
                                                         std::optional<std::string> message,
                                                         const std::vector<AlertAction>& actions,
                                                         AlertAction::Completion completion);
  std::shared_ptr<platform::UIAlertController> showAlertForError(
      const platform::Error& error, std::optional<std::string> overrideDefaultAlertMessage = std::nullopt,
      std::shared_ptr<platform::UIViewController> presenter = nullptr,
      std::optional<std::vector<AlertAction>> actions = std::nullopt, AlertAction::Completion completion = nullptr);

  // The one full-screen activity indicator, over the top-most screen; a nil
  // title shows one of two default captions at random. The second form
  // reveals a close button after `showCloseButtonAfter` seconds, which hides
  // the indicator and then calls `closeButtonHandler`; until the indicator is
  // hidden, that button keeps the context alive.
  void showGlobalActivityIndicator(std::optional<std::string> title);
  void showGlobalActivityIndicator(std::optional<std::string> title, platform::TimeInterval showCloseButtonAfter,
                                   std::function<void()> closeButtonHandler);
  // Does nothing while the indicator is hidden.
  void hideGlobalActivityIndicator();
  // Made on first use, hidden, and kept for the context's life.
  ResultViewsKit::GlobalActivityIndicatorView& globalActivityIndicatorView();

  // Sets the analytics property "api_server_user_id" from the stored identifier, or removes it.
  void setApiServerUserIdentifierUserProperty();
  // The observer of CoreServicesKit's identifier change; the notification's contents do not matter.
  void didUpdateApiServerUserIdentifier(const platform::Notification& notification);

  // The services, in declaration order.
  const std::shared_ptr<AppContextAccountManagerProtocol>& accountManager() const { return accountManager_; }
  const std::shared_ptr<AppContextIdentificationManagerProtocol>& identificationManager() const {
    return identificationManager_;
  }
  const std::shared_ptr<AppContextCollectionsManagerProtocol>& collectionsManager() const {
    return collectionsManager_;
  }
  SharedLogicKit::HapticFeedbackGenerator& hapticFeedbackGenerator() const { return *hapticFeedbackGenerator_; }
  PhotoLibraryManager& photoLibraryManager() const { return *photoLibraryManager_; }
  // The tab screen as what it is to the context, and as a screen; null until set.
  const std::shared_ptr<MainTabBarControllerProtocol>& tabBarController() const { return tabBarController_; }
  const std::shared_ptr<platform::UIViewController>& tabBarViewController() const { return tabBarViewController_; }
  const std::shared_ptr<AppContextAmplitudeAnalyticsManagerProtocol>& amplitudeAnalytics() const {
    return amplitudeAnalytics_;
  }
  const std::shared_ptr<AppContextAppsFlyerAnalyticsManagerProtocol>& appsFlyerAnalytics() const {
    return appsFlyerAnalytics_;
  }
  const std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol>& firebaseAnalytics() const {
    return firebaseAnalytics_;
  }
  const std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol>& qonversionAnalytics() const {
    return qonversionAnalytics_;
  }
  CoreServicesKit::CoreServicesKit& coreServicesKit() const { return *coreServicesKit_; }
  RemoteServicesKit::FirebaseRemoteConfigHelper& remoteConfig() const { return *remoteConfig_; }
  SharedViewsKit::QzCDNImageLoader& cdnImageLoader() const { return *cdnImageLoader_; }
  const std::shared_ptr<UniversalLinkManager>& universalLinkManager() const { return universalLinkManager_; }
  const std::shared_ptr<QzLocalUserNotificationScheduler>& localUserNotificationScheduler() const {
    return localUserNotificationScheduler_;
  }
  const std::shared_ptr<QzUserNotificationManager>& localUserNotificationManager() const {
    return localUserNotificationManager_;
  }
  const std::shared_ptr<CommunityManagerProtocol>& communityManager() const { return communityManager_; }
  void setCommunityManager(std::shared_ptr<CommunityManagerProtocol> manager);
  const std::shared_ptr<CommunityViewControllerFactoryProtocol>& communityViewControllerFactory() const {
    return communityViewControllerFactory_;
  }
  void setCommunityViewControllerFactory(std::shared_ptr<CommunityViewControllerFactoryProtocol> factory);
  const std::shared_ptr<platform::UIWindow>& window() const { return window_; }
  const platform::Services& services() const { return services_; }

 private:
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  AppContext(Passkey, std::shared_ptr<platform::UIWindow> window,
             std::shared_ptr<AppContextAccountManagerProtocol> accountManager,
             std::shared_ptr<AppContextIdentificationManagerProtocol> identificationManager,
             std::shared_ptr<AppContextCollectionsManagerProtocol> collectionsManager,
             std::shared_ptr<AppContextAmplitudeAnalyticsManagerProtocol> amplitudeAnalytics,
             std::shared_ptr<AppContextAppsFlyerAnalyticsManagerProtocol> appsFlyerAnalytics,
             std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol> firebaseAnalytics,
             std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol> qonversionAnalytics,
             const platform::Services& services, const Frameworks& frameworks);

 private:
  void storeTabBarController(std::shared_ptr<platform::UIViewController> screen,
                             std::shared_ptr<MainTabBarControllerProtocol> controller);
  bool cachedFlag(std::optional<bool>& cache, std::string_view key) const;
  std::string defaultActivityIndicatorCaption() const;
  void handleErrorAlertButton(AlertAction tapped, const platform::Error& error,
                              const std::shared_ptr<platform::UIViewController>& presenter,
                              const std::optional<std::vector<AlertAction>>& actions,
                              const AlertAction::Completion& completion);
  void bootstrapAccount();
  void countLaunch();

  const platform::Services services_;
  const std::shared_ptr<ToolboxKit::NetworkReachability> reachability_;
  const std::function<void(std::string_view)> printToConsole_;

  // Declaration order is the order of the app's own registry; every member is
  // set in the constructor's body, in the launch's order.
  std::shared_ptr<AppContextAccountManagerProtocol> accountManager_;
  std::shared_ptr<AppContextIdentificationManagerProtocol> identificationManager_;
  std::shared_ptr<AppContextCollectionsManagerProtocol> collectionsManager_;
  std::unique_ptr<SharedLogicKit::HapticFeedbackGenerator> hapticFeedbackGenerator_;
  std::unique_ptr<PhotoLibraryManager> photoLibraryManager_;
  std::shared_ptr<MainTabBarControllerProtocol> tabBarController_;
  std::shared_ptr<platform::UIViewController> tabBarViewController_;  // the same object
  std::shared_ptr<AppContextAmplitudeAnalyticsManagerProtocol> amplitudeAnalytics_;
  std::shared_ptr<AppContextAppsFlyerAnalyticsManagerProtocol> appsFlyerAnalytics_;
  std::shared_ptr<AppContextFirebaseAnalyticsManagerProtocol> firebaseAnalytics_;
  std::shared_ptr<AppContextQonversionAnalyticsManagerProtocol> qonversionAnalytics_;
  std::shared_ptr<CoreServicesKit::CoreServicesKit> coreServicesKit_;
  std::shared_ptr<RemoteServicesKit::FirebaseRemoteConfigHelper> remoteConfig_;
  std::shared_ptr<SharedViewsKit::QzCDNImageLoader> cdnImageLoader_;
  std::shared_ptr<UniversalLinkManager> universalLinkManager_;
  std::shared_ptr<QzLocalUserNotificationScheduler> localUserNotificationScheduler_;
  std::shared_ptr<QzUserNotificationManager> localUserNotificationManager_;
  std::shared_ptr<CommunityManagerProtocol> communityManager_;
  std::shared_ptr<CommunityViewControllerFactoryProtocol> communityViewControllerFactory_;
  mutable std::optional<bool> isCommunityEnabled_;
  mutable std::optional<bool> isCommunityHomeBannerEnabled_;
  mutable std::optional<bool> areCoinDescriptionHintsEnabled_;
  mutable std::optional<bool> isMarketplaceEnabled_;
  std::shared_ptr<platform::UIWindow> window_;
  std::shared_ptr<ResultViewsKit::GlobalActivityIndicatorView> globalActivityIndicatorView_;

  // Expires with the context, so the deep-link callback can tell it outlived it.
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
  // Declared last: unregisters first, so the observer never runs on a dying context.
  platform::ObserverToken apiServerUserIdentifierObserver_;
};

}  // namespace aurimo
