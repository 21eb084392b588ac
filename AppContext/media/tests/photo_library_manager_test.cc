#include "app_context/media/photo_library_manager.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/file_manager.h"
#include "testing/environment.h"

namespace aurimo {
namespace {

using platform::PHAccessLevel;
using Status = platform::PHAuthorizationStatus;

TEST(PhotoLibraryManager, ReadsTheAddOnlyStatusNarrowlyAndSavesACopyWithoutAskingOrChecking) {
  const platform::Data png{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 1, 2, 3};
  const struct { Status status; bool canRequestPermissions, hasAddPermissionOrMore; } cases[] = {
      {Status::notDetermined, true, false}, {Status::restricted, false, false}, {Status::denied, false, false},
      {Status::authorized, false, true},    {Status::limited, false, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(platform::name(c.status));
    test::Environment env;
    ASSERT_FALSE(env.photoLibrary().setAuthorizationStatus(PHAccessLevel::addOnly, c.status));
    // Full access neither leaks into the add-only answers nor is checked by a save: the library decides.
    ASSERT_FALSE(env.photoLibrary().setAuthorizationStatus(PHAccessLevel::readWrite, Status::authorized));
    const PhotoLibraryManager manager(env.services().photoLibrary);
    EXPECT_EQ(manager.canRequestPermissions(), c.canRequestPermissions);
    EXPECT_EQ(manager.photoLibraryHasAddPermissionOrMore(), c.hasAddPermissionOrMore);

    platform::Data bytes = png;
    manager.savePhotoData(bytes);
    bytes.assign(bytes.size(), 0);  // the caller reuses its buffer at once
    env.runUntilIdle();
    std::error_code none;
    const std::vector<std::filesystem::directory_entry> photos(
        std::filesystem::directory_iterator(env.photoLibrary().assetsDirectory(), none), {});
    ASSERT_EQ(photos.size(), 1u);
    EXPECT_EQ(platform::FileManager::defaultManager().contentsOfFile(photos[0].path()).data, png);
    EXPECT_TRUE(env.person->presentations().empty());
  }
}

TEST(PhotoLibraryManager, AsksOnceForAddOnlyAccessAndKeepsTheAnswer) {
  test::Environment env;
  env.person->push("Allow");
  std::vector<Status> answers;
  PhotoLibraryManager(env.services().photoLibrary).requestAuthorization([&](Status s) { answers.push_back(s); });
  env.runUntilIdle();
  EXPECT_EQ(env.photoLibrary().authorizationStatusOf(PHAccessLevel::readWrite), Status::notDetermined);

  env.restartPhotoLibrary();
  const PhotoLibraryManager manager(env.services().photoLibrary);
  EXPECT_FALSE(manager.canRequestPermissions());
  EXPECT_TRUE(manager.photoLibraryHasAddPermissionOrMore());
  manager.requestAuthorization([&](Status s) { answers.push_back(s); });
  env.runUntilIdle();
  EXPECT_EQ(answers, (std::vector<Status>{Status::authorized, Status::authorized}));
  EXPECT_EQ(env.person->presentations().size(), 1u);
}

}  // namespace
}  // namespace aurimo
