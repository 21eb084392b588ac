#include "support/notification_json.h"

#include "platform/dispatch_group.h"

namespace aurimo::tool {
namespace {

nlohmann::ordered_json field(const std::optional<int>& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

}  // namespace

nlohmann::ordered_json requestJson(const platform::UNNotificationRequest& request) {
  nlohmann::ordered_json out;
  out["identifier"] = request.identifier();
  out["category"] = request.content().categoryIdentifier();
  const auto* calendar = dynamic_cast<const platform::UNCalendarNotificationTrigger*>(request.trigger().get());
  if (calendar) {
    const platform::DateComponents& c = calendar->dateComponents();
    out["trigger"] = {{"year", field(c.year)},  {"month", field(c.month)},   {"day", field(c.day)},
                      {"hour", field(c.hour)},  {"minute", field(c.minute)}, {"second", field(c.second)}};
  } else {
    out["trigger"] = nullptr;
  }
  return out;
}

nlohmann::ordered_json pendingRequestsJson(const std::vector<platform::UNNotificationRequest>& requests) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const auto& request : requests) list.push_back(requestJson(request));
  return list;
}

std::vector<platform::UNNotificationRequest> pendingRequests(platform::UNUserNotificationCenter& center) {
  auto answered = std::make_shared<platform::DispatchGroup>();
  auto result = std::make_shared<std::vector<platform::UNNotificationRequest>>();
  answered->enter();
  center.getPendingNotificationRequests([answered, result](std::vector<platform::UNNotificationRequest> requests) {
    *result = std::move(requests);
    answered->leave();
  });
  answered->wait();
  return std::move(*result);
}

}  // namespace aurimo::tool
