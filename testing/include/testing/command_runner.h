#pragma once
// CommandRunner: runs a built command-line program as a user would, with
// HOME, the XDG folders and TZ pointed into a fresh temporary folder that lives
// as long as the runner, so state carries from one run to the next. The
// command's tests and the benchmarks that time whole processes share it.
//
// Thread contract: one thread at a time.
//
//   CommandRunner aurimo(AURIMO_BINARY);
//   Outcome info = aurimo({"info"});
//   EXPECT_TRUE(aurimo.matches(R"({"version":"*","settingsDirectory":"<ROOT>/config/aurimo"*)", info.out));

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "testing/temporary_directory.h"

namespace aurimo::test {

struct Outcome {
  int status = -1;
  std::string out, err;
};

// A line fed to the program and the pattern of its answer line; no answer when `out` is empty.
struct Exchange {
  std::string in, out;
};

inline std::string slurp(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

class CommandRunner {
 public:
  explicit CommandRunner(std::string binary) : binary_(std::move(binary)) {}

  Outcome operator()(const std::vector<std::string>& arguments, const std::string& input = "") const {
    std::ofstream(io_.path() / "stdin", std::ios::binary) << input;
    const std::string io = io_.path().string();
    const std::string redirected = command(arguments) + " <" + quoted(io + "/stdin") + " >" +
                                   quoted(io + "/stdout") + " 2>" + quoted(io + "/stderr");
    const int raw = std::system(redirected.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(io + "/stdout"), slurp(io + "/stderr")};
  }

  // The shell command that runs the program with `arguments` in this runner's folders.
  std::string command(const std::vector<std::string>& arguments) const {
    std::string command = "TZ=" + quoted(zone) + " HOME=" + quoted(root().string()) +
                          " XDG_CONFIG_HOME=" + quoted(path("config")) + " XDG_STATE_HOME=" + quoted(path("state")) +
                          " XDG_CACHE_HOME=" + quoted(path("cache")) + " XDG_PICTURES_DIR=" + quoted(path("pictures")) +
                          " " + quoted(binary_);
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    return command;
  }

  std::string zone = "Europe/Berlin";  // TZ of the runs

  const std::filesystem::path& root() const { return home_.path(); }
  std::string path(std::string_view name) const { return (root() / name).string(); }

  // `text` in single quotes, for the shell.
  static std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
  }

  // Whether `text` is `pattern` once <ROOT> stands for root() and each * for any run of characters.
  ::testing::AssertionResult matches(std::string pattern, std::string_view text) const {
    for (std::size_t at; (at = pattern.find("<ROOT>")) != std::string::npos;) pattern.replace(at, 6, root().string());
    if (glob(pattern, text)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "\n  expected: " << pattern << "\n  got:      " << text;
  }

  // Feeds every exchange's line to one run (a program that answers lines, as `aurimo run`); expects exit 0, nothing on stderr and the answers in order.
  void expectRun(const std::vector<Exchange>& exchanges, const std::vector<std::string>& arguments = {"run"}) const {
    std::string input;
    std::vector<std::string> answers;
    for (const Exchange& exchange : exchanges) {
      input += exchange.in + "\n";
      if (!exchange.out.empty()) answers.push_back(exchange.out);
    }
    const Outcome run = (*this)(arguments, input);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    std::vector<std::string> got;
    std::istringstream out(run.out);
    for (std::string line; std::getline(out, line);) got.push_back(line);
    ASSERT_EQ(got.size(), answers.size()) << run.out;
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_TRUE(matches(answers[i], got[i])) << "answer " << i;
  }

 private:
  static bool glob(std::string_view pattern, std::string_view text) {
    const std::size_t star = pattern.find('*');
    if (star == std::string_view::npos) return pattern == text;
    if (text.substr(0, star) != pattern.substr(0, star)) return false;
    for (std::size_t skip = star; skip <= text.size(); ++skip) {
      if (glob(pattern.substr(star + 1), text.substr(skip))) return true;
    }
    return false;
  }

  std::string binary_;
  TemporaryDirectory home_;
  TemporaryDirectory io_;  // the runs' stdin, stdout and stderr, kept out of the home folder
};

}  // namespace aurimo::test
