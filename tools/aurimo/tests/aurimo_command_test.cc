// The `aurimo` command as a user runs it: the subcommands' answers, exit
// statuses and error lines, and the link events of `run`.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "testing/command_runner.h"

namespace aurimo::test {
namespace {

namespace fs = std::filesystem;

const std::string kLink = "https://links.aurimo.app/events/";

TEST(AurimoCommandTest, RunAnswersEachLinkEventLineInOrder) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string link = R"({"event":"link","url":")" + kLink;
  const std::string explore = R"("route":{"case":"explore","articleIdentifier":null},)";
  const std::string reset = R"({"event":"resetRoute","route":null,"announcements":0,"onboardingVersion":-3})";
  const std::vector<Exchange> exchanges = {
      {"# narration and blank lines get no answer", ""},
      {"", ""},
      {link + R"(explore"})", R"({"event":"link","handled":true,)" + explore + R"("announcements":1,"onboardingVersion":null})"},
      {link + R"(onboarding?version=-3"})", R"({"event":"link","handled":true,)" + explore + R"("announcements":0,"onboardingVersion":-3})"},
      {link + R"(home_tab","activityType":"other"})", R"({"event":"link","handled":false,)" + explore + R"("announcements":0,"onboardingVersion":-3})"},
      {R"({"event":"payload","payload":{"action":"make_sn_purchase_offer","sn_event":"spring"}})", R"({"event":"payload","route":{"case":"openSmartNews","eventName":"spring"},"announcements":1,"onboardingVersion":-3})"},
      {R"({"event":"payload","payload":{"action":"identification","type":"coin"}})", R"({"event":"payload","route":{"case":"coinIdentification"},"announcements":1,"onboardingVersion":-3})"},
      {link + R"(home_tab/"})", R"({"event":"link","handled":true,"route":{"case":"homeTab"},"announcements":1,"onboardingVersion":-3})"},
      {R"({"event":"payload","payload":{"action":"open_app"}})", R"({"event":"payload","route":null,"announcements":0,"onboardingVersion":-3})"},
      {R"({"event":"resetRoute"})", reset},
      // Bytes that are not UTF-8 must not stop the run.
      {link + R"(explore?identifier=%FF"})", "{\"event\":\"link\",\"handled\":true,\"route\":{\"case\":\"explore\",\"articleIdentifier\":\"\xEF\xBF\xBD\"},\"announcements\":1,\"onboardingVersion\":-3}"},
      {R"({"event":"teleport"})", R"({"error":"unknown event \"teleport\""})"},
      {"[1]", R"({"error":"an event must be a JSON object"})"},
      {R"({"event":3})", R"({"error":"\"event\" must be a string"})"},
      {R"({"event":"link","url":5})", R"({"error":"link: \"url\" must be a string"})"},
      {R"({"event":"payload","payload":[1]})", R"({"error":"payload: \"payload\" must be a JSON object"})"},
      {R"({"event":"resetRoute")", R"({"error":"invalid JSON: parse error at line 1, column 22: *"})"},
      // Regression: a number beyond the double range once aborted the whole run.
      {R"({"event":"payload","payload":{"x":1e400}})", R"({"error":"invalid JSON: *"})"},
      {R"({"event":"payload","payload":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}",
       R"({"error":"invalid JSON: nested deeper than 256 levels"})"},
      {R"({"event":"resetRoute"})", reset},
  };
  aurimo.expectRun(exchanges, {"--data-dir", aurimo.path("data"), "run"});
}

// A driver may wait for each answer before it sends the next event. The
// events come through a FIFO script (reading stdin would flush stdout anyway):
// the run holds on the second line until the test has read the first answer,
// so an answer left in the buffer would hang the test rather than pass it.
TEST(AurimoCommandTest, RunFlushesEachAnswerBeforeReadingTheNextEvent) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string events = aurimo.path("events"), out = aurimo.path("out");
  ASSERT_EQ(::mkfifo(out.c_str(), 0600) | ::mkfifo(events.c_str(), 0600), 0);
  const int answers = ::open(out.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_EQ(std::system((aurimo.command({"run", "--script", events}) + " >" + out + " &").c_str()), 0);
  const int feed = ::open(events.c_str(), O_WRONLY);
  const std::string first = R"({"event":"resetRoute"})" "\n", second = R"({"event":"flags"})" "\n";
  ASSERT_EQ(::write(feed, first.data(), first.size()), static_cast<ssize_t>(first.size()));
  ::fcntl(answers, F_SETFL, 0);
  char buffer[512];
  const ssize_t got = ::read(answers, buffer, sizeof buffer);
  EXPECT_EQ(std::string(buffer, std::max<ssize_t>(got, 0)), R"({"event":"resetRoute","route":null,"announcements":0,"onboardingVersion":null})" "\n");
  ASSERT_EQ(::write(feed, second.data(), second.size()), static_cast<ssize_t>(second.size()));
  ::close(feed);
  std::string rest;
  for (ssize_t count; (count = ::read(answers, buffer, sizeof buffer)) > 0;) rest.append(buffer, count);
  ::close(answers);
  EXPECT_TRUE(aurimo.matches(R"({"event":"flags",*})" "\n", rest));
}

TEST(AurimoCommandTest, EachSubcommandPrintsItsAnswerOrOneErrorLineAndExitsByOutcome) {
  CommandRunner aurimo(AURIMO_BINARY);
  std::ofstream(aurimo.root() / "a-file") << "x";
  const std::string data = aurimo.path("data");
  const std::string declined = R"({"event":"link","handled":false,"route":null,"announcements":0,"onboardingVersion":9223372036854775807})" "\n";
  const std::string info = R"({"version":"*.*","universalLinkHost":"links.aurimo.app","settingsDirectory":"<ROOT>/)";
  const std::string usage = "aurimo: * (see aurimo --help)\n";
  struct Case {
    std::vector<std::string> arguments;
    int status;
    std::string out, err;
  };
  const std::vector<Case> cases = {
      {{"link", kLink + "home_tab", "--data-dir", data}, 0, R"({"event":"link","handled":true,"route":{"case":"homeTab"},"announcements":1,"onboardingVersion":null})" "\n", ""},
      {{"--data-dir", data, "link", kLink + "onboarding?version=9223372036854775807"}, 0, R"({"event":"link","handled":true,"route":null,"announcements":0,"onboardingVersion":9223372036854775807})" "\n", ""},
      // The version written above persists in the data folder.
      {{"link", kLink + "home_tab", "--activity-type", "com.aurimo.handoff", "--data-dir", data}, 1, declined, ""},
      {{"link", "not a url", "--data-dir", data}, 1, declined, ""},
      {{"payload", R"({"action":"explore","explore_id":"a1"})", "--data-dir", data}, 0, R"({"event":"payload","route":{"case":"explore","articleIdentifier":"a1"},"announcements":1,"onboardingVersion":9223372036854775807})" "\n", ""},
      {{"--data-dir", data, "info"}, 0, info + R"(data","stateDirectory":"<ROOT>/data","cachesDirectory":"<ROOT>/cache/aurimo"})" "\n", ""},
      {{"info"}, 0, info + R"(config/aurimo","stateDirectory":"<ROOT>/state/aurimo","cachesDirectory":"<ROOT>/cache/aurimo"})" "\n", ""},
      {{"notifications", "ls", "--data-dir", data}, 0, "", ""},
      // Without --data-dir the demo keeps its settings, photos and caches in a folder of its own.
      {{"demo"}, 0, "(settings for this demo are kept in /*/aurimo-demo-*)\n\nAurimo demo session\n=*\n  in:  {\"event\":\"link\",\"url\":\"" + kLink + "onboarding?version=+7\"}\n  out: {*\"onboardingVersion\":7}\n*\n  in:  {\"event\":\"teleport\"}\n  out: {\"error\":\"unknown event \\\"teleport\\\"\"}\n", ""},
      {{"--help"}, 0, "Aurimo app-context library*Subcommands:*run*link*payload*info*demo*notifications*cache*", ""},
      {{}, 2, "", usage},
      {{"link"}, 2, "", usage},
      {{"payload"}, 2, "", usage},
      {{"link", kLink + "home_tab", "extra"}, 2, "", usage},
      {{"notifications"}, 2, "", usage},
      {{"payload", "{"}, 2, "", "aurimo: payload: the argument is not valid JSON\n"},
      {{"payload", R"({"x":-1e400})"}, 2, "", "aurimo: payload: the argument is not valid JSON\n"},
      {{"payload", "{\"x\":" + std::string(50'000, '[') + std::string(50'000, ']') + "}"}, 2, "", "aurimo: payload: the argument is not valid JSON\n"},
      {{"payload", "[1]"}, 2, "", "aurimo: payload: the argument must be a JSON object\n"},
      {{"--data-dir", "", "info"}, 2, "", "aurimo: --data-dir: the folder name is empty\n"},
      {{"info", "--data-dir", aurimo.path("a-file")}, 2, "", "aurimo: --data-dir: <ROOT>/a-file is not a folder\n"},
      {{"run", "--script", aurimo.path("missing.jsonl")}, 1, "", "aurimo: run: cannot read <ROOT>/missing.jsonl\n"},
      {{"run", "--script", aurimo.root().string()}, 1, "", "aurimo: run: <ROOT> is a folder\n"},
  };
  for (const Case& c : cases) {
    const Outcome run = aurimo(c.arguments);
    EXPECT_EQ(run.status, c.status);
    EXPECT_TRUE(aurimo.matches(c.out, run.out));
    EXPECT_TRUE(aurimo.matches(c.err, run.err));
  }
  // Link commands start neither the notification nor the photo session.
  const std::vector<fs::path> kept(fs::directory_iterator(data), {});
  EXPECT_EQ(kept, std::vector<fs::path>{fs::path(data) / "user-defaults.json"});
  for (const char* folder : {"config", "state", "cache", "pictures"}) EXPECT_FALSE(fs::exists(aurimo.root() / folder)) << folder;
}

}  // namespace
}  // namespace aurimo::test
