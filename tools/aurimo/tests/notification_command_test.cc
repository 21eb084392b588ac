// The notification events of `aurimo run` and `aurimo notifications ls`, in
// a fixed TZ: each answer's broadcasts and pending requests, and the state
// kept between launches.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/command_runner.h"

namespace aurimo::test {
namespace {

const std::string kChanged = R"({"name":"QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification","userInfo":{"new":)";
const std::string kSetup = R"({"name":"QzUserNotificationManager.didInitialSetupNotificationsPermissonsOrChanged","userInfo":{"authStatus":)";
const std::string kRequested = R"({"name":"QzUserNotificationManager.didRequestAuthorizationNotification","userInfo":{"authStatus":)";
const std::string kDiscount = R"({"identifier":"discount_reminder","category":"DiscountReminder","trigger":{"year":null,"month":null,"day":null,"hour":19,"minute":0,"second":0}})";
const std::string kTrial = R"({"identifier":"trial_expiration_reminder","category":"TrialExpirationReminder","trigger":{"year":2099,"month":1,"day":17,"hour":10,"minute":0,"second":0}})";
const std::string kBoth = R"(],"pending":[)" + kDiscount + "," + kTrial + "]}";
const std::string kForegroundCalls = R"(,"calls":[{"call":"tabBarController.applicationWillEnterForeground"}]})";

TEST(NotificationCommandTest, EventsAnswerWithTheirBroadcastsAndThePendingRequestsKeptBetweenLaunches) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::vector<std::string> run = {"--data-dir", aurimo.path("data"), "run"};
  aurimo.expectRun({
      // The launch sees an undecided user: no broadcast, nothing to update.
      {R"({"event":"notificationSystem","status":"authorized"})", R"({"event":"notificationSystem","broadcasts":[],"pending":[]})"},
      // The refresh finds the change; the scheduler answers the foreground and the change.
      {R"({"event":"foreground"})", R"({"event":"foreground","broadcasts":[)" + kChanged + "true}}," + kSetup + R"(true}}],"pending":[)" + kDiscount + "]" + kForegroundCalls},
      {R"({"event":"foreground"})", R"({"event":"foreground","broadcasts":[],"pending":[)" + kDiscount + "]" + kForegroundCalls},
      // The day before ends at 21:30 in Berlin, so it moves to 10:00 the next morning.
      {R"({"event":"trialReminder","start":"2099-01-10T12:00:00+01:00","end":"2099-01-17T20:30:00Z"})", R"({"event":"trialReminder","broadcasts":[)" + kBoth},
      {R"({"event":"trialReminder","start":"2000-01-01T00:00:00Z","end":"2000-01-03T00:00:00Z"})", R"({"event":"trialReminder","broadcasts":[)" + kBoth},
      {R"({"event":"notificationTap","category":"TrialExpirationReminder"})", R"({"event":"notificationTap","broadcasts":[{"name":"QzUserNotificationManager.userNotificationOpensAppNotification","userInfo":{"actionType":"trialExpiration"}})" + kBoth},
      {R"({"event":"notificationSystem","status":"notDetermined","answer":false})", R"({"event":"notificationSystem","broadcasts":[)" + kBoth},
      // The refusal changes the stored permission; the update then leaves the reminders alone.
      {R"({"event":"requestNotificationPermission"})", R"({"event":"requestNotificationPermission","broadcasts":[)" + kChanged + "false}}," + kRequested + "false}}," + kSetup + "false}}" + kBoth},
      {R"({"event":"notificationSystem","status":"Authorized"})", R"({"error":"notificationSystem: \"status\" must be notDetermined, denied, authorized, provisional or ephemeral"})"},
      {R"({"event":"notificationSystem","answer":"yes"})", R"({"error":"notificationSystem: \"answer\" must be true or false"})"},
      {R"({"event":"trialReminder","start":"2099-02-29T00:00:00Z","end":"2099-03-17T20:30:00Z"})", R"({"error":"trialReminder: \"start\" is not an ISO 8601 date and time"})"},
      // A regression: the offset once wrapped this end to 1677 and the reminder silently vanished.
      {R"({"event":"trialReminder","start":"2099-01-10T12:00:00Z","end":"2262-04-11T23:47:15-23:59"})", R"({"error":"trialReminder: \"end\" is out of range: dates run from 1677-09-21T00:12:45Z to 2262-04-11T23:47:15Z"})"},
      {R"({"event":"notificationTap"})", R"({"error":"notificationTap: \"category\" is missing"})"},
  }, run);
  EXPECT_EQ(aurimo({"notifications", "ls", "--data-dir", aurimo.path("data")}).out, kDiscount + "\n" + kTrial + "\n");

  // A later launch remembers the refusal; allowed again in the system
  // settings, the next foreground announces the change.
  aurimo.expectRun({
      {R"({"event":"notificationSystem","status":"authorized"})", R"({"event":"notificationSystem","broadcasts":[)" + kBoth},
      {R"({"event":"foreground"})", R"({"event":"foreground","broadcasts":[)" + kChanged + "true}}," + kSetup + R"(true}}],"pending":[)" + kTrial + "," + kDiscount + "]" + kForegroundCalls},
  }, run);

  // What the launch's refresh broadcasts is answered once: by a launch event,
  // else by the run's first notification event.
  for (const bool explicitLaunch : {false, true}) {
    const std::string data = aurimo.path(explicitLaunch ? "explicit" : "implicit");
    aurimo.expectRun({{R"({"event":"notificationSystem","status":"authorized"})", "*"}}, {"--data-dir", data, "run"});
    const std::string launchBroadcasts = kChanged + "true}}," + kSetup + "true}}";
    aurimo.expectRun({
        explicitLaunch ? Exchange{R"({"event":"launch"})", R"({"event":"launch",*"broadcasts":[)" + launchBroadcasts + "],*"}
                       : Exchange{R"({"event":"resetRoute"})", "*"},
        {R"({"event":"notificationSystem"})", R"({"event":"notificationSystem","broadcasts":[)" + (explicitLaunch ? "" : launchBroadcasts) + "],*"},
    }, {"--data-dir", data, "run"});
  }

  // A time without offset is local: 15:00 in New York, and the reminder a day before.
  aurimo.zone = "America/New_York";
  aurimo.expectRun({{R"({"event":"trialReminder","start":"2099-01-01T00:00:00Z","end":"2099-01-10T15:00:00.5"})", R"({"event":"trialReminder","broadcasts":[],"pending":[{"identifier":"trial_expiration_reminder","category":"TrialExpirationReminder","trigger":{"year":2099,"month":1,"day":9,"hour":15,"minute":0,"second":0}}]})"}},
                   {"--data-dir", aurimo.path("new-york"), "run"});
}

}  // namespace
}  // namespace aurimo::test
