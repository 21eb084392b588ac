// Module aurimo-desktop.so: the session-bus presenter for
// `aurimo notifications deliver`.
#include <exception>
#include <string>
#include <type_traits>

#include "platform/dbus_notification_presenter.h"
#include "support/plugins.h"

extern "C" __attribute__((visibility("default"))) aurimo::platform::DesktopNotificationPresenter* aurimoConnectDesktop(
    std::string* problem) {
  static_assert(std::is_same_v<decltype(&aurimoConnectDesktop), aurimo::tool::DesktopEntry>);
  try {
    return aurimo::platform::DBusNotificationPresenter::connect(*problem).release();
  } catch (const std::exception& error) {
    *problem = error.what();
    return nullptr;
  }
}
