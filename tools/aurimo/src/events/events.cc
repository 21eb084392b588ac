#include "events.h"

namespace aurimo::tool {

void registerAllEvents(EventHost& host) {
  registerLinkEvents(host);
  registerMediaEvents(host);
  registerNotificationEvents(host);
}

}  // namespace aurimo::tool
