#pragma once
// DBusNotificationPresenter: the desktop presenter over the session bus's
// org.freedesktop.Notifications service. Clicks arrive as the service's
// ActionInvoked signal on a bus thread this presenter runs.
//
// Thread contract: as DesktopNotificationPresenter.
//
//   std::string problem;
//   auto presenter = platform::DBusNotificationPresenter::connect(problem);
//   if (!presenter) report("no session bus: " + problem);

#include <memory>
#include <string>

#include "platform/desktop_notification_presenter.h"

namespace aurimo::platform {

class DBusNotificationPresenter final : public DesktopNotificationPresenter {
 public:
  // The name the notifications carry, as app_name and desktop-entry hint.
  static constexpr const char* kAppName = "aurimo";

  // Connects to the session bus (DBUS_SESSION_BUS_ADDRESS); nullptr with
  // `problem` set when there is none or it cannot be reached.
  static std::unique_ptr<DBusNotificationPresenter> connect(std::string& problem);
  ~DBusNotificationPresenter() override;

  Shown notify(const std::string& summary, const std::string& body, const std::string& category,
               std::uint32_t replacesId) override;
  void setClickHandler(std::function<void(std::uint32_t id)> handler) override;

 private:
  struct Bus;
  explicit DBusNotificationPresenter(std::unique_ptr<Bus> bus);
  std::unique_ptr<Bus> bus_;
};

}  // namespace aurimo::platform
