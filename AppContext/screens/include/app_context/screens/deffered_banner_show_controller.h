#pragma once
// DefferedBannerShowController: a screen that may hold the app's banner
// actions back while it is on screen and release them when it is dismissed.
// The banner logic asks canShowDefferedBannerNow() before running an action;
// on a no it sets needsToRunDefferedBannerActionsAfterDismiss and waits for
// defferedActionsCanBeExecuted(), which the screen posts on the default
// notification centre (no sender, no user info) as it goes.
//
// Thread contract: main thread only, like every screen.
//
//   if (holder.canShowDefferedBannerNow()) runBannerAction();
//   else holder.setNeedsToRunDefferedBannerActionsAfterDismiss(true);

#include "platform/notification_center.h"

namespace aurimo {

class DefferedBannerShowController {
 public:
  virtual ~DefferedBannerShowController() = default;

  // The release broadcast; observers match this text, spelling included.
  static platform::NotificationName defferedActionsCanBeExecuted() {
    static const platform::NotificationName name("defferedBannerShowController_defferedActionsCanBeExecuted");
    return name;
  }

  virtual bool isDefferingBannerActionsEnabled() const = 0;
  virtual void setIsDefferingBannerActionsEnabled(bool enabled) = 0;
  // Set by the banner logic when it held an action back for this screen.
  virtual bool needsToRunDefferedBannerActionsAfterDismiss() const = 0;
  virtual void setNeedsToRunDefferedBannerActionsAfterDismiss(bool needsToRun) = 0;
  // False while this screen holds banners back: deferring is on and the
  // screen is presented and not on its way out. A banner may run otherwise.
  virtual bool canShowDefferedBannerNow() const = 0;
};

}  // namespace aurimo
