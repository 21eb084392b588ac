#include "platform/ph_photo_library.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "platform/photo_permission_prompt.h"
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
    test::PhotoLibraryEnvironment env;
    const std::filesystem::path file = PHPhotoLibrary::shared().stateFile();
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << c.content;

    env.restartLibrary();

    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), c.addOnly);
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), Status::notDetermined);
    EXPECT_TRUE(std::filesystem::exists(file));
  }
}

TEST(TerminalPhotoPermissionPrompt, ReadsTheAnswerAndAsksAgainOnNonsense) {
  struct Case {
    std::string typed;
    PhotoPermissionAnswer answer;
  };
  const Case cases[] = {
      {"y\n", PhotoPermissionAnswer::allow},
      {"  YES \n", PhotoPermissionAnswer::allow},
      {"n\n", PhotoPermissionAnswer::deny},
      {"Limited\n", PhotoPermissionAnswer::allowLimited},
      {"maybe\nno\n", PhotoPermissionAnswer::deny},
      {"maybe\n", PhotoPermissionAnswer::noAnswer},
      {"", PhotoPermissionAnswer::noAnswer},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    std::string typed = c.typed;
    FILE* input = typed.empty() ? std::fopen("/dev/null", "r") : fmemopen(typed.data(), typed.size(), "r");
    FILE* output = std::fopen("/dev/null", "w");
    TerminalPhotoPermissionPrompt prompt(input, output, /*onlyOnTerminal=*/false);
    EXPECT_EQ(prompt.ask(PHAccessLevel::addOnly), c.answer);
    std::fclose(input);
    std::fclose(output);
  }
}

TEST(TerminalPhotoPermissionPrompt, DoesNotAskWithoutATerminal) {
  std::string typed = "y\n";
  FILE* input = fmemopen(typed.data(), typed.size(), "r");
  char* written = nullptr;
  std::size_t length = 0;
  FILE* output = open_memstream(&written, &length);
  EXPECT_EQ(TerminalPhotoPermissionPrompt(input, output).ask(PHAccessLevel::addOnly), PhotoPermissionAnswer::noAnswer);
  std::fclose(output);
  EXPECT_EQ(length, 0u);
  std::free(written);
  std::fclose(input);
}

}  // namespace
}  // namespace aurimo::platform
