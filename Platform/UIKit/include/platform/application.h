#pragma once
// UIApplication: the application object's broadcast names, as UIKit's. The
// host posts willEnterForegroundNotification on the default notification
// centre whenever the app comes back to the foreground.
//
// Thread contract: the names may be read from any thread.
//
//   auto token = platform::NotificationCenter::defaultCenter().addObserver(
//       platform::UIApplication::willEnterForegroundNotification(), nullptr, onForeground);

#include "platform/notification_center.h"

namespace aurimo::platform {

class UIApplication {
 public:
  // "UIApplicationWillEnterForegroundNotification", made once on first use.
  static NotificationName willEnterForegroundNotification() {
    static const NotificationName name("UIApplicationWillEnterForegroundNotification");
    return name;
  }
};

}  // namespace aurimo::platform
