// The photo-library and image-cache events of `aurimo run`, against the
// runner's XDG folders, and in-process which events replace the process-wide
// photo library.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "testing/command_runner.h"
#include "events/events.h"
#include "platform/directories.h"
#include "platform/ph_photo_library.h"
#include "testing/environment.h"

namespace aurimo::test {
namespace {

namespace fs = std::filesystem;

TEST(MediaEventsTest, PhotosSaveByPermissionAndImagesLandInTheRoutedCacheAcrossLaunches) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string png = std::string("\x89PNG\r\n\x1a\n", 8) + std::string(24, '\0');
  std::ofstream(aurimo.root() / "in.png", std::ios::binary) << png;
  std::ofstream(aurimo.root() / "in.jpg", std::ios::binary) << std::string(4096, 'j');
  const std::string save = R"({"event":"savePhoto","file":")" + aurimo.path("in.png") + R"("})";
  const std::string refused = R"({"event":"savePhoto","bytes":32,"photo":null})";
  const std::string userImage = "cache/aurimo/UserImageCache/783485D064251BA00091B501D25D8C4A.jpg";  // the keys' MD5
  const std::string image = "cache/aurimo/ImageCache/B945EBCD2304187684C5C3D9626A9AFC";
  aurimo.expectRun({
      {save, refused},
      {R"({"event":"photoPermission","answer":"denied"})", R"({"event":"photoPermission","answer":"denied","status":"denied","canRequestPermissions":false,"photoLibraryHasAddPermissionOrMore":false})"},
      {save, refused},
      // Limited access may add, as on the phone.
      {R"({"event":"photoPermission","answer":"limited"})", R"({"event":"photoPermission","answer":"limited","status":"limited","canRequestPermissions":false,"photoLibraryHasAddPermissionOrMore":false})"},
      {save, R"({"event":"savePhoto","bytes":32,"photo":"<ROOT>/pictures/Aurimo/IMG_*.png"})"},
      {R"({"event":"photoPermission","answer":"notDetermined"})", R"({"event":"photoPermission","answer":"notDetermined","status":"notDetermined","canRequestPermissions":true,"photoLibraryHasAddPermissionOrMore":false})"},
      {R"({"event":"photoPermission","answer":"authorized"})", R"({"event":"photoPermission","answer":"authorized","status":"authorized","canRequestPermissions":false,"photoLibraryHasAddPermissionOrMore":true})"},
      {R"({"event":"photoPermission","answer":"always"})", R"({"error":"photoPermission: unknown answer \"always\""})"},
      {R"({"event":"imageCacheWrite","key":"image/42.jpg","file":")" + aurimo.path("in.jpg") + R"("})", R"({"event":"imageCacheWrite","key":"image/42.jpg","storage":"UserImageCache","bytes":4096,"cacheFile":"<ROOT>/)" + userImage + R"("})"},
      {R"({"event":"imageCacheWrite","key":"images/7","base64":"aGk="})", R"({"event":"imageCacheWrite","key":"images/7","storage":"ImageCache","bytes":2,"cacheFile":"<ROOT>/)" + image + R"("})"},
      {R"({"event":"imageCacheRead","key":"image/42.jpg"})", R"({"event":"imageCacheRead","key":"image/42.jpg","storage":"UserImageCache","bytes":4096})"},
      // The prefix is part of the key.
      {R"({"event":"imageCacheRead","key":"/image/42.jpg"})", R"({"event":"imageCacheRead","key":"/image/42.jpg","storage":"UserImageCache","bytes":null})"},
      {R"({"event":"imageCacheWrite","key":"k","file":"x","base64":"aGk="})", R"({"error":"imageCacheWrite: give one of \"file\" and \"base64\""})"},
      {R"({"event":"imageCacheWrite","key":"k","base64":"***"})", R"({"error":"imageCacheWrite: \"base64\" is not valid base64"})"},
  });
  const std::vector<fs::path> photos(fs::directory_iterator(aurimo.root() / "pictures" / "Aurimo"), {});
  ASSERT_EQ(photos.size(), 1u);
  EXPECT_EQ(slurp(photos[0]), png);
  EXPECT_EQ(slurp(aurimo.path(userImage)), std::string(4096, 'j'));
  EXPECT_EQ(slurp(aurimo.path(image)), "hi");

  aurimo.expectRun({{R"({"event":"imageCacheRead","key":"images/7"})", R"({"event":"imageCacheRead","key":"images/7","storage":"ImageCache","bytes":2})"}});
}

// Regressions: a FIFO blocked the run forever, /dev/zero read until memory
// ran out, and a caches folder that cannot be made ended the whole run.
TEST(MediaEventsTest, FilesThatAreNoPhotoAndAnUnusableCachesFolderAreAnsweredWithErrors) {
  CommandRunner aurimo(AURIMO_BINARY);
  ASSERT_EQ(::mkfifo(aurimo.path("fifo").c_str(), 0600), 0);
  std::ofstream(aurimo.root() / "cache") << "a file where the caches folder goes";
  std::ofstream(aurimo.root() / "big").close();
  fs::resize_file(aurimo.root() / "big", (64 << 20) + 1);  // sparse
  const auto write = [&](const std::string& file) {
    return R"({"event":"imageCacheWrite","key":"k","file":")" + file + R"("})";
  };
  const std::string unusable = R"x(: the image cache is unusable (mkdir <ROOT>/cache*: Not a directory)"})x";
  aurimo.expectRun({
      {R"({"event":"savePhoto","file":")" + aurimo.path("fifo") + R"("})", R"({"error":"savePhoto: <ROOT>/fifo is not a regular file"})"},
      {write("/dev/zero"), R"({"error":"imageCacheWrite: /dev/zero is not a regular file"})"},
      {write(aurimo.path("big")), R"({"error":"imageCacheWrite: <ROOT>/big is larger than 64 MiB"})"},
      {write(aurimo.path("none")), R"({"error":"imageCacheWrite: open <ROOT>/none: No such file or directory"})"},
      {R"({"event":"imageCacheWrite","key":"k","base64":"aGk="})", R"({"error":"imageCacheWrite)" + unusable},
      {R"({"event":"imageCacheRead","key":"image/1"})", R"({"error":"imageCacheRead)" + unusable},
      {R"({"event":"flags"})", R"({"event":"flags",*)"},
  });
}

// The photo session starts on the first photo event, so a link or an image
// leaves the library the process had.
}  // namespace
}  // namespace aurimo::test
