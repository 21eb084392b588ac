#pragma once
// AppSession: the app as the host plays it. One AppContext per run, made by
// a launch event or, failing that, by the first other event with the default
// account (anonymous, no identifier); the context's own managers serve every
// event. The app's seven managers and the frameworks' objects are recording
// stand-ins, so answers can list the calls made on them. Starting the session
// (on first use) points the user-notification and photo "system" sides at the
// host's person, plays the device kept in the state folder (its reachability
// included), and sets a clock that `wait` events move on.
//
// Thread contract: main thread only, like the host.
//
//   AppSession app(host.person());
//   AppContext& context = app.context();   // launches with the default account

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "app_context/context/app_context.h"
#include "app_context/media/cache_helper.h"
#include "app_context/screens/app_context_base_navigation_controller.h"
#include "platform/notification_center.h"
#include "support/device_state.h"
#include "support/event_host.h"
#include "support/host_clock.h"
#include "toolbox_kit/network_reachability.h"
#include "testing/recording_app_managers.h"

namespace aurimo::tool {

// The notification manager's broadcasts, in delivery order, as
// {"name":…,"userInfo":{…}}. Any thread (the manager posts from the main queue).
class BroadcastRecorder {
 public:
  BroadcastRecorder();
  std::size_t count() const;
  nlohmann::ordered_json since(std::size_t mark) const;

 private:
  mutable std::mutex mutex_;
  std::vector<nlohmann::ordered_json> entries_;  // guarded by mutex_
  std::vector<platform::ObserverToken> tokens_;   // declared last: unregisters first
};

class AppSession {
 public:
  explicit AppSession(std::shared_ptr<HostPerson> person);
  ~AppSession();
  AppSession(const AppSession&) = delete;
  AppSession& operator=(const AppSession&) = delete;

  bool isLaunched() const { return context_ != nullptr; }
  // Launches with `account` and settles; throws EventError when the app already runs.
  void launch(SignInState account);
  // The running app, launched with the default account first when nothing launched it.
  AppContext& context();

  const test::CallLog& calls() const { return *log_; }
  test::RecordingAppManagers& managers() { return managers_; }
  CacheHelper& imageCache() { return *imageCache_; }
  // The navigation stack at the window's root; the tab screen is its first screen.
  AppContextBaseNavigationController& navigation() { return *navigation_; }
  DeviceState& device() { return started().device; }
  // Applies a changed device, reachability included.
  void deviceDidChange();
  HostClock& clock() { return *started().clock; }

  // Lines the app printed on its console since the last call.
  std::vector<std::string> takeConsole();
  // What callers' completions reported since the last call: the alert button a
  // completion was called with, and whether the indicator's close handler ran.
  std::optional<AlertAction> takeAlertCompletion() { return std::exchange(alertCompletion_, std::nullopt); }
  AlertAction::Completion alertCompletion() {
    return [this](AlertAction tapped) { alertCompletion_ = tapped; };
  }
  bool takeCloseHandlerCalled() { return std::exchange(closeHandlerCalled_, false); }
  std::function<void()> closeHandler() {
    return [this] { closeHandlerCalled_ = true; };
  }

  // Route-change announcements delivered since the launch.
  std::size_t announcements() const { return announcements_; }
  // The mark a notification event counts its broadcasts from: the first one also
  // reports what the launch broadcast, unless a launch event reported it already.
  std::size_t takeBroadcastMark();
  // The launch event's broadcasts: everything so far, reported from now on.
  nlohmann::ordered_json reportLaunchBroadcasts();
  nlohmann::ordered_json broadcastsSince(std::size_t mark) const { return started_->broadcasts.since(mark); }

 private:
  struct Started {
    explicit Started(const std::shared_ptr<HostPerson>& person);
    DeviceState device;
    std::shared_ptr<ToolboxKit::FixedNetworkReachability> reachability;
    std::shared_ptr<HostClock> clock = std::make_shared<HostClock>();
    BroadcastRecorder broadcasts;
  };
  Started& started();

  const std::shared_ptr<HostPerson> person_;
  const std::shared_ptr<test::CallLog> log_ = std::make_shared<test::CallLog>();
  test::RecordingAppManagers managers_{log_};
  std::unique_ptr<Started> started_;
  std::optional<std::size_t> unreportedBroadcasts_ = 0;
  std::shared_ptr<platform::UIWindow> window_;
  std::shared_ptr<test::RecordingTabBarController> tabBar_;
  std::shared_ptr<AppContextBaseNavigationController> navigation_;
  std::shared_ptr<CacheHelper> imageCache_;
  std::shared_ptr<AppContext> context_;
  std::size_t announcements_ = 0;
  std::vector<std::string> console_;
  std::optional<AlertAction> alertCompletion_;
  bool closeHandlerCalled_ = false;
  platform::ObserverToken announcementsToken_;  // declared last: unregisters before the counter goes
};

}  // namespace aurimo::tool
