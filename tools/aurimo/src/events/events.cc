#include "events/events.h"

namespace aurimo::tool {

void registerAllEvents(EventHost& host) {
  host.add(linkEvents());
  host.add(mediaEvents());
  host.add(notificationEvents());
}

}  // namespace aurimo::tool
