#pragma once
// The event modules of every subsystem. A subsystem is one file here that
// makes its module, plus one line in registerAllEvents.
//
//   EventHost host;
//   registerAllEvents(host);

#include <memory>

#include "support/event_host.h"
#include "support/event_module.h"

namespace aurimo::tool {

// "link", "payload", "resetRoute": universal-link routing (link_events.cc).
std::unique_ptr<EventModule> linkEvents();

// "foreground", "notificationSystem", "requestNotificationPermission",
// "notificationTap", "trialReminder": notifications (notification_events.cc).
std::unique_ptr<EventModule> notificationEvents();

// "photoPermission", "savePhoto", "imageCacheWrite", "imageCacheRead": the
// photo library and the image cache (media_events.cc).
std::unique_ptr<EventModule> mediaEvents();

// Adds every subsystem's module to `host`.
void registerAllEvents(EventHost& host);

}  // namespace aurimo::tool
