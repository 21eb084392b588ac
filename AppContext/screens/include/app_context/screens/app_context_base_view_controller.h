#pragma once
// AppContextBaseViewController: the base of the app's screens, giving each
// a non-owning reference to the application context. The context must
// outlive its screens; reading the reference after the context is gone stops
// the process instead of handing out a dangling or empty one.
//
// Thread contract: main thread only, like every screen.
//
//   auto screen = std::make_shared<HomeScreen>();
//   screen->setAppContext(context);   // screen->appContext() is now the context

#include <memory>

#include "shared_logic_kit/base_view_controller.h"

namespace aurimo {

class AppContext;

class AppContextBaseViewController : public SharedLogicKit::BaseViewController {
 public:
  // Null until setAppContext(); stops the process once the context it was given is gone.
  AppContext* appContext() const;
  void setAppContext(const std::shared_ptr<AppContext>& appContext);

  std::string_view className() const override { return "AppContextBaseViewController"; }

 private:
  std::weak_ptr<AppContext> appContext_;
  bool hasAppContext_ = false;
};

}  // namespace aurimo
