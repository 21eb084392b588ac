// The application context's events of `aurimo run`: one launch per run (the
// first event launches when no launch event does), what the launch calls, and
// the settings, remote values and device kept for the next run.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "events/events.h"
#include "testing/command_runner.h"
#include "testing/environment.h"

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

// Regressions: a failed save answered as if kept. Each store, on a full or a
// read-only disk: the answer keeps its fields and adds "error" (alone for a
// refusal), and what was saved before stays on disk as it was.
TEST(AppEventsTest, ASaveThatFailsSaysSoAndLeavesTheEarlierFile) {
  const struct {
    const char* name;
    void (FaultyFileManager::*inject)(bool);
    const char* reported;
  } faults[] = {{"disk full", &FaultyFileManager::failWritesWithDiskFull, "No space left on device"},
                {"read-only", &FaultyFileManager::denyPermission, "Permission denied"}};
  const struct {
    std::vector<std::string> saved;  // while the disk works
    std::string failing;             // the same store once it fails
    const char* file;                // under the environment's root; a folder by its names
    const char* kept;                // a field the failing answer still has; null: an error alone
    bool givesReason = true;         // the user defaults tell why on stderr only
  } saves[] = {
      {{R"({"event":"settings","set":{"didShowOnboarding":true}})"}, R"({"event":"settings","set":{"didShowOnboarding":false}})", "data/user-defaults.json", "settings", false},
      {{R"({"event":"trialReminder","start":"2099-01-01T00:00Z","end":"2099-01-10T12:00Z"})"}, R"({"event":"trialReminder","start":"2099-01-01T00:00Z","end":"2099-02-10T12:00Z"})", "data/user_notifications.json", "pending"},
      {{R"({"event":"photoPermission","answer":"authorized"})"}, R"({"event":"photoPermission","answer":"denied"})", "data/photo_library.json", nullptr},
      {{R"({"event":"photoPermission","answer":"authorized"})", R"({"event":"savePhoto","base64":"aGk="})"}, R"({"event":"savePhoto","base64":"aGk="})", "Pictures/Aurimo", "photo"},
  };
  const auto onDisk = [](const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) return slurp(path);
    std::string names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) names += entry.path().filename().string() + "\n";
    return names;
  };
  for (const auto& fault : faults) {
    for (const auto& save : saves) {
      SCOPED_TRACE(std::string(fault.name) + ": " + save.failing);
      Environment env;
      tool::EventHost host;
      tool::registerAllEvents(host);
      for (const std::string& line : save.saved) ASSERT_FALSE(host.handleLine(line)->contains("error"));
      const std::string before = onDisk(env.root() / save.file);

      (*env.files.*fault.inject)(true);
      const nlohmann::ordered_json answer = *host.handleLine(save.failing);
      (*env.files.*fault.inject)(false);
      const std::string error = answer.value("error", "");
      EXPECT_NE(error.find(save.givesReason ? fault.reported : "could not be saved"), std::string::npos) << answer.dump();
      EXPECT_EQ(answer.contains("event"), save.kept != nullptr) << answer.dump();
      EXPECT_TRUE(!save.kept || answer.contains(save.kept)) << answer.dump();
      EXPECT_EQ(onDisk(env.root() / save.file), before);
    }
  }
}

}  // namespace
}  // namespace aurimo::test
