#pragma once
// NotificationEnvironment: a fresh world per test: temporary folders,
// in-memory user defaults, a new default notification centre, a FakeClock, a
// pinned time zone and a user notification centre asking a ScriptedPerson. It
// records the manager's five broadcasts as "name userInfo" lines.
//
// Thread contract: create, settle and destroy on the test's (main) thread.
//
//   NotificationEnvironment env("America/New_York");
//   auto manager = aurimo::QzUserNotificationManager::create();
//   env.settle(manager.get());

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app_context/notifications/qz_local_user_notification_scheduler.h"
#include "app_context/notifications/qz_user_notification_manager.h"
#include "platform/calendar.h"
#include "platform/directories.h"
#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"
#include "platform/run_loop.h"
#include "platform/user_defaults.h"
#include "testing/fake_clock.h"
#include "testing/scripted_person.h"

namespace aurimo::test {

using platform::ScopedReplacement;

class NotificationEnvironment {
 public:
  explicit NotificationEnvironment(const char* zone = "Europe/Berlin")
      : root_(makeRoot()),
        directories_(platform::Directories::slot(), std::make_shared<platform::Directories>(platform::Directories::Locations{
                                                        root_, root_, root_ / "caches", root_ / "pictures"})),
        defaults_(platform::UserDefaults::slot(), std::make_shared<platform::UserDefaults>()),
        broadcasts_(platform::NotificationCenter::slot(), std::make_shared<platform::NotificationCenter>()),
        clockPin_(platform::Clock::slot(), clock),
        zone_(platform::TimeZone::slot(), std::make_shared<platform::TimeZone>(*platform::TimeZone::named(zone))) {
    restartCenter(root_);
    using M = QzUserNotificationManager;
    for (auto name : {M::systemAllowsToUseNotificationsValueDidChangeNotification(),
                      M::didInitialSetupNotificationsPermissonsOrChanged(), M::didRequestAuthorizationNotification(),
                      M::userGetPushNotification(), M::userNotificationOpensAppNotification()}) {
      tokens_.push_back(platform::NotificationCenter::defaultCenter().addObserver(
          name, nullptr, [this](const platform::Notification& n) {
            std::lock_guard lock(mutex_);
            log_.push_back(n.name.rawValue() + " " + n.userInfo.dump());
          }));
    }
  }
  ~NotificationEnvironment() {
    tokens_.clear();
    center_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  NotificationEnvironment(const NotificationEnvironment&) = delete;
  NotificationEnvironment& operator=(const NotificationEnvironment&) = delete;

  // A new system centre keeping its state in `stateDirectory`.
  void restartCenter(const std::filesystem::path& stateDirectory) {
    center_.reset();
    center_.emplace(platform::UNUserNotificationCenter::slot(),
                    std::make_shared<platform::UNUserNotificationCenter>(stateDirectory, person));
  }
  static platform::UNUserNotificationCenter& center() { return platform::UNUserNotificationCenter::current(); }
  void setStatus(platform::UNAuthorizationStatus status) {
    (void)center().setAuthorizationStatus(status);  // a failing store still changes the status
  }

  // The broadcasts recorded since the last call.
  std::vector<std::string> broadcasts() {
    std::lock_guard lock(mutex_);
    return std::exchange(log_, {});
  }

  // Drains the main run loop until neither object has background work left.
  static void settle(QzUserNotificationManager* manager, QzLocalUserNotificationScheduler* scheduler = nullptr) {
    for (bool again = true; again;) {
      platform::RunLoop::main().runUntilIdle();
      again = manager && manager->waitUntilIdle();
      again = (scheduler && scheduler->waitUntilIdle()) || again;
    }
  }

  static std::vector<platform::UNNotificationRequest> pending() {
    std::vector<platform::UNNotificationRequest> result;
    platform::DispatchGroup done;
    done.enter();
    center().getPendingNotificationRequests([&](std::vector<platform::UNNotificationRequest> requests) {
      result = std::move(requests);
      done.leave();
    });
    done.wait();
    return result;
  }
  static std::vector<std::string> pendingIdentifiers() {
    std::vector<std::string> ids;
    for (const auto& request : pending()) ids.push_back(request.identifier());
    return ids;
  }

  static platform::Date utc(int year, int month, int day, int hour, int minute, int second = 0) {
    return *platform::Calendar(platform::TimeZone::gmt())
                .date({.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
  }

  const std::filesystem::path& root() const { return root_; }

  const std::shared_ptr<test::FakeClock> clock = std::make_shared<test::FakeClock>();
  const std::shared_ptr<ScriptedPerson> person = std::make_shared<ScriptedPerson>();

 private:
  static std::filesystem::path makeRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "aurimo-notifications-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    return pattern;
  }

  const std::filesystem::path root_;
  ScopedReplacement<platform::Directories> directories_;
  ScopedReplacement<platform::UserDefaults> defaults_;
  ScopedReplacement<platform::NotificationCenter> broadcasts_;
  ScopedReplacement<platform::Clock> clockPin_;
  ScopedReplacement<platform::TimeZone> zone_;
  std::optional<ScopedReplacement<platform::UNUserNotificationCenter>> center_;
  std::mutex mutex_;
  std::vector<std::string> log_;  // guarded by mutex_
  std::vector<platform::ObserverToken> tokens_;
};

}  // namespace aurimo::test
