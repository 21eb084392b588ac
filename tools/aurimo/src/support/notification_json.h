#pragma once
// The JSON forms of pending notification requests.
//
//   for (const auto& request : pendingRequests(center)) std::cout << requestJson(request).dump() << '\n';

#include <vector>

#include <nlohmann/json.hpp>

#include "platform/un_user_notification_center.h"

namespace aurimo::tool {

// {"identifier":…,"category":…,"trigger":{"year":…,…,"second":…}}; absent fields
// are null, and a trigger that is not a calendar trigger is null.
nlohmann::ordered_json requestJson(const platform::UNNotificationRequest& request);
nlohmann::ordered_json pendingRequestsJson(const std::vector<platform::UNNotificationRequest>& requests);

// Blocks until the centre has answered; not from a block the centre's answer needs.
std::vector<platform::UNNotificationRequest> pendingRequests(platform::UNUserNotificationCenter& center);

}  // namespace aurimo::tool
