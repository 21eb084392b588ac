#pragma once
// UIApplication: the application object. shared() is a replaceable
// process-wide service holding what is app-wide on screen: the visible
// windows, in stacking order, and whether the idle timer is switched off. The
// host posts willEnterForegroundNotification on the default notification
// centre whenever the app comes back to the foreground.
//
// Thread contract: the names may be read from any thread; everything else is
// main thread only (checked in debug builds).
//
//   platform::UIApplication::shared().setIdleTimerDisabled(true);
//   for (const auto& window : platform::UIApplication::shared().windows()) dump(*window);

#include <memory>
#include <vector>

#include "platform/notification_center.h"
#include "platform/replaceable.h"

namespace aurimo::platform {

class UIWindow;

class UIApplication {
 public:
  // "UIApplicationWillEnterForegroundNotification", made once on first use.
  static NotificationName willEnterForegroundNotification() {
    static const NotificationName name("UIApplicationWillEnterForegroundNotification");
    return name;
  }

  static UIApplication& shared() { return slot().get(); }
  static Replaceable<UIApplication>& slot();

  bool isIdleTimerDisabled() const { return idleTimerDisabled_; }
  void setIdleTimerDisabled(bool disabled);

  // The visible windows, lowest level first; among equal levels, in the order they were shown.
  std::vector<std::shared_ptr<UIWindow>> windows() const;

 private:
  friend class UIWindow;
  // A visible window is kept alive by the application until it is hidden.
  void windowDidShow(std::shared_ptr<UIWindow> window);
  void windowDidHide(const UIWindow& window);

  bool idleTimerDisabled_ = false;
  std::vector<std::shared_ptr<UIWindow>> windows_;  // in the order shown
};

}  // namespace aurimo::platform
