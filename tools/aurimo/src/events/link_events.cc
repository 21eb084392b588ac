// Events of universal-link routing:
//   {"event":"link","url":"…","activityType":"…"}  activityType defaults to web browsing
//   {"event":"payload","payload":{…}}
//   {"event":"appsFlyerDeepLink","payload":{…}}  the same, through the AppsFlyer manager's callback
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
#include "platform/url.h"
#include "platform/user_activity.h"
#include "settings_store_kit/app_settings_storage.h"
#include "support/app_session.h"

namespace aurimo::tool {
namespace {

using Route = UniversalLinkManager::ShouldGoTo;
using OnboardingSettings = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

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
EventHost::Answer answer(AppSession& app, std::size_t before, std::optional<bool> handled) {
  return [&app, before, handled](nlohmann::ordered_json& out) {
    if (handled) out["handled"] = *handled;
    out["route"] = routeJson(app.context().universalLinkManager()->shouldGoTo());
    out["announcements"] = app.announcements() - before;
    std::optional<std::int64_t> version = OnboardingSettings::onboardingVersion();
    out["onboardingVersion"] = version ? nlohmann::ordered_json(*version) : nullptr;
  };
}

const nlohmann::json& requiredPayload(const nlohmann::json& event) {
  const nlohmann::json& payload = requiredField(event, "payload");
  if (!payload.is_object()) throw EventError(event["event"].get<std::string>() + ": \"payload\" must be a JSON object");
  return payload;
}

class LinkEvents final : public EventModule {
 public:
  explicit LinkEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}

  void registerEvents(EventHost& host) override {
    host.on("link", [this](const nlohmann::json& event) {
      UniversalLinkManager& links = *app_->context().universalLinkManager();
      const std::string url = requiredString(event, "url");
      const platform::NSUserActivity activity{
          optionalString(event, "activityType").value_or(std::string(platform::NSUserActivityTypeBrowsingWeb)),
          platform::URL::fromString(url)};
      const std::size_t before = app_->announcements();
      const bool handled = links.continueUserActivity(activity);
      return answer(*app_, before, handled);
    });

    host.on("payload", [this](const nlohmann::json& event) {
      UniversalLinkManager& links = *app_->context().universalLinkManager();
      const nlohmann::json& payload = requiredPayload(event);
      const std::size_t before = app_->announcements();
      links.handleActionPayload(payload);
      return answer(*app_, before, std::nullopt);
    });

    // AppsFlyer resolved a deep link: through the callback the context handed it.
    host.on("appsFlyerDeepLink", [this](const nlohmann::json& event) {
      app_->context();
      const nlohmann::json& payload = requiredPayload(event);
      const std::size_t before = app_->announcements();
      app_->managers().appsFlyerAnalytics->deliverDeepLink(payload);
      return answer(*app_, before, std::nullopt);
    });

    host.on("resetRoute", [this](const nlohmann::json&) {
      UniversalLinkManager& links = *app_->context().universalLinkManager();
      const std::size_t before = app_->announcements();
      links.resetShouldGoTo();
      return answer(*app_, before, std::nullopt);
    });
  }

 private:
  const std::shared_ptr<AppSession> app_;
};

}  // namespace

std::unique_ptr<EventModule> linkEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<LinkEvents>(std::move(app));
}

}  // namespace aurimo::tool
