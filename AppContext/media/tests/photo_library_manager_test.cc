#include "app_context/media/photo_library_manager.h"

#include <gtest/gtest.h>

#include "platform/ph_photo_library.h"
#include "testing/photo_library_environment.h"

namespace aurimo {
namespace {

using platform::PHAccessLevel;
using Status = platform::PHAuthorizationStatus;

TEST(PhotoLibraryManager, ReadsTheAddOnlyStatusNarrowly) {
  struct Case {
    Status status;
    bool canRequestPermissions;
    bool hasAddPermissionOrMore;
  };
  const Case cases[] = {
      {Status::notDetermined, true, false}, {Status::restricted, false, false}, {Status::denied, false, false},
      {Status::authorized, false, true},    {Status::limited, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(platform::name(c.status));
    test::PhotoLibraryEnvironment env;
    ASSERT_FALSE(platform::PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, c.status));
    // Full access must not leak into the add-only answers.
    ASSERT_FALSE(platform::PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::readWrite, Status::authorized));

    PhotoLibraryManager manager;
    EXPECT_EQ(manager.canRequestPermissions(), c.canRequestPermissions);
    EXPECT_EQ(manager.photoLibraryHasAddPermissionOrMore(), c.hasAddPermissionOrMore);
  }
}

}  // namespace
}  // namespace aurimo
