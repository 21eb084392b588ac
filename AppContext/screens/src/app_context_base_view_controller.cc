#include "app_context/screens/app_context_base_view_controller.h"

#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"

namespace aurimo {

AppContext* AppContextBaseViewController::appContext() const {
  platform::dispatchPreconditionOnMain();
  if (!hasAppContext_) return nullptr;
  std::shared_ptr<AppContext> context = appContext_.lock();
  if (!context) platform::fatalError("a screen read its AppContext after the context was destroyed");
  return context.get();
}

void AppContextBaseViewController::setAppContext(const std::shared_ptr<AppContext>& appContext) {
  platform::dispatchPreconditionOnMain();
  appContext_ = appContext;
  hasAppContext_ = appContext != nullptr;
}

}  // namespace aurimo
