#pragma once
// The JSON forms of pending notification requests, and the ISO 8601 dates
// that notification events take.
//
//   for (const auto& request : pendingRequests(center)) std::cout << requestJson(request).dump() << '\n';
//   std::optional<platform::Date> end = parseIso8601("2025-01-20T21:00:00+01:00", platform::Calendar::current());

#include <optional>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/calendar.h"
#include "platform/un_user_notification_center.h"

namespace aurimo::tool {

// {"identifier":…,"category":…,"trigger":{"year":…,…,"second":…}}; absent fields
// are null, and a trigger that is not a calendar trigger is null.
nlohmann::ordered_json requestJson(const platform::UNNotificationRequest& request);
nlohmann::ordered_json pendingRequestsJson(const std::vector<platform::UNNotificationRequest>& requests);

// Blocks until the centre has answered; not from a block the centre's answer needs.
std::vector<platform::UNNotificationRequest> pendingRequests(platform::UNUserNotificationCenter& center);

// YYYY-MM-DDTHH:MM[:SS[.fraction]] followed by Z, ±HH:MM, ±HHMM or ±HH; without
// an offset the time is read in `calendar`'s zone. nullopt for anything else.
std::optional<platform::Date> parseIso8601(std::string_view text, const platform::Calendar& calendar);

}  // namespace aurimo::tool
