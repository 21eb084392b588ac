// Events of universal-link routing:
//   {"event":"link","url":"…","activityType":"…"}  activityType defaults to web browsing
//   {"event":"payload","payload":{…}}
//   {"event":"resetRoute"}
// each answered with the route after the event, the announcements delivered
// while the main loop drained, and the persisted onboarding version.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "app_context/links/universal_link_manager.h"
#include "events/events.h"
#include "platform/notification_center.h"
#include "platform/url.h"
#include "platform/user_activity.h"
#include "settings_store_kit/app_settings_storage.h"

namespace aurimo::tool {
namespace {

using Route = UniversalLinkManager::ShouldGoTo;
using OnboardingSettings = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

struct LinkSession {
  LinkSession() {
    token = platform::NotificationCenter::defaultCenter().addObserver(
        UniversalLinkManager::valueForShouldGoToDidChangeNotification(), manager.get(),
        [this](const platform::Notification&) { ++announcements; });
  }

  std::shared_ptr<UniversalLinkManager> manager = UniversalLinkManager::create();
  std::size_t announcements = 0;
  platform::ObserverToken token;  // declared last: unregisters before the counter goes
};

nlohmann::ordered_json routeJson(const std::optional<Route>& route) {
  if (!route) return nullptr;
  nlohmann::ordered_json out;
  out["case"] = std::string(route->caseName());
  if (const auto* explore = route->as<Route::Explore>()) {
    out["articleIdentifier"] =
        explore->articleIdentifier ? nlohmann::ordered_json(*explore->articleIdentifier) : nullptr;
  } else if (const auto* offer = route->as<Route::OpenSmartNews>()) {
    out["eventName"] = offer->eventName;
  }
  return out;
}

// The common tail of every answer; "handled" only for links. Announcements are
// counted from `before`, taken ahead of the event's work.
EventHost::Answer answer(std::shared_ptr<LinkSession> session, std::size_t before, std::optional<bool> handled) {
  return [session = std::move(session), before, handled](nlohmann::ordered_json& out) {
    if (handled) out["handled"] = *handled;
    out["route"] = routeJson(session->manager->shouldGoTo());
    out["announcements"] = session->announcements - before;
    std::optional<std::int64_t> version = OnboardingSettings::onboardingVersion();
    out["onboardingVersion"] = version ? nlohmann::ordered_json(*version) : nullptr;
  };
}

class LinkEvents final : public EventModule {
 public:
  void registerEvents(EventHost& host) override {
    host.on("link", [this](const nlohmann::json& event) {
      const std::string url = requiredString(event, "url");
      const platform::NSUserActivity activity{
          optionalString(event, "activityType").value_or(std::string(platform::NSUserActivityTypeBrowsingWeb)),
          platform::URL::fromString(url)};
      std::shared_ptr<LinkSession> session = started();
      const std::size_t before = session->announcements;
      const bool handled = session->manager->continueUserActivity(activity);
      return answer(std::move(session), before, handled);
    });

    host.on("payload", [this](const nlohmann::json& event) {
      const nlohmann::json& payload = requiredField(event, "payload");
      if (!payload.is_object()) throw EventError("payload: \"payload\" must be a JSON object");
      std::shared_ptr<LinkSession> session = started();
      const std::size_t before = session->announcements;
      session->manager->handleActionPayload(payload);
      return answer(std::move(session), before, std::nullopt);
    });

    host.on("resetRoute", [this](const nlohmann::json&) {
      std::shared_ptr<LinkSession> session = started();
      const std::size_t before = session->announcements;
      session->manager->resetShouldGoTo();
      return answer(std::move(session), before, std::nullopt);
    });
  }

 private:
  // The session, started by the first well-formed link event.
  std::shared_ptr<LinkSession> started() {
    if (!session_) session_ = std::make_shared<LinkSession>();
    return session_;
  }

  std::shared_ptr<LinkSession> session_;
};

}  // namespace

std::unique_ptr<EventModule> linkEvents() { return std::make_unique<LinkEvents>(); }

}  // namespace aurimo::tool
