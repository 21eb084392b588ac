#include "app_context/links/universal_link_manager.h"

#include <charconv>
#include <cstdint>
#include <ostream>
#include <system_error>
#include <vector>

#include "platform/dispatch_queue.h"
#include "platform/url_components.h"
#include "settings_store_kit/app_settings_storage.h"
#include "toolbox_kit/query_items.h"

namespace aurimo {
namespace {

using OnboardingSettings = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

// std::from_chars alone would accept a '-' after a stripped '+' and stop early
// at junk, so the shape is checked first.
std::optional<std::int64_t> parseStrictInt64(std::string_view text) {
  std::string_view digits = text;
  if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) digits.remove_prefix(1);
  if (digits.empty()) return std::nullopt;
  for (char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
  }
  if (text.front() == '+') text.remove_prefix(1);  // from_chars takes '-' only
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::vector<std::string_view> nonEmptyPieces(std::string_view path) {
  std::vector<std::string_view> pieces;
  while (!path.empty()) {
    std::size_t slash = path.find('/');
    std::string_view piece = path.substr(0, slash);
    if (!piece.empty()) pieces.push_back(piece);
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return pieces;
}

// The string under `key`, or nullopt when it is missing or not a string.
std::optional<std::string> stringValue(const nlohmann::json& object, const char* key) {
  auto found = object.find(key);
  if (found == object.end() || !found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

}  // namespace

std::string_view UniversalLinkManager::ShouldGoTo::caseName() const {
  constexpr std::string_view kNames[] = {"explore", "openSmartNews", "coinIdentification", "homeTab"};
  return kNames[case_.index()];
}

std::ostream& operator<<(std::ostream& out, const UniversalLinkManager::ShouldGoTo& route) {
  out << route.caseName();
  if (const auto* explore = route.as<UniversalLinkManager::ShouldGoTo::Explore>()) {
    out << "(articleIdentifier: ";
    if (explore->articleIdentifier) {
      out << '"' << *explore->articleIdentifier << '"';
    } else {
      out << "nil";
    }
    out << ')';
  } else if (const auto* offer = route.as<UniversalLinkManager::ShouldGoTo::OpenSmartNews>()) {
    out << "(eventName: \"" << offer->eventName << "\")";
  }
  return out;
}

std::shared_ptr<UniversalLinkManager> UniversalLinkManager::create(const platform::Services& services) {
  return std::make_shared<UniversalLinkManager>(Passkey{}, services);
}

platform::NotificationName UniversalLinkManager::valueForShouldGoToDidChangeNotification() {
  static const platform::NotificationName name("UniversalLinkManager.valueForShouldGoToDidChangeNotification");
  return name;
}

const std::optional<UniversalLinkManager::ShouldGoTo>& UniversalLinkManager::shouldGoTo() const {
  platform::dispatchPreconditionOnMain();
  return shouldGoTo_;
}

bool UniversalLinkManager::continueUserActivity(const platform::NSUserActivity& userActivity) {
  platform::dispatchPreconditionOnMain();
  return routeLink(userActivity);
}

bool UniversalLinkManager::routeLink(const platform::NSUserActivity& userActivity) {
  if (userActivity.activityType != platform::NSUserActivityTypeBrowsingWeb) return false;
  if (!userActivity.webpageURL) return false;
  std::optional<platform::URLComponents> components =
      platform::URLComponents::fromURL(*userActivity.webpageURL, true);
  if (!components) return false;
  if (components->host() != universalLinkHost) return false;

  const std::string path = components->path();
  const std::vector<std::string_view> pieces = nonEmptyPieces(path);
  if (pieces.size() != 2 || pieces[0] != "events") return false;

  const std::vector<platform::URLQueryItem> items =
      components->queryItems().value_or(std::vector<platform::URLQueryItem>{});
  const ToolboxKit::QueryItems query(items);
  const std::string_view event = pieces[1];

  if (event == "identification") {
    if (query["type"] != "coin") return false;
    store(ShouldGoTo::coinIdentification());
    return true;
  }
  if (event == "explore") {
    store(ShouldGoTo::explore(query["identifier"]));
    return true;
  }
  if (event == "make_sn_purchase_offer") {
    std::optional<std::string> eventName = query["sn_event"];
    if (!eventName) return false;
    store(ShouldGoTo::openSmartNews(std::move(*eventName)));
    return true;
  }
  if (event == "onboarding") {
    std::optional<std::string> text = query["version"];
    if (!text) return false;
    std::optional<std::int64_t> version = parseStrictInt64(*text);
    if (!version) return false;
    OnboardingSettings::setOnboardingVersion(*version, *services_.userDefaults);
    return true;
  }
  if (event == "home_tab") {
    store(ShouldGoTo::homeTab());
    return true;
  }
  return false;
}

void UniversalLinkManager::handleActionPayload(const nlohmann::json& payload) {
  platform::dispatchPreconditionOnMain();
  if (!payload.is_object()) return;
  const std::optional<std::string> action = stringValue(payload, "action");
  if (!action) return;

  if (*action == "explore") {
    store(ShouldGoTo::explore(stringValue(payload, "explore_id")));
  } else if (*action == "make_sn_purchase_offer") {
    if (std::optional<std::string> eventName = stringValue(payload, "sn_event")) {
      store(ShouldGoTo::openSmartNews(std::move(*eventName)));
    }
  } else if (*action == "identification") {
    if (stringValue(payload, "type") == "coin") store(ShouldGoTo::coinIdentification());
  } else if (*action == "home_tab") {
    store(ShouldGoTo::homeTab());
  } else if (*action == "open_app") {
    shouldGoTo_.reset();
  }
}

void UniversalLinkManager::resetShouldGoTo() {
  platform::dispatchPreconditionOnMain();
  shouldGoTo_.reset();
}

void UniversalLinkManager::store(ShouldGoTo route) {
  shouldGoTo_ = std::move(route);
  // Observers read shouldGoTo() when this arrives; the post carries no value.
  platform::DispatchQueue::main().async([self = shared_from_this()] {
    self->services_.notificationCenter->post(valueForShouldGoToDidChangeNotification(), self.get());
  });
}

}  // namespace aurimo
