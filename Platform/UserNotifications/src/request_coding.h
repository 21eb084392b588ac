#pragma once
// The JSON form of the centre's saved state:
//   {"authorizationStatus": 2, "pendingRequests": [{"identifier": ..., "content": {...},
//    "trigger": null | {"type": "calendar" | "timeInterval", "repeats": ..., ...}, "fireDate": ns | null,
//    "nextDate": ns (repeating requests only; absent in files written before it was kept)}]}

#include <optional>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/clock.h"
#include "platform/un_notification_request.h"
#include "platform/un_notification_settings.h"

namespace aurimo::platform::internal {

struct PendingRequest {
  UNNotificationRequest request;
  std::optional<Date> fireDate;  // when a one-shot request is delivered; none for repeating ones
  std::optional<Date> nextDate;  // when a repeating request is next delivered; none for one-shot ones
};

// When a repeating `trigger` fires next after `after`; none when it never does again.
std::optional<Date> nextRepeat(const UNNotificationTrigger* trigger, Date after);

nlohmann::json encodeState(UNAuthorizationStatus status, const std::vector<PendingRequest>& pending);
// False when `text` is not a saved state; the outputs are then unspecified.
[[nodiscard]] bool decodeState(std::string_view text, UNAuthorizationStatus& status,
                               std::vector<PendingRequest>& pending);

}  // namespace aurimo::platform::internal
