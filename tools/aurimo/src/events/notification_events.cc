// Events of the notifications subsystem:
//   {"event":"foreground"}
//   {"event":"notificationSystem","status":"notDetermined"|"denied"|"authorized"|"provisional"|"ephemeral","answer":true|false}
//   {"event":"requestNotificationPermission"}
//   {"event":"notificationTap","category":"…"}
//   {"event":"trialReminder","start":ISO8601,"end":ISO8601}
// each answered with the manager's broadcasts delivered while the event
// settled, in order, and the pending requests afterwards.
//
// The first of these events starts the subsystem as the app's launch does:
// scheduler, manager (whose start-up refresh may broadcast), a first schedule
// update. The app's discount reminder is stood in for by a daily 19:00 one.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app_context/notifications/qz_local_user_notification_scheduler.h"
#include "app_context/notifications/qz_user_notification_manager.h"
#include "events/events.h"
#include "platform/application.h"
#include "platform/calendar.h"
#include "platform/directories.h"
#include "platform/iso8601.h"
#include "platform/notification_center.h"
#include "platform/un_user_notification_center.h"
#include "support/notification_json.h"

namespace aurimo::tool {
namespace {

using platform::UNAuthorizationStatus;

class BroadcastRecorder {
 public:
  BroadcastRecorder() {
    using M = QzUserNotificationManager;
    for (platform::NotificationName name :
         {M::systemAllowsToUseNotificationsValueDidChangeNotification(), M::didInitialSetupNotificationsPermissonsOrChanged(),
          M::didRequestAuthorizationNotification(), M::userGetPushNotification(),
          M::userNotificationOpensAppNotification()}) {
      tokens_.push_back(platform::NotificationCenter::defaultCenter().addObserver(
          name, nullptr, [this](const platform::Notification& n) {
            nlohmann::ordered_json entry;
            entry["name"] = n.name.rawValue();
            entry["userInfo"] = n.userInfo.is_object() ? nlohmann::ordered_json(n.userInfo) : nlohmann::ordered_json::object();
            std::lock_guard lock(mutex_);
            entries_.push_back(std::move(entry));
          }));
    }
  }

  std::size_t count() const {
    std::lock_guard lock(mutex_);
    return entries_.size();
  }
  nlohmann::ordered_json since(std::size_t mark) const {
    std::lock_guard lock(mutex_);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (std::size_t i = mark; i < entries_.size(); ++i) list.push_back(entries_[i]);
    return list;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<nlohmann::ordered_json> entries_;  // guarded by mutex_
  std::vector<platform::ObserverToken> tokens_;   // declared last: unregisters first
};

// The subsystem as the app's launch leaves it; the recorder, made first,
// hears the launch's own broadcasts.
struct NotificationSession {
  explicit NotificationSession(std::shared_ptr<platform::Person> person) {
    platform::UNUserNotificationCenter::slot().replace(std::make_shared<platform::UNUserNotificationCenter>(
        platform::Directories::current().stateDirectory(), std::move(person)));
    // In the order the application context creates them.
    scheduler = QzLocalUserNotificationScheduler::create();
    manager = QzUserNotificationManager::create();
    scheduler->setScheduleDiscount([] {
      platform::UNMutableNotificationContent content;
      content.title = "Your discount is waiting";
      content.sound = platform::UNNotificationSound::defaultSound();
      content.categoryIdentifier = std::string(QzUserNotificationManager::discountReminderNotificationCategoryIdentifier);
      platform::UNUserNotificationCenter::current().add(
          platform::UNNotificationRequest(
              "discount_reminder", content,
              std::make_shared<platform::UNCalendarNotificationTrigger>(
                  platform::DateComponents{.hour = 19, .minute = 0, .second = 0}, /*repeats=*/true)),
          nullptr);
    });
    scheduler->updateSchedule(nullptr);
  }


  BroadcastRecorder broadcasts;
  std::shared_ptr<QzLocalUserNotificationScheduler> scheduler;
  std::shared_ptr<QzUserNotificationManager> manager;
};

std::optional<UNAuthorizationStatus> statusNamed(const std::string& name) {
  static const std::pair<const char*, UNAuthorizationStatus> kStatuses[] = {
      {"notDetermined", UNAuthorizationStatus::notDetermined}, {"denied", UNAuthorizationStatus::denied},
      {"authorized", UNAuthorizationStatus::authorized},       {"provisional", UNAuthorizationStatus::provisional},
      {"ephemeral", UNAuthorizationStatus::ephemeral},
  };
  for (const auto& [text, status] : kStatuses) {
    if (name == text) return status;
  }
  return std::nullopt;
}

platform::Date requiredDate(const nlohmann::json& event, const char* field) {
  const std::string text = requiredString(event, field);
  std::optional<platform::Date> date = platform::parseIso8601(text, platform::Calendar::current());
  if (!date) throw EventError(event["event"].get<std::string>() + ": \"" + field + "\" is not an ISO 8601 date and time");
  return *date;
}

class NotificationEvents final : public EventModule {
 public:
  void registerEvents(EventHost& host) override;

 private:
  // Started by the first notification event, so other commands never touch notification state.
  NotificationSession& started() {
    if (!session_) {
      session_ = std::make_unique<NotificationSession>(host_->person());
      // The launch settles before the event's own work, so the two never race.
      host_->settle();
    }
    return *session_;
  }

  EventHost* host_ = nullptr;
  std::unique_ptr<NotificationSession> session_;
};

void NotificationEvents::registerEvents(EventHost& host) {
  host_ = &host;
  // Wraps an event's work: broadcasts are counted from before the session starts.
  auto on = [this, &host](std::string name, std::function<void(NotificationSession&, const nlohmann::json&)> work) {
    host.on(std::move(name), [this, work = std::move(work)](const nlohmann::json& event) -> EventHost::Answer {
      const std::size_t mark = session_ ? session_->broadcasts.count() : 0;
      NotificationSession& session = started();
      work(session, event);
      return [&session, mark](nlohmann::ordered_json& out) {
        out["broadcasts"] = session.broadcasts.since(mark);
        out["pending"] = pendingRequestsJson(pendingRequests(platform::UNUserNotificationCenter::current()));
      };
    });
  };

  on("foreground", [](NotificationSession&, const nlohmann::json&) {
    platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
  });

  on("notificationSystem", [person = host.person()](NotificationSession&, const nlohmann::json& event) {
    std::optional<UNAuthorizationStatus> status;
    if (std::optional<std::string> name = optionalString(event, "status")) {
      status = statusNamed(*name);
      if (!status) {
        throw EventError("notificationSystem: \"status\" must be notDetermined, denied, authorized, provisional or ephemeral");
      }
    }
    std::optional<bool> answer;
    if (event.contains("answer")) {
      if (!event["answer"].is_boolean()) throw EventError("notificationSystem: \"answer\" must be true or false");
      answer = event["answer"].get<bool>();
    }
    if (answer) {
      person->answer(std::string(platform::UNUserNotificationCenter::kPermissionKind),
                     std::string(*answer ? platform::kAllowChoice : platform::kDontAllowChoice));
    }
    if (status) {
      if (auto error = platform::UNUserNotificationCenter::current().setAuthorizationStatus(*status)) {
        throw EventError("notificationSystem: " + error->message);
      }
    }
  });

  on("requestNotificationPermission", [](NotificationSession& session, const nlohmann::json&) {
    // The answer shows in the broadcasts.
    session.manager->requestAuthorization([](bool, std::optional<platform::UNError>) {});
  });

  on("notificationTap", [](NotificationSession&, const nlohmann::json& event) {
    platform::UNMutableNotificationContent content;
    content.categoryIdentifier = requiredString(event, "category");
    platform::UNNotificationResponse response{
        platform::UNNotification{platform::Clock::current().now(), platform::UNNotificationRequest("tap", content, nullptr)}};
    platform::UNUserNotificationCenter::current().openNotification(response, nullptr);
  });

  on("trialReminder", [](NotificationSession& session, const nlohmann::json& event) {
    const platform::Date start = requiredDate(event, "start");
    const platform::Date end = requiredDate(event, "end");
    session.scheduler->scheduleTrialExpirationReminder(start, end);
  });
}

}  // namespace

std::unique_ptr<EventModule> notificationEvents() { return std::make_unique<NotificationEvents>(); }

}  // namespace aurimo::tool
