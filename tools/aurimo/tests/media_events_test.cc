// `aurimo run` with the photo-library and image-cache events, against
// temporary XDG folders.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

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

class MediaEventsTest : public ::testing::Test {
 protected:
  MediaEventsTest() {
    std::string pattern = (fs::temp_directory_path() / "aurimo-media-events-XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~MediaEventsTest() override { fs::remove_all(root_); }

  // The answers of one `aurimo run` fed `events` on stdin; fails the test unless it exits 0 quietly.
  std::vector<nlohmann::json> run(const std::vector<std::string>& events) {
    std::string input;
    for (const std::string& event : events) input += event + "\n";
    std::ofstream(root_ / "stdin") << input;
    const std::string command = "HOME=" + quoted(root_.string()) +
                                " XDG_CONFIG_HOME=" + quoted((root_ / "config").string()) +
                                " XDG_STATE_HOME=" + quoted((root_ / "state").string()) +
                                " XDG_CACHE_HOME=" + quoted((root_ / "cache").string()) +
                                " XDG_PICTURES_DIR=" + quoted((root_ / "pictures").string()) + " " + AURIMO_BINARY +
                                " run <" + quoted((root_ / "stdin").string()) + " >" +
                                quoted((root_ / "stdout").string()) + " 2>" + quoted((root_ / "stderr").string());
    const int raw = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0);
    EXPECT_EQ(slurp(root_ / "stderr"), "");
    std::vector<nlohmann::json> answers;
    lines_.clear();
    std::istringstream out(slurp(root_ / "stdout"));
    for (std::string line; std::getline(out, line);) {
      answers.push_back(nlohmann::json::parse(line));
      lines_.push_back(line);
    }
    EXPECT_EQ(answers.size(), events.size());
    return answers;
  }

  fs::path write(const std::string& name, const std::string& bytes) {
    std::ofstream(root_ / name, std::ios::binary) << bytes;
    return root_ / name;
  }

  fs::path root_;
  std::vector<std::string> lines_;  // the raw answers of the last run, fields in printed order
};

const std::string kPng = std::string("\x89PNG\r\n\x1a\n", 8) + std::string(24, '\0');

TEST_F(MediaEventsTest, PhotoPermissionDecidesWhetherASaveLeavesAPhotoWithTheExactBytes) {
  const std::string png = write("in.png", kPng).string();
  const std::string save = R"({"event":"savePhoto","file":")" + png + R"("})";
  auto permission = [](const std::string& answer) {
    return R"({"event":"photoPermission","answer":")" + answer + R"("})";
  };
  const std::vector<nlohmann::json> answers = run({
      save,  // undecided: refused
      permission("denied"),
      save,
      permission("limited"),
      save,
      permission("notDetermined"),
      permission("restricted"),
      permission("authorized"),
      permission("always"),
  });
  ASSERT_EQ(answers.size(), 9u);

  struct Expected {
    std::size_t index;
    const char* status;
    bool canRequest;
    bool hasAdd;
  };
  for (const Expected& e : {Expected{1, "denied", false, false}, Expected{3, "limited", false, false},
                            Expected{5, "notDetermined", true, false}, Expected{6, "restricted", false, false},
                            Expected{7, "authorized", false, true}}) {
    SCOPED_TRACE(answers[e.index].dump());
    EXPECT_EQ(answers[e.index]["status"], e.status);
    EXPECT_EQ(answers[e.index]["canRequestPermissions"], e.canRequest);
    EXPECT_EQ(answers[e.index]["photoLibraryHasAddPermissionOrMore"], e.hasAdd);
  }
  EXPECT_EQ(answers[0]["photo"], nullptr);
  EXPECT_EQ(answers[2]["photo"], nullptr);
  EXPECT_EQ(answers[8], nlohmann::json::parse(R"({"error":"photoPermission: unknown answer \"always\""})"));

  // Limited access may add, as on the phone.
  ASSERT_TRUE(answers[4]["photo"].is_string()) << answers[4].dump();
  const fs::path photo = answers[4]["photo"].get<std::string>();
  EXPECT_EQ(photo.parent_path(), root_ / "pictures" / "Aurimo");
  EXPECT_EQ(photo.extension(), ".png");
  EXPECT_EQ(slurp(photo), kPng);
  EXPECT_EQ(answers[4]["bytes"], kPng.size());
  EXPECT_EQ(std::distance(fs::directory_iterator(photo.parent_path()), fs::directory_iterator()), 1);
}

TEST_F(MediaEventsTest, ImageCacheWritesLandInTheRoutedStorageAndSurviveARestart) {
  const std::string jpeg = write("in.jpg", std::string(4096, 'j')).string();
  const std::vector<nlohmann::json> first = run({
      R"({"event":"imageCacheWrite","key":"image/42.jpg","file":")" + jpeg + R"("})",
      R"({"event":"imageCacheWrite","key":"images/7","base64":"aGk="})",
      R"({"event":"imageCacheRead","key":"image/42.jpg"})",
      R"({"event":"imageCacheRead","key":"/image/42.jpg"})",
  });
  ASSERT_EQ(first.size(), 4u);
  const fs::path caches = root_ / "cache" / "aurimo";
  EXPECT_EQ(first[0]["storage"], "UserImageCache");
  EXPECT_EQ(first[0]["bytes"], 4096);
  ASSERT_TRUE(first[0]["cacheFile"].is_string()) << first[0].dump();
  EXPECT_EQ(fs::path(first[0]["cacheFile"].get<std::string>()).parent_path(), caches / "UserImageCache");
  EXPECT_EQ(slurp(first[0]["cacheFile"].get<std::string>()), std::string(4096, 'j'));
  ASSERT_TRUE(first[1]["cacheFile"].is_string()) << first[1].dump();
  EXPECT_EQ(fs::path(first[1]["cacheFile"].get<std::string>()).parent_path(), caches / "ImageCache");
  EXPECT_EQ(slurp(first[1]["cacheFile"].get<std::string>()), "hi");
  const std::vector<std::string> firstLines = lines_;
  EXPECT_EQ(firstLines[2],
            R"({"event":"imageCacheRead","key":"image/42.jpg","storage":"UserImageCache","bytes":4096})");
  EXPECT_EQ(first[3]["bytes"], nullptr) << "the prefix is part of the key";

  // A new process reads from disk.
  const std::vector<nlohmann::json> second = run({
      R"({"event":"imageCacheRead","key":"images/7"})",
      R"({"event":"imageCacheRead","key":"never"})",
  });
  ASSERT_EQ(second.size(), 2u);
  EXPECT_EQ(second[0]["bytes"], 2);
  EXPECT_EQ(second[0]["storage"], "ImageCache");
  EXPECT_EQ(lines_[1], R"({"event":"imageCacheRead","key":"never","storage":"ImageCache","bytes":null})");
}

TEST_F(MediaEventsTest, BadMediaEventsGetAnErrorAndTheRunGoesOn) {
  const std::string file = write("x.bin", "x").string();
  const std::vector<nlohmann::json> answers = run({
      R"({"event":"savePhoto"})",
      R"({"event":"savePhoto","file":")" + file + R"(","base64":"eA=="})",
      R"({"event":"imageCacheWrite","key":"k","file":")" + (root_ / "missing").string() + R"("})",
      R"({"event":"imageCacheWrite","key":"k","base64":"***"})",
      R"({"event":"imageCacheRead"})",
      R"({"event":"imageCacheRead","key":"k"})",
  });
  ASSERT_EQ(answers.size(), 6u);
  EXPECT_EQ(answers[0]["error"], R"(savePhoto: give one of "file" and "base64")");
  EXPECT_EQ(answers[1]["error"], R"(savePhoto: give one of "file" and "base64")");
  EXPECT_TRUE(answers[2]["error"].get<std::string>().starts_with("imageCacheWrite: ")) << answers[2].dump();
  EXPECT_EQ(answers[3]["error"], R"(imageCacheWrite: "base64" is not valid base64)");
  EXPECT_EQ(answers[4]["error"], R"(imageCacheRead: "key" is missing)");
  EXPECT_EQ(answers[5]["bytes"], nullptr);
}

}  // namespace
