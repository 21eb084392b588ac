// The application context's events of `aurimo run`: one launch per run (the
// first event launches when no launch event does), what the launch calls, and
// the settings, remote values and device kept for the next run.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/command_runner.h"

namespace aurimo::test {
namespace {

// The launch's calls up to the account bootstrap, which differs between runs.
const std::string kLaunchStart =
    R"({"event":"launch","calls":[{"call":"HapticFeedbackGenerator.init"},{"call":"FirebaseRemoteConfigHelper.init"},)"
    R"({"call":"HapticFeedbackGenerator.setEnabled","isEnabled":*},{"call":"CoreServicesKit.init"},{"call":"appsFlyerAnalytics.setNetworkKit"},)"
    R"({"call":"QzCDNImageLoader.init","baseCDNURL":"https://cdn.aurimo.app/","screenScale":*,"maxDownloadingTasksInOneMoment":8},)"
    R"({"call":"appsFlyerAnalytics.setDeepLinkHandler"},{"call":"accountManager.signInState"},)";
const std::string kFlags = R"({"event":"flags","isCommunityEnabled":false,"isCommunityHomeBannerEnabled":false,"areCoinDescriptionHintsEnabled":)";

TEST(AppEventsTest, OneLaunchPerRunAndWhatItLeavesForTheNext) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::vector<std::string> run = {"--data-dir", aurimo.path("data"), "run"};
  aurimo.expectRun({
      {R"({"event":"launch","account":{"firebaseUserIdentifier":null,"isAnonymous":true}})",
       kLaunchStart + R"({"call":"CoreServicesKit.createFirstUserAccount","firebaseIdentifier":null,"isAnonymous":true},)"
                      R"({"call":"CoreServicesKit.userAccountInitializationCompleted","appVersionIsUpdated":false},{"call":"amplitudeAnalytics.start"},)"
                      R"({"call":"amplitudeAnalytics.unsetUserProperty","key":"api_server_user_id"}],"settings":{*"AppContext.completedAppLaunchCountSinceAppVersion_1_2":1,"CoreServicesKit.currentUserAccountIdentifier":1,*"Home.completedAppLaunchCountSinceScrollHintAddition":2,"Home.completedAppLaunchCountSinceAIAddition":1,*},"broadcasts":[],"pending":[]})"},
      {R"({"event":"launch"})", R"({"error":"launch: the app is already running; launch once per run"})"},
      {R"({"event":"flags"})", kFlags + R"(false,"isMarketplaceEnabled":false,"isAutocropEnabled":false})"},
      // Read once: the remote value counts from the next run, except for autocrop.
      {R"({"event":"remoteConfig","values":{"coin_tips_prod":true,"autocrop_default_enabled_prod":true,"x":null}})",
       R"({"event":"remoteConfig","values":{"autocrop_default_enabled_prod":true,"coin_tips_prod":true}})"},
      {R"({"event":"flags"})", kFlags + R"(false,"isMarketplaceEnabled":false,"isAutocropEnabled":true})"},
      {R"({"event":"remoteConfig","values":{"coin_tips_prod":1}})", R"({"error":"remoteConfig: \"coin_tips_prod\" must be true, false or null"})"},
      {R"({"event":"settings","set":{"didShowOnboarding":true,"Home.didShowAIHint":true}})", R"({"event":"settings","settings":{*"didShowOnboarding":true,*"Home.didShowAIHint":true,*}})"},
      {R"({"event":"settings","set":{"didShowOnboarding":false,"Home.didShowScrollHint":"yes"}})", R"({"error":"settings: \"Home.didShowScrollHint\" must be true or false or null"})"},
      {R"({"event":"settings","set":{"Home.unknown":1}})", R"({"error":"settings: unknown setting \"Home.unknown\""})"},
      {R"({"event":"apiServerUserIdentifier","value":"u-7"})", R"({"event":"apiServerUserIdentifier","calls":[{"call":"amplitudeAnalytics.setUserProperty","key":"api_server_user_id","value":"u-7"}]})"},
      {R"({"event":"device","screenScale":1e300})", R"({"error":"device: \"screenScale\" must be a finite number within the 64-bit integer range"})"},
      {R"({"event":"device","systemVersion":"16.4","screenScale":2.9})", R"({"event":"device","systemVersion":"16.4","modelName":"iPhone 15","screenScale":2.9,"networkReachable":true,"buildNumber":"1"})"},
      {R"({"event":"apiUrl","service":1})", R"({"event":"apiUrl","service":1,"url":"https://recognition.aurimo.app/"})"},
      {R"({"event":"apiUrl","service":0})", R"({"event":"apiUrl","service":0,"url":"https://api.aurimo.app/"})"},
      {R"({"event":"apiUrl","service":4})", R"({"error":"apiUrl: \"service\" must be a service ordinal from 0 to 3"})"},
      {R"({"event":"appsFlyerDeepLink","payload":{"action":"home_tab"}})", R"({"event":"appsFlyerDeepLink","route":{"case":"homeTab"},"announcements":1,"onboardingVersion":null})"},
  }, run);

  // The next run launches with the default account at its first event: a
  // returning user, onboarded, on system 16 with a 2x screen.
  aurimo.expectRun({
      {R"({"event":"flags"})", kFlags + R"(true,"isMarketplaceEnabled":false,"isAutocropEnabled":false})"},
      {R"({"event":"launch"})", R"({"error":"launch: the app is already running; launch once per run"})"},
      {R"({"event":"settings"})", R"({"event":"settings","settings":{*"AppContext.completedAppLaunchCountSinceAppVersion_1_2":2,*"Home.completedAppLaunchCountSinceScrollHintAddition":3,"Home.completedAppLaunchCountSinceAIAddition":1,*}})"},
  }, run);
  EXPECT_TRUE(aurimo.matches(kLaunchStart + R"({"call":"CoreServicesKit.repairFirebaseConnectionIfNeed","firebaseUserIdentifier":"fb","isAnonymous":false},*{"call":"amplitudeAnalytics.setUserProperty","key":"api_server_user_id","value":"u-7"}],*)",
                             aurimo(run, R"({"event":"launch","account":{"firebaseUserIdentifier":"fb","isAnonymous":false}})").out));
}

}  // namespace
}  // namespace aurimo::test
