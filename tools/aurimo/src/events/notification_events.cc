// Events of the notifications subsystem:
//   {"event":"foreground"}
//   {"event":"notificationSystem","status":"notDetermined"|"denied"|"authorized"|"provisional"|"ephemeral","answer":true|false}
//   {"event":"requestNotificationPermission"}
//   {"event":"notificationTap","category":"…","identifier":"…" (optional, "tap")}
//   {"event":"trialReminder","start":ISO8601,"end":ISO8601}
// each answered with the manager's broadcasts delivered while the event
// settled, in order, and the pending requests afterwards; "foreground" also
// with the calls the context made on the app's screens and managers.
//
// The first of these events also reports what the launch's permission refresh
// broadcast, unless a launch event reported it.

#include <cstdint>
#include <future>
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
#include "support/app_session.h"
#include "support/notification_json.h"

namespace aurimo::tool {
namespace {

using platform::UNAuthorizationStatus;

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
  platform::Iso8601Problem problem{};
  std::optional<platform::Date> date = platform::parseIso8601(text, platform::Calendar::current(), &problem);
  if (date) return *date;
  const std::string name = event["event"].get<std::string>() + ": \"" + field + "\" ";
  if (problem == platform::Iso8601Problem::outOfRange) {
    throw EventError(name + "is out of range: dates run from 1677-09-21T00:12:45Z to 2262-04-11T23:47:15Z");
  }
  throw EventError(name + "is not an ISO 8601 date and time");
}

class NotificationEvents final : public EventModule {
 public:
  explicit NotificationEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}
  void registerEvents(EventHost& host) override;

 private:
  const std::shared_ptr<AppSession> app_;
  // What the event's work could not keep on disk, for its answer's "error".
  std::optional<std::string> unsaved_;
};

void NotificationEvents::registerEvents(EventHost& host) {
  // Wraps an event's work: the app launches first, then broadcasts are counted
  // from the session's mark and the calls on the app's managers from here.
  auto on = [this, &host](std::string name, std::function<void(AppContext&, const nlohmann::json&)> work) {
    host.on(std::move(name), [this, work = std::move(work)](const nlohmann::json& event) -> EventHost::Answer {
      AppContext& context = app_->context();
      const std::size_t mark = app_->takeBroadcastMark();
      const std::size_t calls = app_->calls().count();
      work(context, event);
      const bool withCalls = event["event"] == "foreground";
      return [app = app_, mark, calls, withCalls,
              unsaved = std::exchange(unsaved_, std::nullopt)](nlohmann::ordered_json& out) {
        out["broadcasts"] = app->broadcastsSince(mark);
        out["pending"] = pendingRequestsJson(pendingRequests(platform::UNUserNotificationCenter::current()));
        if (withCalls) out["calls"] = app->calls().since(calls);
        // Pending lists what the app holds; this says what the disk did not keep.
        if (unsaved) out["error"] = *unsaved;
      };
    });
  };

  on("foreground", [](AppContext& context, const nlohmann::json&) {
    platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
    context.applicationWillEnterForeground();
  });

  on("notificationSystem", [person = host.person()](AppContext&, const nlohmann::json& event) {
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

  on("requestNotificationPermission", [](AppContext& context, const nlohmann::json&) {
    // The answer shows in the broadcasts.
    context.localUserNotificationManager()->requestAuthorization([](bool, std::optional<platform::UNError>) {});
  });

  on("notificationTap", [](AppContext&, const nlohmann::json& event) {
    platform::UNMutableNotificationContent content;
    content.categoryIdentifier = requiredString(event, "category");
    // A click on a desktop notification names the request it showed.
    const std::string identifier = optionalString(event, "identifier").value_or("tap");
    platform::UNNotificationResponse response{platform::UNNotification{
        platform::Clock::current().now(), platform::UNNotificationRequest(identifier, content, nullptr)}};
    platform::UNUserNotificationCenter::current().openNotification(response, nullptr);
  });

  on("trialReminder", [this](AppContext& context, const nlohmann::json& event) {
    const platform::Date start = requiredDate(event, "start");
    const platform::Date end = requiredDate(event, "end");
    std::promise<std::optional<platform::UNError>> filed;
    context.localUserNotificationScheduler()->scheduleTrialExpirationReminder(
        start, end, [&filed](std::optional<platform::UNError> error) { filed.set_value(std::move(error)); });
    if (std::optional<platform::UNError> error = filed.get_future().get()) {
      unsaved_ = "trialReminder: the reminder could not be saved (" + error->message + ")";
    }
  });
}

}  // namespace

std::unique_ptr<EventModule> notificationEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<NotificationEvents>(std::move(app));
}

}  // namespace aurimo::tool
