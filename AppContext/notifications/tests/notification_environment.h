#pragma once
// NotificationEnvironment: what a notifications test touches, fresh for each
// test: folders in a temporary directory, in-memory user defaults, a new
// default notification centre, a FakeClock, a pinned time zone and a user
// notification centre whose prompt is scripted. BroadcastLog records the five
// manager broadcasts in delivery order.
//
// Thread contract: create and destroy on the test's (main) thread; settle()
// before the environment goes so no queued work outlives it.
//
//   NotificationEnvironment env;
//   auto manager = aurimo::QzUserNotificationManager::create();
//   env.settle(*manager);

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "app_context/notifications/qz_local_user_notification_scheduler.h"
#include "app_context/notifications/qz_user_notification_manager.h"
#include "platform/calendar.h"
#include "platform/directories.h"
#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"
#include "platform/notification_center.h"
#include "platform/run_loop.h"
#include "platform/time_zone.h"
#include "platform/un_user_notification_center.h"
#include "platform/user_defaults.h"
#include "testing/fake_clock.h"
#include "testing/scripted_permission_prompt.h"

namespace aurimo::testing_env {

struct Broadcast {
  std::string name;
  nlohmann::json userInfo;
  const void* object = nullptr;
};

class BroadcastLog {
 public:
  BroadcastLog() {
    using M = QzUserNotificationManager;
    for (platform::NotificationName name :
         {M::systemAllowsToUseNotificationsValueDidChangeNotification(), M::didInitialSetupNotificationsPermissonsOrChanged(),
          M::didRequestAuthorizationNotification(), M::userGetPushNotification(),
          M::userNotificationOpensAppNotification()}) {
      tokens_.push_back(platform::NotificationCenter::defaultCenter().addObserver(
          name, nullptr, [this](const platform::Notification& n) {
            std::lock_guard lock(mutex_);
            entries_.push_back({n.name.rawValue(), n.userInfo, n.object});
          }));
    }
  }

  // Everything recorded since the last take().
  std::vector<Broadcast> take() {
    std::lock_guard lock(mutex_);
    return std::exchange(entries_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Broadcast> entries_;  // guarded by mutex_
  std::vector<platform::ObserverToken> tokens_;
};

class NotificationEnvironment {
 public:
  explicit NotificationEnvironment(const char* zone = "Europe/Berlin") : root_(makeRoot()) {
    directories_.emplace(platform::Directories::slot(),
                         std::make_shared<platform::Directories>(platform::Directories::Locations{
                             root_ / "data", root_ / "data", root_ / "caches", root_ / "pictures"}));
    defaults_.emplace(platform::UserDefaults::slot(), std::make_shared<platform::UserDefaults>());
    broadcasts_.emplace(platform::NotificationCenter::slot(), std::make_shared<platform::NotificationCenter>());
    clock_.emplace(platform::Clock::slot(), clock);
    zone_.emplace(platform::TimeZone::slot(), std::make_shared<platform::TimeZone>(*platform::TimeZone::named(zone)));
    restartCenter(root_ / "data");
  }
  ~NotificationEnvironment() {
    center_.reset();
    zone_.reset();
    clock_.reset();
    broadcasts_.reset();
    defaults_.reset();
    directories_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  NotificationEnvironment(const NotificationEnvironment&) = delete;
  NotificationEnvironment& operator=(const NotificationEnvironment&) = delete;

  // A new system centre on `stateDirectory`, as after a restart.
  void restartCenter(const std::filesystem::path& stateDirectory) {
    center_.reset();
    center_.emplace(platform::UNUserNotificationCenter::slot(),
                    std::make_shared<platform::UNUserNotificationCenter>(stateDirectory, prompt));
  }

  static platform::UNUserNotificationCenter& center() { return platform::UNUserNotificationCenter::current(); }

  void setStatus(platform::UNAuthorizationStatus status) {
    if (auto error = center().setAuthorizationStatus(status)) {
      std::fprintf(stderr, "setAuthorizationStatus: %s\n", error->message.c_str());
      std::abort();
    }
  }

  // Drains the main run loop until neither object has background work left.
  static void settle(QzUserNotificationManager* manager, QzLocalUserNotificationScheduler* scheduler = nullptr) {
    bool waited = true;
    while (waited) {
      platform::RunLoop::main().runUntilIdle();
      waited = false;
      if (manager) waited = manager->waitUntilIdle() || waited;
      if (scheduler) waited = scheduler->waitUntilIdle() || waited;
    }
  }

  // The pending requests, read back through the centre.
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

  // An instant given in UTC.
  static platform::Date utc(int year, int month, int day, int hour, int minute, int second = 0) {
    return *platform::Calendar(platform::TimeZone::gmt())
                .date(platform::DateComponents{
                    .year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
  }

  const std::filesystem::path& root() const { return root_; }

  const std::shared_ptr<testing_support::FakeClock> clock = std::make_shared<testing_support::FakeClock>();
  const std::shared_ptr<testing_support::ScriptedNotificationPermissionPrompt> prompt =
      std::make_shared<testing_support::ScriptedNotificationPermissionPrompt>();

 private:
  static std::filesystem::path makeRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "aurimo-notifications-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      std::fprintf(stderr, "NotificationEnvironment: cannot create a temporary folder\n");
      std::abort();
    }
    return pattern;
  }

  const std::filesystem::path root_;
  std::optional<platform::ScopedReplacement<platform::Directories>> directories_;
  std::optional<platform::ScopedReplacement<platform::UserDefaults>> defaults_;
  std::optional<platform::ScopedReplacement<platform::NotificationCenter>> broadcasts_;
  std::optional<platform::ScopedReplacement<platform::Clock>> clock_;
  std::optional<platform::ScopedReplacement<platform::TimeZone>> zone_;
  std::optional<platform::ScopedReplacement<platform::UNUserNotificationCenter>> center_;
};

}  // namespace aurimo::testing_env
