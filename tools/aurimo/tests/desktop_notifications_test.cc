// `aurimo notifications deliver` against a private session bus whose
// notification service is python3-dbusmock's, started by the bus on first
// use, so no test reaches the user's own bus.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <sdbus-c++/sdbus-c++.h>

#include "testing/command_runner.h"

namespace aurimo::test {
namespace {

// A shell command with its stdout on a pipe; killed if still running at the end.
class Child {
 public:
  explicit Child(const std::string& command) {
    int fds[2];
    if (::pipe(fds) != 0) std::abort();
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(fds[1], STDOUT_FILENO);
      ::execl("/bin/sh", "sh", "-c", ("exec env " + command).c_str(), static_cast<char*>(nullptr));
      ::_exit(127);
    }
    ::close(fds[1]);
    out_ = fds[0];
  }
  ~Child() {
    if (pid_ > 0) stop(SIGKILL);
    ::close(out_);
  }
  // The next line, or "" at the end or after a deadline that only a hang reaches.
  std::string line() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (;;) {
      if (const auto end = buffer_.find('\n'); end != std::string::npos) {
        std::string line = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        return line;
      }
      pollfd fd{out_, POLLIN, 0};
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      char chunk[4096];
      const ssize_t got = left.count() > 0 && ::poll(&fd, 1, static_cast<int>(left.count())) > 0 ? ::read(out_, chunk, sizeof chunk) : 0;
      if (got <= 0) return "";
      buffer_.append(chunk, static_cast<std::size_t>(got));
    }
  }
  // Sends `signal` and returns the exit status (-1: ended by a signal).
  int stop(int signal) {
    ::kill(pid_, signal);
    int status = 0;
    ::waitpid(std::exchange(pid_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid_ = 0;
  int out_ = -1;
  std::string buffer_;
};

// One request in the centre's saved form; `due` in nanoseconds since 1970.
std::string request(const std::string& id, const std::string& category, bool repeats, long long due) {
  return R"({"identifier":")" + id + R"(","content":{"title":")" + id + R"( title","subtitle":"","body":")" + id +
         R"( body","categoryIdentifier":")" + category + R"(","threadIdentifier":"","userInfo":{},"sound":null,"badge":null},)" +
         R"("trigger":{"type":"calendar","repeats":)" + (repeats ? "true" : "false") +
         R"(,"dateComponents":{"hour":10}},"fireDate":)" + (repeats ? "null,\"nextDate\":" : "") + std::to_string(due) + "}";
}

class DesktopNotifications : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::system("command -v dbus-daemon >/dev/null") != 0) GTEST_SKIP() << "needs dbus-daemon";
    if (std::system("/usr/bin/python3 -c 'import dbusmock' 2>/dev/null") != 0) GTEST_SKIP() << "needs python3-dbusmock";
    std::filesystem::create_directories(aurimo.path("services"));
    std::ofstream(aurimo.path("services") + "/n.service")
        << "[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/usr/bin/python3 -m dbusmock --template "
           "notification_daemon --logfile " << aurimo.path("shown.log") << "\n";
    std::ofstream(aurimo.path("bus.conf"))
        << "<busconfig><type>session</type><listen>unix:tmpdir=" << aurimo.root().string() << "</listen><servicedir>"
        << aurimo.path("services") << "</servicedir><auth>EXTERNAL</auth><policy context=\"default\">"
        << "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>";
    bus_ = std::make_unique<Child>("dbus-daemon --nofork --print-address --config-file=" + aurimo.path("bus.conf") + " 2>" + aurimo.path("bus.err"));
    address_ = bus_->line();
    ASSERT_FALSE(address_.empty());
  }
  std::string deliver(const std::string& arguments) const {
    return "DBUS_SESSION_BUS_ADDRESS=" + CommandRunner::quoted(address_) + " " +
           aurimo.command({"notifications", "deliver"}) + arguments + " 2>" + aurimo.path("err");
  }
  void saveState(const std::vector<std::string>& requests) const {
    std::string list;
    for (const std::string& r : requests) list += (list.empty() ? "" : ",") + r;
    std::filesystem::create_directories(aurimo.path("state/aurimo"));
    std::ofstream(aurimo.path("state/aurimo/next")) << R"({"authorizationStatus":2,"pendingRequests":[)" << list << "]}";
    std::filesystem::rename(aurimo.path("state/aurimo/next"), aurimo.path("state/aurimo/user_notifications.json"));
  }
  void click(std::uint32_t id) const {
    auto connection = sdbus::createSessionBusConnectionWithAddress(address_);
    auto mock = sdbus::createProxy(*connection, "org.freedesktop.Notifications", "/org/freedesktop/Notifications");
    mock->callMethod("EmitSignal").onInterface("org.freedesktop.DBus.Mock")
        .withArguments(std::string("org.freedesktop.Notifications"), std::string("ActionInvoked"), std::string("us"),
                       std::vector<sdbus::Variant>{sdbus::Variant(id), sdbus::Variant(std::string("default"))});
  }

  CommandRunner aurimo{AURIMO_BINARY};
  std::unique_ptr<Child> bus_;
  std::string address_;
};

const std::string kDelivered = R"(,"options":16,"broadcasts":[{"name":"QzUserNotificationManager.userGetPushNotification","userInfo":{}}]})";

TEST_F(DesktopNotifications, DueRequestsAreShownOnceAndRepeatingOnesStayPending) {
  saveState({request("trial", "TrialExpirationReminder", false, 946684800'000'000'000),
             request("daily", "Tip", true, 946684800'000'000'000),
             request("later", "TrialExpirationReminder", false, 4'000'000'000'000'000'000)});
  Child first(deliver(""));
  EXPECT_EQ(first.line(), R"({"event":"delivered","identifier":"trial","category":"TrialExpirationReminder","title":"trial title","id":1)" + kDelivered);
  EXPECT_EQ(first.line(), R"({"event":"delivered","identifier":"daily","category":"Tip","title":"daily title","id":2)" + kDelivered);
  EXPECT_EQ(first.line(), "");
  EXPECT_EQ(first.stop(0), 0);
  const std::string shown = slurp(aurimo.path("shown.log"));
  EXPECT_NE(shown.find(R"(Notify "aurimo" 0 "" "trial title" "trial body" ["default", "Open"] {"category": "TrialExpirationReminder", "desktop-entry": "aurimo"} -1)"), std::string::npos) << shown;
  EXPECT_TRUE(aurimo.matches(R"({"identifier":"daily",*}*{"identifier":"later",*)", aurimo({"notifications", "ls"}).out));
  Child again(deliver(""));
  EXPECT_EQ(again.line(), "");
  EXPECT_EQ(again.stop(0), 0);
}

TEST_F(DesktopNotifications, FollowingShowsNewRequestsAndAClickIsATapUntilTerminated) {
  saveState({request("first", "Tip", false, 0)});
  Child follow(deliver(" --follow"));
  EXPECT_TRUE(aurimo.matches(R"({"event":"delivered","identifier":"first",*)", follow.line()));
  saveState({request("soon", "TrialExpirationReminder", false, 0)});  // now it waits: this wakes it
  EXPECT_EQ(follow.line(), R"({"event":"delivered","identifier":"soon","category":"TrialExpirationReminder","title":"soon title","id":2)" + kDelivered);
  click(7);  // not one of ours
  click(2);
  EXPECT_TRUE(aurimo.matches(R"({"event":"tapped","identifier":"soon","category":"TrialExpirationReminder","id":2,"broadcasts":[{"name":"QzUserNotificationManager.userNotificationOpensAppNotification","userInfo":{"actionType":"trialExpiration"}}],"pending":*)", follow.line()));
  EXPECT_EQ(follow.stop(SIGTERM), 0);
  EXPECT_EQ(slurp(aurimo.path("err")), "");
}

TEST_F(DesktopNotifications, WithoutASessionBusItSaysSoAndFails) {
  address_ = "unix:path=" + aurimo.path("no-bus");
  Child run(deliver(""));
  EXPECT_EQ(run.line(), "");
  EXPECT_EQ(run.stop(0), 1);
  EXPECT_TRUE(aurimo.matches("aurimo: notifications: no session bus: *\n", slurp(aurimo.path("err"))));
}

}  // namespace
}  // namespace aurimo::test
