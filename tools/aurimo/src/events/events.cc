#include "events/events.h"

namespace aurimo::tool {

std::shared_ptr<AppSession> registerAllEvents(EventHost& host) {
  auto app = std::make_shared<AppSession>(host.person());
  host.add(appEvents(app));
  host.add(linkEvents(app));
  host.add(mediaEvents(app));
  host.add(notificationEvents(app));
  host.add(screenEvents(app));
  host.add(browserEvents(app));
  host.add(snapshotEvents(app));
  return app;
}

}  // namespace aurimo::tool
