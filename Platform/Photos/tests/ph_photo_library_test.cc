#include "platform/ph_photo_library.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "testing/photo_library_environment.h"

namespace aurimo::platform {
namespace {

using Status = PHAuthorizationStatus;

TEST(PhotoLibraryState, DecisionsSurviveARestart) {
  test::PhotoLibraryEnvironment env;
  ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, Status::limited));
  ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::readWrite, Status::denied));

  env.restartLibrary();

  EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), Status::limited);
  EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), Status::denied);
  EXPECT_EQ(PHPhotoLibrary::shared().stateFile(), env.stateDirectory() / "photo_library.json");
}

TEST(PhotoLibraryState, ReadsWhatItCanAndMovesUnusableFilesAside) {
  struct Case {
    const char* content;
    Status addOnly;
    bool movedAside;
  };
  const Case cases[] = {
      {R"({"authorizationStatus":{"addOnly":"authorized"}})", Status::authorized, false},
      {R"({"authorizationStatus":{"addOnly":"fabulous","readWrite":3}})", Status::notDetermined, false},
      {R"({"somethingElse":true})", Status::notDetermined, false},
      {R"([1, 2])", Status::notDetermined, true},
      {R"({"authorizationStatus":)", Status::notDetermined, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.content);
    test::PhotoLibraryEnvironment env;
    const std::filesystem::path file = PHPhotoLibrary::shared().stateFile();
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << c.content;

    env.restartLibrary();

    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), c.addOnly);
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), Status::notDetermined);
    std::filesystem::path aside = file;
    aside += ".corrupt-1700000000";
    EXPECT_EQ(std::filesystem::exists(aside), c.movedAside);
    EXPECT_EQ(std::filesystem::exists(file), !c.movedAside);
  }
}

}  // namespace
}  // namespace aurimo::platform
