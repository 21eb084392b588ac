#pragma once
// BaseViewController: the common base of the app's screens.
//
// Thread contract: main thread only, like every screen.
//
//   class SettingsScreen : public SharedLogicKit::BaseViewController { ... };

#include "platform/ui_view_controller.h"

namespace aurimo::SharedLogicKit {

class BaseViewController : public platform::UIViewController {};

}  // namespace aurimo::SharedLogicKit
