#include "request_coding.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <stdexcept>

#include "platform/bounded_json.h"

namespace aurimo::platform::internal {
namespace {

using nlohmann::json;

// A hand-edited file's number must fit its field exactly: converting a
// fraction or an integer beyond the field's range would be undefined.
template <class Int>
Int exactInteger(const json& value) {
  if (!value.is_number_integer()) throw std::invalid_argument("not an integer");
  if (value.is_number_unsigned()) {
    if (value.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<Int>::max())) {
      throw std::out_of_range("integer out of range");
    }
    return static_cast<Int>(value.get<std::uint64_t>());
  }
  const auto signedValue = value.get<std::int64_t>();
  if (signedValue < std::numeric_limits<Int>::min() || signedValue > std::numeric_limits<Int>::max()) {
    throw std::out_of_range("integer out of range");
  }
  return static_cast<Int>(signedValue);
}

// Field names and members of DateComponents, in one table for both directions.
struct IntField {
  const char* name;
  std::optional<int> DateComponents::*member;
};
constexpr IntField kFields[] = {
    {"era", &DateComponents::era},         {"year", &DateComponents::year},
    {"month", &DateComponents::month},     {"day", &DateComponents::day},
    {"hour", &DateComponents::hour},       {"minute", &DateComponents::minute},
    {"second", &DateComponents::second},   {"nanosecond", &DateComponents::nanosecond},
    {"weekday", &DateComponents::weekday}, {"weekdayOrdinal", &DateComponents::weekdayOrdinal},
    {"quarter", &DateComponents::quarter},
};

json encodeComponents(const DateComponents& components) {
  json out = json::object();
  for (const IntField& field : kFields) {
    if (components.*field.member) out[field.name] = *(components.*field.member);
  }
  if (components.timeZone) out["timeZone"] = components.timeZone->identifier();
  return out;
}

DateComponents decodeComponents(const json& in) {
  DateComponents components;
  for (const IntField& field : kFields) {
    if (in.contains(field.name)) components.*field.member = exactInteger<int>(in.at(field.name));
  }
  if (in.contains("timeZone")) components.timeZone = TimeZone::fromTZ(in.at("timeZone").get<std::string>());
  return components;
}

json encodeTrigger(const UNNotificationTrigger* trigger) {
  if (auto* calendar = dynamic_cast<const UNCalendarNotificationTrigger*>(trigger)) {
    return {{"type", "calendar"}, {"repeats", calendar->repeats()},
            {"dateComponents", encodeComponents(calendar->dateComponents())}};
  }
  if (auto* interval = dynamic_cast<const UNTimeIntervalNotificationTrigger*>(trigger)) {
    return {{"type", "timeInterval"}, {"repeats", interval->repeats()}, {"timeInterval", interval->timeInterval()}};
  }
  return nullptr;
}

std::shared_ptr<const UNNotificationTrigger> decodeTrigger(const json& in) {
  if (in.is_null()) return nullptr;
  const std::string type = in.at("type").get<std::string>();
  const bool repeats = in.at("repeats").get<bool>();
  if (type == "calendar") {
    return std::make_shared<UNCalendarNotificationTrigger>(decodeComponents(in.at("dateComponents")), repeats);
  }
  if (type == "timeInterval") {
    return std::make_shared<UNTimeIntervalNotificationTrigger>(in.at("timeInterval").get<double>(), repeats);
  }
  throw std::invalid_argument("unknown trigger type " + type);
}

json encodeContent(const UNNotificationContent& content) {
  json out = {{"title", content.title()},
              {"subtitle", content.subtitle()},
              {"body", content.body()},
              {"categoryIdentifier", content.categoryIdentifier()},
              {"threadIdentifier", content.threadIdentifier()},
              {"userInfo", content.userInfo()}};
  out["sound"] = content.sound() ? json{{"name", content.sound()->name}} : json(nullptr);
  out["badge"] = content.badge() ? json(*content.badge()) : json(nullptr);
  return out;
}

UNNotificationContent decodeContent(const json& in) {
  UNMutableNotificationContent content;
  content.title = in.at("title").get<std::string>();
  content.subtitle = in.at("subtitle").get<std::string>();
  content.body = in.at("body").get<std::string>();
  content.categoryIdentifier = in.at("categoryIdentifier").get<std::string>();
  content.threadIdentifier = in.at("threadIdentifier").get<std::string>();
  content.userInfo = in.at("userInfo");
  if (!in.at("sound").is_null()) content.sound = UNNotificationSound{in.at("sound").at("name").get<std::string>()};
  if (!in.at("badge").is_null()) content.badge = exactInteger<int>(in.at("badge"));
  return content;
}

}  // namespace

std::optional<Date> nextRepeat(const UNNotificationTrigger* trigger, Date after) {
  if (auto* calendar = dynamic_cast<const UNCalendarNotificationTrigger*>(trigger)) {
    return Calendar::current().nextDate(after, calendar->dateComponents(), Calendar::MatchingPolicy::nextTime);
  }
  if (auto* interval = dynamic_cast<const UNTimeIntervalNotificationTrigger*>(trigger)) {
    // The platform's floor for repeating intervals keeps a hand-edited file
    // from making a delivery loop spin; beyond a few decades it never comes.
    if (!(interval->timeInterval() > 0) || interval->timeInterval() > 1e9) return std::nullopt;
    return after + seconds(std::max(interval->timeInterval(), 60.0));
  }
  return std::nullopt;
}

json encodeState(UNAuthorizationStatus status, const std::vector<PendingRequest>& pending) {
  json requests = json::array();
  for (const PendingRequest& p : pending) {
    json item = {{"identifier", p.request.identifier()},
                 {"content", encodeContent(p.request.content())},
                 {"trigger", encodeTrigger(p.request.trigger().get())},
                 {"fireDate", p.fireDate ? json(p.fireDate->time_since_epoch().count()) : json(nullptr)}};
    if (p.nextDate) item["nextDate"] = p.nextDate->time_since_epoch().count();
    requests.push_back(std::move(item));
  }
  return {{"authorizationStatus", static_cast<int>(status)}, {"pendingRequests", std::move(requests)}};
}

bool decodeState(std::string_view text, UNAuthorizationStatus& status, std::vector<PendingRequest>& pending) {
  try {
    const std::optional<json> parsed = parseBoundedJson(text);
    if (!parsed) return false;
    const json& in = *parsed;
    const int raw = exactInteger<int>(in.at("authorizationStatus"));
    if (raw < 0 || raw > static_cast<int>(UNAuthorizationStatus::ephemeral)) return false;
    status = static_cast<UNAuthorizationStatus>(raw);
    pending.clear();
    for (const json& item : in.at("pendingRequests")) {
      std::optional<Date> fireDate, nextDate;
      if (!item.at("fireDate").is_null()) fireDate = Date(Date::duration(exactInteger<Date::rep>(item.at("fireDate"))));
      UNNotificationRequest request(item.at("identifier").get<std::string>(), decodeContent(item.at("content")),
                                    decodeTrigger(item.at("trigger")));
      if (request.trigger() && request.trigger()->repeats()) {
        // Older files kept no date: such a request waits for its next match from now on.
        nextDate = item.contains("nextDate") ? std::optional(Date(Date::duration(exactInteger<Date::rep>(item.at("nextDate")))))
                                             : nextRepeat(request.trigger().get(), Clock::current().now());
      }
      pending.push_back({std::move(request), fireDate, nextDate});
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace aurimo::platform::internal
