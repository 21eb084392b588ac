#include "app_context/screens/qz_safari_view_controller.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/services.h"
#include "platform/dispatch_queue.h"
#include "platform/fatal_error.h"
#include "settings_store_kit/app_settings_storage.h"
#include "settings_store_kit/constants.h"
#include "shared_views_kit/ui_color_bytes.h"

namespace aurimo {
namespace {

using platform::UIModalPresentationStyle;
using platform::URL;
using SettingsStoreKit::Constants;

URL constantURL(std::string_view text, std::string_view name) {
  std::optional<URL> url = URL::fromString(text);
  if (!url) platform::fatalError("Constants." + std::string(name) + " is not a valid URL");
  return *url;
}

std::shared_ptr<QzSafariViewController> pageSheet(URL url) {
  auto browser = std::make_shared<QzSafariViewController>(std::move(url));
  browser->setModalPresentationStyle(UIModalPresentationStyle::pageSheet);
  return browser;
}

std::string buildNumber(const platform::Bundle& bundle) {
  std::optional<nlohmann::json> info = bundle.infoDictionary();
  if (!info) platform::fatalError("the main bundle has no information dictionary");
  auto version = info->find("CFBundleVersion");  // end() for a non-object too
  if (version == info->end() || !version->is_string()) {
    platform::fatalError("the main bundle's CFBundleVersion is missing or not a string");
  }
  return version->get<std::string>();
}

std::string contactUsQuery(const platform::Services& services) {
  auto encoded = [](const std::string& text) {
    return platform::addingPercentEncoding(text, platform::URLCharacterSet::queryAllowed);
  };
  std::vector<std::string> parts{
      "devname=" + encoded(services.device->modelName()),
      "iosver=" + encoded(services.device->systemVersion()),
      // The support site reads these two verbatim: they go out unencoded.
      "appver=" + buildNumber(*services.bundle),
  };
  using Settings = SettingsStoreKit::AppSettingsStorage::CoreServicesKit;
  if (std::optional<std::string> user = Settings::apiServerUserIdentifier(*services.userDefaults)) {
    parts.push_back("userid=" + *user);
  }
  std::string query;
  for (const std::string& part : parts) query += (query.empty() ? "" : "&") + part;
  return query;
}

}  // namespace

QzSafariViewController::QzSafariViewController(URL url, Configuration configuration)
    : SFSafariViewController(std::move(url), configuration) {}

QzSafariViewController::QzSafariViewController(URL url, bool entersReaderIfAvailable)
    : SFSafariViewController(std::move(url), entersReaderIfAvailable) {}

QzSafariViewController::QzSafariViewController(URL url) : QzSafariViewController(std::move(url), Configuration{}) {}

std::shared_ptr<QzSafariViewController> QzSafariViewController::instantiate(URL url) {
  return pageSheet(std::move(url));
}

std::shared_ptr<QzSafariViewController> QzSafariViewController::instantiateTermsOfUse() {
  return pageSheet(constantURL(Constants::termsOfUseUrl, "termsOfUseUrl"));
}

std::shared_ptr<QzSafariViewController> QzSafariViewController::instantiatePrivacyPolicy() {
  return pageSheet(constantURL(Constants::privacyPolicyUrl, "privacyPolicyUrl"));
}

std::shared_ptr<QzSafariViewController> QzSafariViewController::instantiateSubscriptionTermsForChina() {
  return pageSheet(constantURL(Constants::subscriptionTermsForChina, "subscriptionTermsForChina"));
}

std::shared_ptr<QzSafariViewController> QzSafariViewController::instantiateContactUs(
    [[maybe_unused]] const AppContext& appContext) {
  // Nothing trimmed or checked: the constant must not carry a query of its own.
  const std::string text = std::string(Constants::supportUrl) + "?" + contactUsQuery(platform::Services::defaults());
  std::optional<URL> url = URL::fromString(text);
  if (!url) platform::fatalError("the contact-us URL is not valid: " + text);
  auto browser = std::make_shared<QzSafariViewController>(std::move(*url));
  // Full screen, unlike the other pages: banners wait while the user writes to support.
  browser->setModalPresentationStyle(UIModalPresentationStyle::fullScreen);
  browser->setIsDefferingBannerActionsEnabled(true);
  return browser;
}

bool QzSafariViewController::isDefferingBannerActionsEnabled() const {
  platform::dispatchPreconditionOnMain();
  return isDefferingBannerActionsEnabled_;
}

void QzSafariViewController::setIsDefferingBannerActionsEnabled(bool enabled) {
  platform::dispatchPreconditionOnMain();
  isDefferingBannerActionsEnabled_ = enabled;
}

bool QzSafariViewController::needsToRunDefferedBannerActionsAfterDismiss() const {
  platform::dispatchPreconditionOnMain();
  return needsToRunDefferedBannerActionsAfterDismiss_;
}

void QzSafariViewController::setNeedsToRunDefferedBannerActionsAfterDismiss(bool needsToRun) {
  platform::dispatchPreconditionOnMain();
  needsToRunDefferedBannerActionsAfterDismiss_ = needsToRun;
}

bool QzSafariViewController::canShowDefferedBannerNow() const {
  platform::dispatchPreconditionOnMain();
  const bool onScreen = presentingViewController() != nullptr && !isBeingDismissed();
  return !(isDefferingBannerActionsEnabled_ && onScreen);
}

void QzSafariViewController::viewDidLoad() {
  SFSafariViewController::viewDidLoad();
  setPreferredControlTintColor(SharedViewsKit::colorFromBytes(244, 132, 55, 255));
}

void QzSafariViewController::viewDidDisappear(bool animated) {
  SFSafariViewController::viewDidDisappear(animated);
  // Covered by another screen, the browser is still up: nothing is released then.
  if (!isBeingDismissed() || !isDefferingBannerActionsEnabled_) return;
  if (!needsToRunDefferedBannerActionsAfterDismiss_) return;
  // Cleared first, so an observer that looks sees the action as released.
  needsToRunDefferedBannerActionsAfterDismiss_ = false;
  platform::NotificationCenter::defaultCenter().post(defferedActionsCanBeExecuted());
}

}  // namespace aurimo
