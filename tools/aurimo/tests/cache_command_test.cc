// Runs `aurimo cache` against a temporary cache directory and checks the
// files it leaves, what it prints and how it exits.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
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

std::string slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

std::vector<nlohmann::json> jsonLines(const std::string& text) {
  std::vector<nlohmann::json> result;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) result.push_back(nlohmann::json::parse(line));
  return result;
}

class CacheCommandTest : public ::testing::Test {
 protected:
  CacheCommandTest() {
    std::string pattern = (fs::temp_directory_path() / "aurimo-cache-command-XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~CacheCommandTest() override { fs::remove_all(root_); }

  Outcome cache(const std::vector<std::string>& arguments, const std::string& input = "") {
    std::ofstream(root_ / "stdin", std::ios::binary) << input;
    std::string command = std::string(AURIMO_BINARY) + " cache --dir '" + (root_ / "parent").string() + "' --name Images";
    for (const std::string& argument : arguments) command += " '" + argument + "'";
    command += " <'" + (root_ / "stdin").string() + "' >'" + (root_ / "stdout").string() + "' 2>'" +
               (root_ / "stderr").string() + "'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(root_ / "stdout"), slurp(root_ / "stderr")};
  }

  fs::path root_;
};

TEST_F(CacheCommandTest, StoresReadsDescribesAndRemovesAValue) {
  const std::string value("binary\0value\n", 13);
  ASSERT_EQ(cache({"put", "photo.jpg", "--expiry", "date:1900000000"}, value).status, 0);

  const Outcome got = cache({"get", "photo.jpg"});
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, value);

  const Outcome described = cache({"entry", "photo.jpg"});
  ASSERT_EQ(described.status, 0) << described.err;
  const nlohmann::json entry = nlohmann::json::parse(described.out);
  EXPECT_EQ(entry["key"], "photo.jpg");
  EXPECT_EQ(entry["expiry"], 1900000000);
  EXPECT_EQ(entry["expired"], false);
  EXPECT_EQ(entry["bytes"], 13);
  const fs::path file = entry["path"].get<std::string>();
  EXPECT_EQ(file.parent_path(), root_ / "parent" / "Images");
  const std::string name = file.filename().string();  // 32 upper-case hex digits, then the extension
  EXPECT_EQ(name.size(), 36u);
  EXPECT_TRUE(name.ends_with(".jpg") && std::all_of(name.begin(), name.begin() + 32, [](char c) {
                return std::isdigit(static_cast<unsigned char>(c)) || (c >= 'A' && c <= 'F');
              }));
  EXPECT_EQ(slurp(file), value);  // the library's own file: the bytes, nothing else

  EXPECT_EQ(cache({"rm", "photo.jpg"}).status, 0);
  for (const char* command : {"get", "entry", "rm"}) {
    const Outcome missing = cache({command, "photo.jpg"});
    EXPECT_EQ(missing.status, 1) << command;
    EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1) << missing.err;
  }
}

TEST_F(CacheCommandTest, ListsSweepsAndClears) {
  ASSERT_EQ(cache({"put", "old", "--expiry", "date:1000"}, "12345").status, 0);
  ASSERT_EQ(cache({"put", "soon", "--expiry", "seconds:3600"}, "1234567").status, 0);
  ASSERT_EQ(cache({"put", "kept"}, "123").status, 0);

  const auto listed = jsonLines(cache({"ls"}).out);
  ASSERT_EQ(listed.size(), 3u);
  int expiringAt1000 = 0;
  for (const auto& line : listed) {
    EXPECT_GE(line["allocatedBytes"].get<int>(), line["bytes"].get<int>());
    expiringAt1000 += line["expiry"] == 1000;
  }
  EXPECT_EQ(expiringAt1000, 1);

  // The expired file goes first; then the 1-byte limit evicts the rest.
  auto swept = jsonLines(cache({"sweep"}).out);
  ASSERT_EQ(swept.size(), 1u);
  EXPECT_EQ(swept[0]["expired"], 1);
  EXPECT_EQ(swept[0]["evicted"], 0);
  EXPECT_EQ(swept[0]["removedBytes"], 5);
  EXPECT_EQ(swept[0]["remaining"], 2);
  swept = jsonLines(cache({"--max-size", "1", "sweep"}).out);
  EXPECT_EQ(swept[0]["evicted"], 2);
  EXPECT_EQ(swept[0]["remaining"], 0);

  ASSERT_EQ(cache({"put", "again"}, "x").status, 0);
  EXPECT_EQ(cache({"clear"}).status, 0);
  EXPECT_EQ(cache({"ls"}).out, "");
}

TEST_F(CacheCommandTest, RejectsBadInputWithOneLine) {
  const std::vector<std::vector<std::string>> cases = {
      {"put", "k", "--expiry", "tomorrow"},
      {"put", "k", "--expiry", "seconds:"},
      {"--max-size", "lots", "ls"},
      {"frobnicate"},
      {"get"},
      {"ls"},  // nothing at PARENT/Images yet
  };
  for (const auto& arguments : cases) {
    const Outcome outcome = cache(arguments);
    EXPECT_NE(outcome.status, 0) << arguments[0];
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  EXPECT_FALSE(fs::exists(root_ / "parent"));
}

}  // namespace

}  // namespace aurimo
