#include "platform/ph_photo_library.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "testing/environment.h"

namespace aurimo::platform {
namespace {

using Status = PHAuthorizationStatus;

TEST(PhotoLibraryState, DecisionsSurviveARestart) {
  test::Environment env;
  ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, Status::limited));
  ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::readWrite, Status::denied));

  env.restartPhotoLibrary();

  EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), Status::limited);
  EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), Status::denied);
}

// Unusable files and failing disks: Platform/tests/persistence_test.cc.
TEST(PhotoLibraryState, ReadsWhatItCanOfAUsableFile) {
  struct Case {
    const char* content;
    Status addOnly;
  };
  const Case cases[] = {
      {R"({"authorizationStatus":{"addOnly":"authorized"}})", Status::authorized},
      {R"({"authorizationStatus":{"addOnly":"fabulous","readWrite":3}})", Status::notDetermined},
      {R"({"somethingElse":true})", Status::notDetermined},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.content);
    test::Environment env;
    const std::filesystem::path file = PHPhotoLibrary::shared().stateFile();
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << c.content;

    env.restartPhotoLibrary();

    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), c.addOnly);
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), Status::notDetermined);
    EXPECT_TRUE(std::filesystem::exists(file));
  }
}

}  // namespace
}  // namespace aurimo::platform
