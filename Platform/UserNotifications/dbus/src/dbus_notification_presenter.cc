#include "platform/dbus_notification_presenter.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include <sdbus-c++/sdbus-c++.h>

namespace aurimo::platform {
namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr const char* kInterface = "org.freedesktop.Notifications";

}  // namespace

struct DBusNotificationPresenter::Bus {
  std::unique_ptr<sdbus::IConnection> connection;
  std::unique_ptr<sdbus::IProxy> proxy;  // destroyed first: it uses the connection

  std::mutex mutex;
  std::function<void(std::uint32_t)> onClick;  // guarded by mutex

  void clicked(std::uint32_t id, const std::string& action) {
    if (action != "default") return;
    // Called under the lock, so a handler replaced or removed is never running after.
    std::lock_guard lock(mutex);
    if (onClick) onClick(id);
  }
};

std::unique_ptr<DBusNotificationPresenter> DBusNotificationPresenter::connect(std::string& problem) {
  auto bus = std::make_unique<Bus>();
  try {
    bus->connection = sdbus::createSessionBusConnection();
    bus->proxy = sdbus::createProxy(*bus->connection, kService, kPath);
    bus->proxy->uponSignal("ActionInvoked").onInterface(kInterface).call(
        [raw = bus.get()](std::uint32_t id, const std::string& action) { raw->clicked(id, action); });
    bus->proxy->finishRegistration();
    bus->connection->enterEventLoopAsync();
  } catch (const sdbus::Error& error) {
    problem = error.getMessage().empty() ? error.getName() : error.getMessage();
    return nullptr;
  }
  return std::unique_ptr<DBusNotificationPresenter>(new DBusNotificationPresenter(std::move(bus)));
}

DBusNotificationPresenter::DBusNotificationPresenter(std::unique_ptr<Bus> bus) : bus_(std::move(bus)) {}

DBusNotificationPresenter::~DBusNotificationPresenter() {
  // Stops the bus thread before the handler and the proxy go.
  bus_->connection->leaveEventLoop();
}

DesktopNotificationPresenter::Shown DBusNotificationPresenter::notify(const std::string& summary,
                                                                      const std::string& body,
                                                                      const std::string& category,
                                                                      std::uint32_t replacesId) {
  const std::map<std::string, sdbus::Variant> hints = {
      {"category", sdbus::Variant(category)},
      {"desktop-entry", sdbus::Variant(std::string(kAppName))},
  };
  const std::vector<std::string> actions = {"default", "Open"};
  Shown shown;
  try {
    // The reply comes through the bus thread, so no lock it takes is held here.
    bus_->proxy->callMethod("Notify")
        .onInterface(kInterface)
        .withArguments(std::string(kAppName), replacesId, std::string(), summary, body, actions, hints,
                       std::int32_t{-1})
        .storeResultsTo(shown.id);
  } catch (const sdbus::Error& error) {
    shown.error = error.getName() + ": " + error.getMessage();
  }
  return shown;
}

void DBusNotificationPresenter::setClickHandler(std::function<void(std::uint32_t id)> handler) {
  std::lock_guard lock(bus_->mutex);
  bus_->onClick = std::move(handler);
}

}  // namespace aurimo::platform
