// Runs the built `aurimo` with notification events in a temporary data folder
// and a fixed TZ, and checks each answer line and the pending requests kept.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace aurimo {
namespace {

namespace fs = std::filesystem;

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

std::string slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) result.push_back(line);
  return result;
}

class NotificationCommandTest : public ::testing::Test {
 protected:
  NotificationCommandTest() {
    std::string pattern = (fs::temp_directory_path() / "aurimo-notification-command-XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~NotificationCommandTest() override { fs::remove_all(root_); }

  // Runs with settings and state in `data`, stdin not a terminal.
  Outcome aurimo(const std::string& zone, const std::string& data, const std::vector<std::string>& arguments,
                 const std::string& input = "") {
    std::ofstream(root_ / "stdin") << input;
    std::string command = "HOME='" + root_.string() + "' TZ='" + zone + "' " + AURIMO_BINARY + " --data-dir '" +
                          (root_ / data).string() + "'";
    for (const std::string& argument : arguments) command += " '" + argument + "'";
    command += " <'" + (root_ / "stdin").string() + "' >'" + (root_ / "stdout").string() + "' 2>'" +
               (root_ / "stderr").string() + "'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(root_ / "stdout"), slurp(root_ / "stderr")};
  }

  fs::path root_;
};

const std::string kChanged = R"({"name":"QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification","userInfo":{"new":)";
const std::string kSetup = R"({"name":"QzUserNotificationManager.didInitialSetupNotificationsPermissonsOrChanged","userInfo":{"authStatus":)";
const std::string kRequested = R"({"name":"QzUserNotificationManager.didRequestAuthorizationNotification","userInfo":{"authStatus":)";
const std::string kDiscount =
    R"({"identifier":"discount_reminder","category":"DiscountReminder","trigger":{"year":null,"month":null,"day":null,"hour":19,"minute":0,"second":0}})";
const std::string kTrial =
    R"({"identifier":"trial_expiration_reminder","category":"TrialExpirationReminder","trigger":{"year":2099,"month":1,"day":17,"hour":10,"minute":0,"second":0}})";

TEST_F(NotificationCommandTest, RunAnswersEachEventWithItsBroadcastsAndThePendingRequests) {
  struct Step {
    std::string in;
    std::string out;
  };
  const std::vector<Step> steps = {
      // The launch sees an undecided user: no broadcast, nothing to update.
      {R"({"event":"notificationSystem","status":"authorized"})",
       R"({"event":"notificationSystem","broadcasts":[],"pending":[]})"},
      // The refresh finds the change; the scheduler answers the foreground and the change.
      {R"({"event":"foreground"})",
       R"({"event":"foreground","broadcasts":[)" + kChanged + "true}}," + kSetup + R"(true}}],"pending":[)" + kDiscount + "]}"},
      {R"({"event":"foreground"})", R"({"event":"foreground","broadcasts":[],"pending":[)" + kDiscount + "]}"},
      // The day before ends at 21:30 in Berlin, so it moves to 10:00 the next morning.
      {R"({"event":"trialReminder","start":"2099-01-10T12:00:00+01:00","end":"2099-01-17T20:30:00Z"})",
       R"({"event":"trialReminder","broadcasts":[],"pending":[)" + kDiscount + "," + kTrial + "]}"},
      {R"({"event":"trialReminder","start":"2000-01-01T00:00:00Z","end":"2000-01-03T00:00:00Z"})",
       R"({"event":"trialReminder","broadcasts":[],"pending":[)" + kDiscount + "," + kTrial + "]}"},
      {R"({"event":"notificationTap","category":"TrialExpirationReminder"})",
       R"({"event":"notificationTap","broadcasts":[{"name":"QzUserNotificationManager.userNotificationOpensAppNotification","userInfo":{"actionType":"trialExpiration"}}],"pending":[)" +
           kDiscount + "," + kTrial + "]}"},
      {R"({"event":"notificationSystem","status":"notDetermined","answer":false})",
       R"({"event":"notificationSystem","broadcasts":[],"pending":[)" + kDiscount + "," + kTrial + "]}"},
      // The refusal changes the stored permission; the update then leaves the reminders alone.
      {R"({"event":"requestNotificationPermission"})",
       R"({"event":"requestNotificationPermission","broadcasts":[)" + kChanged + "false}}," + kRequested + "false}}," +
           kSetup + R"(false}}],"pending":[)" + kDiscount + "," + kTrial + "]}"},
      {R"({"event":"notificationSystem","status":"Authorized"})",
       R"({"error":"notificationSystem: \"status\" must be notDetermined, denied, authorized, provisional or ephemeral"})"},
      {R"({"event":"trialReminder","start":"2099-02-29T00:00:00Z","end":"2099-03-17T20:30:00Z"})",
       R"({"error":"trialReminder: \"start\" is not an ISO 8601 date and time"})"},
      {R"({"event":"notificationTap"})", R"({"error":"notificationTap: \"category\" is missing"})"},
  };
  std::string script;
  for (const Step& step : steps) script += step.in + "\n";
  const Outcome run = aurimo("Europe/Berlin", "data", {"run"}, script);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  const std::vector<std::string> got = lines(run.out);
  ASSERT_EQ(got.size(), steps.size()) << run.out;
  for (std::size_t i = 0; i < steps.size(); ++i) EXPECT_EQ(got[i], steps[i].out) << steps[i].in;

  // The system side keeps its state in the data folder.
  const Outcome ls = aurimo("Europe/Berlin", "data", {"notifications", "ls"});
  EXPECT_EQ(ls.status, 0);
  EXPECT_EQ(ls.out, kDiscount + "\n" + kTrial + "\n");
  EXPECT_EQ(aurimo("Europe/Berlin", "empty", {"notifications", "ls"}).out, "");
  // 20:00 UTC is 15:00 in New York: a day before it is kept; a local time without offset is local.
  for (const char* end : {"2099-01-10T20:00:00Z", "2099-01-10T15:00:00.5"}) {
    EXPECT_EQ(aurimo("America/New_York", "new-york", {"run"},
                     std::string(R"({"event":"trialReminder","start":"2099-01-01T00:00:00Z","end":")") + end + "\"}\n")
                  .out,
              R"({"event":"trialReminder","broadcasts":[],"pending":[{"identifier":"trial_expiration_reminder","category":"TrialExpirationReminder","trigger":{"year":2099,"month":1,"day":9,"hour":15,"minute":0,"second":0}}]})"
              "\n");
  }
  EXPECT_EQ(aurimo("Europe/Berlin", "empty", {"notifications"}).status, 2);

  // A later launch remembers the refusal; allowed again in the system settings,
  // the next foreground announces the change.
  const Outcome again = aurimo("Europe/Berlin", "data", {"run"},
                               R"({"event":"notificationSystem","status":"authorized"})"
                               "\n"
                               R"({"event":"foreground"})"
                               "\n");
  EXPECT_EQ(lines(again.out),
            (std::vector<std::string>{R"({"event":"notificationSystem","broadcasts":[],"pending":[)" + kDiscount + "," +
                                          kTrial + "]}",
                                      R"({"event":"foreground","broadcasts":[)" + kChanged + "true}}," + kSetup +
                                          R"(true}}],"pending":[)" + kTrial + "," + kDiscount + "]}"}));
}

}  // namespace

}  // namespace aurimo
