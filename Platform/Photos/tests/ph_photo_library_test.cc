#include "platform/ph_photo_library.h"

#include <gtest/gtest.h>

#include <fstream>

#include "testing/environment.h"

namespace aurimo::platform {
namespace {

using Status = PHAuthorizationStatus;

// Unusable files and failing disks: Platform/tests/persistence_test.cc.
TEST(PhotoLibraryState, KeepsDecisionsAndReadsWhatItCanOfAUsableFile) {
  const struct {
    const char* content;  // nullptr: the decisions are made through the library
    Status addOnly, readWrite = Status::notDetermined;
  } cases[] = {
      {nullptr, Status::limited, Status::denied},
      {R"({"authorizationStatus":{"addOnly":"authorized"}})", Status::authorized},
      {R"({"authorizationStatus":{"addOnly":"fabulous","readWrite":3}})", Status::notDetermined},
      {R"({"somethingElse":true})", Status::notDetermined},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.content ? c.content : "made through the library");
    test::Environment env;
    const std::filesystem::path file = PHPhotoLibrary::shared().stateFile();
    if (c.content) {
      std::filesystem::create_directories(file.parent_path());
      std::ofstream(file) << c.content;
    } else {
      ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, c.addOnly));
      ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::readWrite, c.readWrite));
    }

    env.restartPhotoLibrary();

    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), c.addOnly);
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), c.readWrite);
    EXPECT_TRUE(std::filesystem::exists(file));
  }
}

}  // namespace
}  // namespace aurimo::platform
