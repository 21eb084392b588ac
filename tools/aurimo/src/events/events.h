#pragma once
// The event modules of every subsystem. A subsystem is one file here that
// makes its module, plus one line in registerAllEvents. Every module serves
// its events through the one app the run launches (AppSession).
//
//   EventHost host;
//   registerAllEvents(host);

#include <memory>

#include "support/app_session.h"
#include "support/event_host.h"
#include "support/event_module.h"

namespace aurimo::tool {

// "launch", "settings", "remoteConfig", "device", "flags", "apiServerUserIdentifier",
// "apiUrl": the application context (app_events.cc).
std::unique_ptr<EventModule> appEvents(std::shared_ptr<AppSession> app);

// "link", "payload", "appsFlyerDeepLink", "resetRoute": universal-link routing (link_events.cc).
std::unique_ptr<EventModule> linkEvents(std::shared_ptr<AppSession> app);

// "foreground", "notificationSystem", "requestNotificationPermission",
// "notificationTap", "trialReminder": notifications (notification_events.cc).
std::unique_ptr<EventModule> notificationEvents(std::shared_ptr<AppSession> app);

// "photoPermission", "savePhoto", "imageCacheWrite", "imageCacheRead": the
// photo library and the image cache (media_events.cc).
std::unique_ptr<EventModule> mediaEvents(std::shared_ptr<AppSession> app);

// "alert", "errorAlert", "tapAlertButton", "showActivityIndicator",
// "hideActivityIndicator", "tapActivityIndicatorClose", "activityIndicator",
// "wait", "screen": what is on screen (screen_events.cc).
std::unique_ptr<EventModule> screenEvents(std::shared_ptr<AppSession> app);

// "openBrowser", "holdBannerAction", "coverBrowser", "dismissBrowser": the
// in-app browser (browser_events.cc).
std::unique_ptr<EventModule> browserEvents(std::shared_ptr<AppSession> app);

// "snapshot": a PNG picture of the screen (snapshot_events.cc).
std::unique_ptr<EventModule> snapshotEvents(std::shared_ptr<AppSession> app);

// Adds every subsystem's module to `host`, all sharing one app, which it returns.
std::shared_ptr<AppSession> registerAllEvents(EventHost& host);

}  // namespace aurimo::tool
