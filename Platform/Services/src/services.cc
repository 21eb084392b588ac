#include "platform/services.h"

namespace aurimo::platform {

Services Services::defaults() {
  return Services{
      .clock = Clock::slot().shared(),
      .timeZone = TimeZone::slot().shared(),
      .directories = Directories::slot().shared(),
      .fileManager = FileManager::slot().shared(),
      .userDefaults = UserDefaults::slot().shared(),
      .notificationCenter = NotificationCenter::slot().shared(),
      .bundle = Bundle::mainSlot().shared(),
      .userNotificationCenter = UNUserNotificationCenter::slot().shared(),
      .photoLibrary = PHPhotoLibrary::slot().shared(),
      .device = UIDevice::slot().shared(),
      .screen = UIScreen::slot().shared(),
      .application = UIApplication::slot().shared(),
  };
}

}  // namespace aurimo::platform
