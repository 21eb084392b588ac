// Runs the built `aurimo` binary with HOME and the XDG folders pointed at a
// temporary folder, and checks what it prints and how it exits.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include <nlohmann/json.hpp>

namespace aurimo {
namespace {

namespace fs = std::filesystem;

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

std::string quoted(const std::string& text) {
  std::string result = "'";
  for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

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

class AurimoCommandTest : public ::testing::Test {
 protected:
  AurimoCommandTest() {
    std::string pattern = (fs::temp_directory_path() / "aurimo-command-XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
    data_ = root_ / "data";
  }
  ~AurimoCommandTest() override { fs::remove_all(root_); }

  Outcome aurimo(const std::vector<std::string>& arguments, const std::string& input = "") {
    std::ofstream(root_ / "stdin") << input;
    std::string command = "HOME=" + quoted(root_.string()) + " XDG_CONFIG_HOME=" + quoted((root_ / "config").string()) +
                          " XDG_STATE_HOME=" + quoted((root_ / "state").string()) +
                          " XDG_CACHE_HOME=" + quoted((root_ / "cache").string()) + " " + AURIMO_BINARY;
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    command += " <" + quoted((root_ / "stdin").string()) + " >" + quoted((root_ / "stdout").string()) + " 2>" +
               quoted((root_ / "stderr").string());
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(root_ / "stdout"), slurp(root_ / "stderr")};
  }

  fs::path root_;
  fs::path data_;
};

constexpr const char* kLink = "https://links.aurimo.app/events/";

TEST_F(AurimoCommandTest, RunAnswersEveryEventLineInOrder) {
  struct Step {
    std::string in;
    std::string out;  // empty: no answer line expected
  };
  const std::string base = kLink;
  const std::vector<Step> steps = {
      {"# narration and blank lines get no answer", ""},
      {"", ""},
      {R"({"event":"link","url":")" + base + R"(explore"})",
       R"({"event":"link","handled":true,"route":{"case":"explore","articleIdentifier":null},"announcements":1,"onboardingVersion":null})"},
      {R"({"event":"link","url":")" + base + R"(onboarding?version=-3"})",
       R"({"event":"link","handled":true,"route":{"case":"explore","articleIdentifier":null},"announcements":0,"onboardingVersion":-3})"},
      {R"({"event":"link","url":")" + base + R"(home_tab","activityType":"other"})",
       R"({"event":"link","handled":false,"route":{"case":"explore","articleIdentifier":null},"announcements":0,"onboardingVersion":-3})"},
      {R"({"event":"payload","payload":{"action":"make_sn_purchase_offer","sn_event":"spring"}})",
       R"({"event":"payload","route":{"case":"openSmartNews","eventName":"spring"},"announcements":1,"onboardingVersion":-3})"},
      {R"({"event":"payload","payload":{"action":"identification","type":"coin"}})",
       R"({"event":"payload","route":{"case":"coinIdentification"},"announcements":1,"onboardingVersion":-3})"},
      {R"({"event":"link","url":")" + base + R"(home_tab/"})",
       R"({"event":"link","handled":true,"route":{"case":"homeTab"},"announcements":1,"onboardingVersion":-3})"},
      {R"({"event":"payload","payload":{"action":"open_app"}})",
       R"({"event":"payload","route":null,"announcements":0,"onboardingVersion":-3})"},
      {R"({"event":"resetRoute"})", R"({"event":"resetRoute","route":null,"announcements":0,"onboardingVersion":-3})"},
      // Bytes that are not UTF-8 must not stop the run.
      {R"({"event":"link","url":")" + base + R"(explore?identifier=%FF"})",
       "{\"event\":\"link\",\"handled\":true,\"route\":{\"case\":\"explore\",\"articleIdentifier\":\"\xEF\xBF\xBD\"},"
       "\"announcements\":1,\"onboardingVersion\":-3}"},
      {R"({"event":"teleport"})", R"({"error":"unknown event \"teleport\""})"},
      {R"({"event":"link"})", R"({"error":"link: \"url\" is missing"})"},
      {R"({"event":"resetRoute")", "{\"error\":\"invalid JSON: "},  // prefix: the parser's detail follows
      {R"({"event":"resetRoute"})", R"({"event":"resetRoute","route":null,"announcements":0,"onboardingVersion":-3})"},
  };
  std::string script;
  std::vector<std::string> expected;
  for (const Step& step : steps) {
    script += step.in + "\n";
    if (!step.out.empty()) expected.push_back(step.out);
  }
  std::ofstream(root_ / "script.jsonl") << script;

  const std::vector<Outcome> runs = {
      aurimo({"--data-dir", (root_ / "stdin-run").string(), "run"}, script),
      aurimo({"run", "--script", (root_ / "script.jsonl").string(), "--data-dir", (root_ / "file-run").string()}),
  };
  for (const Outcome& run : runs) {
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> got = lines(run.out);
    ASSERT_EQ(got.size(), expected.size()) << run.out;
    for (std::size_t i = 0; i < got.size(); ++i) {
      if (expected[i].ends_with("invalid JSON: ")) {
        EXPECT_TRUE(got[i].starts_with(expected[i])) << got[i];
      } else {
        EXPECT_EQ(got[i], expected[i]);
      }
    }
  }
}

TEST_F(AurimoCommandTest, ShortcutsPrintTheRunAnswerAndLinkExitsByHandled) {
  const std::string base = kLink;
  const std::string dataDir = data_.string();
  struct Case {
    std::vector<std::string> arguments;
    int status;
    std::string out;
  };
  const std::vector<Case> cases = {
      {{"link", base + "home_tab", "--data-dir", dataDir},
       0,
       R"({"event":"link","handled":true,"route":{"case":"homeTab"},"announcements":1,"onboardingVersion":null})"},
      {{"--data-dir", dataDir, "link", base + "onboarding?version=9223372036854775807"},
       0,
       R"({"event":"link","handled":true,"route":null,"announcements":0,"onboardingVersion":9223372036854775807})"},
      // The version written above persists in the data folder.
      {{"link", base + "home_tab", "--activity-type", "com.aurimo.handoff", "--data-dir", dataDir},
       1,
       R"({"event":"link","handled":false,"route":null,"announcements":0,"onboardingVersion":9223372036854775807})"},
      {{"link", "not a url", "--data-dir", dataDir},
       1,
       R"({"event":"link","handled":false,"route":null,"announcements":0,"onboardingVersion":9223372036854775807})"},
      {{"payload", R"({"action":"explore","explore_id":"a1"})", "--data-dir", dataDir},
       0,
       R"({"event":"payload","route":{"case":"explore","articleIdentifier":"a1"},"announcements":1,"onboardingVersion":9223372036854775807})"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments[1]);
    Outcome run = aurimo(c.arguments);
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.out, c.out + "\n");
    EXPECT_EQ(run.err, "");
  }
  EXPECT_TRUE(fs::exists(data_ / "user-defaults.json"));
  EXPECT_FALSE(fs::exists(root_ / "config")) << "--data-dir must keep settings out of the XDG folder";
}

TEST_F(AurimoCommandTest, InfoNamesTheFoldersInUseWhereverDataDirIsGiven) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"--data-dir", data_.string(), "info"},
                                                                    {"info", "--data-dir", data_.string()}}) {
    Outcome run = aurimo(arguments);
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(lines(run.out).size(), 1u);
    const nlohmann::json info = nlohmann::json::parse(run.out);
    EXPECT_EQ(info["universalLinkHost"], "links.aurimo.app");
    EXPECT_EQ(info["settingsDirectory"], data_.string());
    EXPECT_EQ(info["stateDirectory"], data_.string());
    EXPECT_EQ(info["cachesDirectory"], (root_ / "cache" / "aurimo").string());
    EXPECT_TRUE(info["version"].is_string() && !info["version"].get<std::string>().empty());
  }
  const nlohmann::json plain = nlohmann::json::parse(aurimo({"info"}).out);
  EXPECT_EQ(plain["settingsDirectory"], (root_ / "config" / "aurimo").string());
  EXPECT_EQ(plain["stateDirectory"], (root_ / "state" / "aurimo").string());
}

TEST_F(AurimoCommandTest, BadInputGivesOneLineOnStderrAndNonZeroExit) {
  std::ofstream(root_ / "a-file") << "x";
  struct Case {
    std::vector<std::string> arguments;
    int status;
  };
  const std::vector<Case> cases = {
      {{}, 2},
      {{"teleport"}, 2},
      {{"link"}, 2},
      {{"payload"}, 2},
      {{"payload", "{"}, 2},
      {{"payload", "[1]"}, 2},
      {{"info", "--colour"}, 2},
      {{"link", std::string(kLink) + "home_tab", "extra"}, 2},
      {{"--data-dir"}, 2},
      {{"--data-dir", "", "info"}, 2},
      {{"--data-dir", (root_ / "a-file").string(), "info"}, 2},
      {{"run", "--script", (root_ / "missing.jsonl").string()}, 1},
      {{"run", "--script", root_.string()}, 1},
  };
  for (const Case& c : cases) {
    std::string label;
    for (const auto& argument : c.arguments) label += argument + " ";
    SCOPED_TRACE(label);
    Outcome run = aurimo(c.arguments);
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(lines(run.err).size(), 1u) << run.err;
    EXPECT_TRUE(run.err.starts_with("aurimo: ")) << run.err;
  }
}

TEST_F(AurimoCommandTest, DemoNarratesAndAnswersWithoutTouchingUserFolders) {
  Outcome run = aurimo({"demo"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  std::size_t events = 0, answers = 0;
  for (const std::string& line : lines(run.out)) {
    events += line.starts_with("  in:  ");
    answers += line.starts_with("  out: ");
  }
  EXPECT_GT(events, 10u);
  EXPECT_EQ(events, answers);
  EXPECT_NE(run.out.find("Aurimo demo session"), std::string::npos);
  EXPECT_NE(run.out.find(R"("onboardingVersion":7)"), std::string::npos);
  EXPECT_FALSE(fs::exists(root_ / "config"));
  EXPECT_FALSE(fs::exists(root_ / "state"));
}

}  // namespace

}  // namespace aurimo
