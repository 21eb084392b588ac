#include "events.h"

namespace aurimo::tool {

void registerAllEvents(EventHost& host) {
  registerLinkEvents(host);
  registerNotificationEvents(host);
}

}  // namespace aurimo::tool
