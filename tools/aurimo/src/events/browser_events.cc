// Events of the in-app browser:
//   {"event":"openBrowser","page":"termsOfUse"|"privacyPolicy"|"subscriptionTermsForChina"|"contactUs"|{"url":…}}
//   {"event":"holdBannerAction"}   the banner logic holds an action back for the browser
//   {"event":"coverBrowser"}       another screen is presented full screen over it, then dismissed
//   {"event":"dismissBrowser"}
// each answered with the browser's state; the last two also with the names of
// the default centre's broadcasts posted meanwhile.

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "app_context/screens/qz_safari_view_controller.h"
#include "events/events.h"
#include "platform/notification_center.h"
#include "platform/url.h"
#include "settings_store_kit/app_settings_storage.h"
#include "settings_store_kit/constants.h"
#include "support/app_session.h"
#include "support/screen_json.h"

namespace aurimo::tool {
namespace {

using Json = nlohmann::ordered_json;

Json browserJson(const QzSafariViewController& browser) {
  Json out;
  out["url"] = browser.url().absoluteString();
  out["modalPresentationStyle"] = std::string(platform::name(browser.modalPresentationStyle()));
  out["preferredControlTintColor"] =
      browser.preferredControlTintColor() ? colorJson(*browser.preferredControlTintColor()) : Json(nullptr);
  out["isDefferingBannerActionsEnabled"] = browser.isDefferingBannerActionsEnabled();
  out["needsToRunDefferedBannerActionsAfterDismiss"] = browser.needsToRunDefferedBannerActionsAfterDismiss();
  return out;
}

std::shared_ptr<QzSafariViewController> pageOf(const nlohmann::json& page, AppSession* app, const AppContext& context) {
  if (page == "termsOfUse") return QzSafariViewController::instantiateTermsOfUse();
  if (page == "privacyPolicy") return QzSafariViewController::instantiatePrivacyPolicy();
  if (page == "subscriptionTermsForChina") return QzSafariViewController::instantiateSubscriptionTermsForChina();
  if (page == "contactUs") {
    // The page sends the build number and the user identifier as they are; an
    // address they would break stops the library, so the host refuses first.
    const std::optional<std::string> user =
        SettingsStoreKit::AppSettingsStorage::CoreServicesKit::apiServerUserIdentifier();
    const std::string build = app->device().buildNumber;
    if (!platform::URL::fromString(std::string(SettingsStoreKit::Constants::supportUrl) + "?appver=" + build +
                                   (user ? "&userid=" + *user : ""))) {
      throw EventError("openBrowser: the build number or the user identifier cannot go into the contact page's address");
    }
    return QzSafariViewController::instantiateContactUs(context);
  }
  if (page.is_object() && page.contains("url") && page["url"].is_string()) {
    std::optional<platform::URL> url = platform::URL::fromString(page["url"].get<std::string>());
    if (!url) throw EventError("openBrowser: \"url\" is not a valid URL");
    return QzSafariViewController::instantiate(std::move(*url));
  }
  throw EventError(
      "openBrowser: \"page\" must be termsOfUse, privacyPolicy, subscriptionTermsForChina, contactUs or {\"url\":…}");
}

class BrowserEvents final : public EventModule {
 public:
  explicit BrowserEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}
  void registerEvents(EventHost& host) override;

 private:
  QzSafariViewController& browser(const char* event) {
    if (!browser_ || !browser_->presentingViewController()) {
      throw EventError(std::string(event) + ": no browser is open");
    }
    return *browser_;
  }
  // The names the default centre's release broadcast went out under while `work` ran.
  Json releasesDuring(const std::function<void()>& work) {
    std::vector<std::string> names;
    platform::ObserverToken token = platform::NotificationCenter::defaultCenter().addObserver(
        DefferedBannerShowController::defferedActionsCanBeExecuted(), nullptr,
        [&names](const platform::Notification& n) { names.push_back(n.name.rawValue()); });
    work();
    token.remove();
    return Json(names);
  }

  const std::shared_ptr<AppSession> app_;
  std::shared_ptr<QzSafariViewController> browser_;
};

void BrowserEvents::registerEvents(EventHost& host) {
  host.on("openBrowser", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    std::shared_ptr<QzSafariViewController> opened = pageOf(requiredField(event, "page"), app_.get(), context);
    std::shared_ptr<platform::UIViewController> top = context.getTopMostPresentedViewController(false);
    top->present(opened, true);
    if (opened->presentingViewController() != top.get()) throw EventError("openBrowser: the top screen cannot present");
    browser_ = opened;
    return [opened](Json& out) { out["browser"] = browserJson(*opened); };
  });

  host.on("holdBannerAction", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context();
    QzSafariViewController& open = browser("holdBannerAction");
    open.setNeedsToRunDefferedBannerActionsAfterDismiss(true);
    return [shown = browser_](Json& out) { out["browser"] = browserJson(*shown); };
  });

  host.on("coverBrowser", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context();
    QzSafariViewController& open = browser("coverBrowser");
    Json broadcasts = releasesDuring([&open] {
      auto cover = std::make_shared<platform::UIViewController>();
      cover->setModalPresentationStyle(platform::UIModalPresentationStyle::fullScreen);
      open.present(cover, true);
      cover->dismiss(true);
    });
    return [shown = browser_, broadcasts](Json& out) {
      out["browser"] = browserJson(*shown);
      out["broadcasts"] = broadcasts;
    };
  });

  host.on("dismissBrowser", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context();
    QzSafariViewController& open = browser("dismissBrowser");
    Json broadcasts = releasesDuring([&open] { open.dismiss(true); });
    return [shown = browser_, broadcasts](Json& out) {
      out["browser"] = browserJson(*shown);
      out["broadcasts"] = broadcasts;
    };
  });
}

}  // namespace

std::unique_ptr<EventModule> browserEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<BrowserEvents>(std::move(app));
}

}  // namespace aurimo::tool
