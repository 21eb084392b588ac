#include "events.h"

namespace aurimo::tool {

void registerAllEvents(EventHost& host) {
  registerLinkEvents(host);
}

}  // namespace aurimo::tool
