#pragma once
// AurimoRunner: runs the built `aurimo` as a user would, with HOME, the XDG
// folders and TZ pointed into a fresh temporary folder that lives as long as
// the runner, so state carries from one run to the next.
//
//   AurimoRunner aurimo;
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
#include <vector>

#include "testing/temporary_directory.h"

namespace aurimo::test {

struct Outcome {
  int status = -1;
  std::string out, err;
};

// A line fed to `aurimo run` and the pattern of its answer line; no answer when `out` is empty.
struct Exchange {
  std::string in, out;
};

inline std::string slurp(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) result.push_back(line);
  return result;
}

class AurimoRunner {
 public:
  Outcome operator()(const std::vector<std::string>& arguments, const std::string& input = "",
                     const std::string& zone = "Europe/Berlin") const {
    std::ofstream(io_.path() / "stdin", std::ios::binary) << input;
    std::string command = "TZ=" + quoted(zone) + " HOME=" + quoted(root().string()) +
                          " XDG_CONFIG_HOME=" + quoted(path("config")) + " XDG_STATE_HOME=" + quoted(path("state")) +
                          " XDG_CACHE_HOME=" + quoted(path("cache")) + " XDG_PICTURES_DIR=" + quoted(path("pictures")) +
                          " " + AURIMO_BINARY;
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    const std::string io = io_.path().string();
    command += " <" + quoted(io + "/stdin") + " >" + quoted(io + "/stdout") + " 2>" + quoted(io + "/stderr");
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(io + "/stdout"), slurp(io + "/stderr")};
  }

  const std::filesystem::path& root() const { return home_.path(); }
  std::string path(std::string_view name) const { return (root() / name).string(); }

  // Whether `text` is `pattern` once <ROOT> stands for root() and each * for any run of characters.
  ::testing::AssertionResult matches(std::string pattern, std::string_view text) const {
    for (std::size_t at; (at = pattern.find("<ROOT>")) != std::string::npos;) pattern.replace(at, 6, root().string());
    if (glob(pattern, text)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "\n  expected: " << pattern << "\n  got:      " << text;
  }

  // Feeds every exchange's line to one run; expects exit 0, nothing on stderr and the answers in order.
  void expectRun(const std::vector<Exchange>& exchanges, const std::vector<std::string>& arguments = {"run"},
                 const std::string& zone = "Europe/Berlin") const {
    std::string input;
    std::vector<std::string> answers;
    for (const Exchange& exchange : exchanges) {
      input += exchange.in + "\n";
      if (!exchange.out.empty()) answers.push_back(exchange.out);
    }
    const Outcome run = (*this)(arguments, input, zone);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> got = lines(run.out);
    ASSERT_EQ(got.size(), answers.size()) << run.out;
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_TRUE(matches(answers[i], got[i])) << "answer " << i;
  }

 private:
  static bool glob(std::string_view pattern, std::string_view text) {
    for (; !pattern.empty() && pattern[0] != '*'; pattern.remove_prefix(1), text.remove_prefix(1)) {
      if (text.empty() || pattern[0] != text[0]) return false;
    }
    if (pattern.empty()) return text.empty();
    for (std::size_t skip = 0; skip <= text.size(); ++skip) {
      if (glob(pattern.substr(1), text.substr(skip))) return true;
    }
    return false;
  }
  static std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
  }

  TemporaryDirectory home_;
  TemporaryDirectory io_;  // the runs' stdin, stdout and stderr, kept out of the home folder
};

}  // namespace aurimo::test
