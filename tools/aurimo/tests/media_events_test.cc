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

namespace aurimo {
namespace {

namespace fs = std::filesystem;

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

  // The answer lines of one `aurimo run` fed `events` on stdin (paths here hold no quotes).
  std::vector<std::string> run(const std::vector<std::string>& events) {
    std::ofstream input(root_ / "stdin");
    for (const std::string& event : events) input << event << '\n';
    input.close();
    const std::string r = root_.string();
    const std::string command = "HOME='" + r + "' XDG_CONFIG_HOME='" + r + "/config' XDG_STATE_HOME='" + r +
                                "/state' XDG_CACHE_HOME='" + r + "/cache' XDG_PICTURES_DIR='" + r + "/pictures' " +
                                AURIMO_BINARY + " run <'" + r + "/stdin' >'" + r + "/stdout' 2>'" + r + "/stderr'";
    const int raw = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0);
    EXPECT_EQ(slurp(root_ / "stderr"), "");
    std::vector<std::string> lines;
    std::istringstream out(slurp(root_ / "stdout"));
    for (std::string line; std::getline(out, line);) lines.push_back(line);
    EXPECT_EQ(lines.size(), events.size());
    return lines;
  }

  fs::path root_;
};

nlohmann::json field(const std::string& line, const char* name) { return nlohmann::json::parse(line)[name]; }

TEST_F(MediaEventsTest, PhotoPermissionDecidesWhetherASaveLeavesAPhotoWithTheExactBytes) {
  const std::string png = std::string("\x89PNG\r\n\x1a\n", 8) + std::string(24, '\0');
  std::ofstream(root_ / "in.png", std::ios::binary) << png;
  const std::string save = R"({"event":"savePhoto","file":")" + (root_ / "in.png").string() + R"("})";
  auto permission = [](const char* answer) {
    return std::string(R"({"event":"photoPermission","answer":")") + answer + "\"}";
  };
  const std::vector<std::string> lines =
      run({save, permission("denied"), save, permission("limited"), save, permission("notDetermined"),
           permission("authorized"), permission("always")});
  ASSERT_EQ(lines.size(), 8u);

  const std::string tail = R"(,"canRequestPermissions":false,"photoLibraryHasAddPermissionOrMore":)";
  EXPECT_EQ(lines[0], R"({"event":"savePhoto","bytes":32,"photo":null})");
  EXPECT_EQ(lines[1], R"({"event":"photoPermission","answer":"denied","status":"denied")" + tail + "false}");
  EXPECT_EQ(lines[2], lines[0]);
  EXPECT_EQ(lines[3], R"({"event":"photoPermission","answer":"limited","status":"limited")" + tail + "false}");
  EXPECT_EQ(field(lines[5], "canRequestPermissions"), true);
  EXPECT_EQ(lines[6], R"({"event":"photoPermission","answer":"authorized","status":"authorized")" + tail + "true}");
  EXPECT_EQ(lines[7], R"({"error":"photoPermission: unknown answer \"always\""})");

  // Limited access may add, as on the phone.
  const nlohmann::json photo = field(lines[4], "photo");
  ASSERT_TRUE(photo.is_string()) << lines[4];
  EXPECT_EQ(fs::path(photo.get<std::string>()).parent_path(), root_ / "pictures" / "Aurimo");
  EXPECT_EQ(fs::path(photo.get<std::string>()).extension(), ".png");
  EXPECT_EQ(slurp(photo.get<std::string>()), png);
}

TEST_F(MediaEventsTest, ImageCacheWritesLandInTheRoutedStorageAndSurviveARestart) {
  std::ofstream(root_ / "in.jpg", std::ios::binary) << std::string(4096, 'j');
  const std::vector<std::string> first = run({
      R"({"event":"imageCacheWrite","key":"image/42.jpg","file":")" + (root_ / "in.jpg").string() + R"("})",
      R"({"event":"imageCacheWrite","key":"images/7","base64":"aGk="})",
      R"({"event":"imageCacheRead","key":"image/42.jpg"})",
      R"({"event":"imageCacheRead","key":"/image/42.jpg"})",
      R"({"event":"imageCacheWrite","key":"k","file":"x","base64":"aGk="})",
      R"({"event":"imageCacheWrite","key":"k","base64":"***"})",
  });
  ASSERT_EQ(first.size(), 6u);
  const fs::path caches = root_ / "cache" / "aurimo";
  struct Written {
    std::size_t line;
    fs::path directory;
    std::string bytes;
  };
  for (const Written& w :
       {Written{0, caches / "UserImageCache", std::string(4096, 'j')}, Written{1, caches / "ImageCache", "hi"}}) {
    const nlohmann::json file = field(first[w.line], "cacheFile");
    ASSERT_TRUE(file.is_string()) << first[w.line];
    EXPECT_EQ(fs::path(file.get<std::string>()).parent_path(), w.directory);
    EXPECT_EQ(slurp(file.get<std::string>()), w.bytes);
  }
  EXPECT_EQ(first[2], R"({"event":"imageCacheRead","key":"image/42.jpg","storage":"UserImageCache","bytes":4096})");
  EXPECT_EQ(field(first[3], "bytes"), nullptr) << "the prefix is part of the key";
  EXPECT_EQ(first[4], R"({"error":"imageCacheWrite: give one of \"file\" and \"base64\""})");
  EXPECT_EQ(first[5], R"({"error":"imageCacheWrite: \"base64\" is not valid base64"})");

  const std::vector<std::string> second =
      run({R"({"event":"imageCacheRead","key":"images/7"})", R"({"event":"imageCacheRead","key":"never"})"});
  ASSERT_EQ(second.size(), 2u);
  EXPECT_EQ(second[0], R"({"event":"imageCacheRead","key":"images/7","storage":"ImageCache","bytes":2})");
  EXPECT_EQ(second[1], R"({"event":"imageCacheRead","key":"never","storage":"ImageCache","bytes":null})");
}

}  // namespace

}  // namespace aurimo
