#pragma once
// Services: the platform services a manager uses, handed to it when it is
// created instead of being fetched from process-wide slots. defaults() is the
// process's own set; a test or a host builds another (test::Environment
// does), so two worlds can live side by side in one process.
//
// Thread contract: a plain value, copied freely; each service says which
// threads it allows.
//
//   auto manager = aurimo::QzUserNotificationManager::create(environment.services());
//   auto real = aurimo::QzUserNotificationManager::create(platform::Services::defaults());

#include <memory>

#include "platform/application.h"
#include "platform/bundle.h"
#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/directories.h"
#include "platform/file_manager.h"
#include "platform/notification_center.h"
#include "platform/ph_photo_library.h"
#include "platform/time_zone.h"
#include "platform/ui_device.h"
#include "platform/ui_screen.h"
#include "platform/un_user_notification_center.h"
#include "platform/user_defaults.h"

namespace aurimo::platform {

struct Services {
  std::shared_ptr<Clock> clock;
  std::shared_ptr<TimeZone> timeZone;
  std::shared_ptr<Directories> directories;
  std::shared_ptr<FileManager> fileManager;
  std::shared_ptr<UserDefaults> userDefaults;
  std::shared_ptr<NotificationCenter> notificationCenter;
  std::shared_ptr<Bundle> bundle;
  // The "system" sides of user notifications and of the photo library.
  std::shared_ptr<UNUserNotificationCenter> userNotificationCenter;
  std::shared_ptr<PHPhotoLibrary> photoLibrary;
  // The device played, its main screen, and the application object (windows, idle timer).
  std::shared_ptr<UIDevice> device;
  std::shared_ptr<UIScreen> screen;
  std::shared_ptr<UIApplication> application;

  // The process-wide services, as their slots hold them now.
  static Services defaults();

  Calendar calendar() const { return Calendar(*timeZone); }
};

}  // namespace aurimo::platform
