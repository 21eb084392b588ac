#include "app_context/media/photo_library_manager.h"

#include <gtest/gtest.h>

#include <future>

#include "platform/file_manager.h"
#include "platform/ph_photo_library.h"
#include "testing/photo_library_environment.h"

namespace aurimo {
namespace {

using platform::PHAccessLevel;
using Status = platform::PHAuthorizationStatus;

Status requestThroughManager() {
  std::promise<Status> done;
  PhotoLibraryManager().requestAuthorization([&done](Status status) { done.set_value(status); });
  return done.get_future().get();
}

TEST(PhotoLibraryManagerRequest, AsksOnceForAddOnlyAccessAndKeepsTheAnswer) {
  test::PhotoLibraryEnvironment env;
  env.person->push("Allow");
  PhotoLibraryManager manager;

  EXPECT_EQ(requestThroughManager(), Status::authorized);
  EXPECT_EQ(env.person->presentations().at(0).presentation.title, "“Aurimo” Would Like to Add to Your Photos");
  EXPECT_TRUE(manager.photoLibraryHasAddPermissionOrMore());

  env.restartLibrary();
  EXPECT_FALSE(manager.canRequestPermissions());
  EXPECT_EQ(requestThroughManager(), Status::authorized);
  EXPECT_EQ(env.person->presentations().size(), 1u);
}

TEST(PhotoLibraryManagerSave, SavesACopyOfTheBytesOnlyWhenAllowed) {
  const platform::Data png{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 1, 2, 3};
  for (Status status : {Status::authorized, Status::denied, Status::notDetermined}) {
    SCOPED_TRACE(platform::name(status));
    test::PhotoLibraryEnvironment env;
    ASSERT_FALSE(platform::PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, status));

    platform::Data bytes = png;
    PhotoLibraryManager().savePhotoData(bytes);
    bytes.assign(bytes.size(), 0);  // the caller reuses its buffer at once
    test::PhotoLibraryEnvironment::drainChanges();

    auto photos = env.savedPhotos();
    if (status != Status::authorized) {
      EXPECT_TRUE(photos.empty());
      EXPECT_TRUE(env.person->presentations().empty()) << "saving never asks";
      continue;
    }
    ASSERT_EQ(photos.size(), 1u);
    EXPECT_EQ(photos.front().extension(), ".png");
    EXPECT_EQ(platform::FileManager::defaultManager().contentsOfFile(photos.front()).data, png);
  }
}

}  // namespace
}  // namespace aurimo
