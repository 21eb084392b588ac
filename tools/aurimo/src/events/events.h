#pragma once
// The event handlers of every subsystem, each registered by one call.
//
//   EventHost host;
//   registerAllEvents(host);

#include "event_host.h"

namespace aurimo::tool {

// "link", "payload", "resetRoute": universal-link routing (link_events.cc).
void registerLinkEvents(EventHost& host);

// "foreground", "notificationSystem", "requestNotificationPermission",
// "notificationTap", "trialReminder": notifications (notification_events.cc).
void registerNotificationEvents(EventHost& host);

// "photoPermission", "savePhoto", "imageCacheWrite", "imageCacheRead": the
// photo library and the image cache (media_events.cc).
void registerMediaEvents(EventHost& host);

// Every subsystem's events; add a subsystem's registration call here.
void registerAllEvents(EventHost& host);

}  // namespace aurimo::tool
