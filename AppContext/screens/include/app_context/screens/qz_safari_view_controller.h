#pragma once
// QzSafariViewController: the app's in-app browser in the app's orange, with
// factories for the app's fixed web pages and the support contact page. The
// contact page defers banner actions while it is up; when it is dismissed
// with one held back, it posts defferedActionsCanBeExecuted() once.
//
// Thread contract: main thread only, like every screen.
//
//   auto browser = aurimo::QzSafariViewController::instantiateContactUs(*appContext);
//   appContext->getTopMostPresentedViewController(false)->present(browser, /*animated=*/true);

#include <memory>
#include <string_view>

#include "app_context/screens/deffered_banner_show_controller.h"
#include "platform/sf_safari_view_controller.h"
#include "platform/url.h"

namespace aurimo {

class AppContext;

class QzSafariViewController : public platform::SFSafariViewController, public DefferedBannerShowController {
 public:
  // Every constructor starts with deferring off and nothing held back.
  QzSafariViewController(platform::URL url, Configuration configuration);
  QzSafariViewController(platform::URL url, bool entersReaderIfAvailable);
  explicit QzSafariViewController(platform::URL url);

  // Page sheets, deferring off. The fixed pages come from SettingsStoreKit's
  // constants; one that is not a URL stops the process.
  static std::shared_ptr<QzSafariViewController> instantiate(platform::URL url);
  static std::shared_ptr<QzSafariViewController> instantiateTermsOfUse();
  static std::shared_ptr<QzSafariViewController> instantiatePrivacyPolicy();
  static std::shared_ptr<QzSafariViewController> instantiateSubscriptionTermsForChina();
  // The support contact page, full screen, deferring on. Its query names the
  // device model and system version (percent-encoded), the build number and,
  // when set, the api server's user identifier (both sent as they are), read
  // from the process's device, main bundle and standard user defaults; the
  // context is taken for the app's call sites and not read. A bundle without a
  // string CFBundleVersion, or a URL that does not parse, stops the process.
  static std::shared_ptr<QzSafariViewController> instantiateContactUs(const AppContext& appContext);

  bool isDefferingBannerActionsEnabled() const override;
  void setIsDefferingBannerActionsEnabled(bool enabled) override;
  bool needsToRunDefferedBannerActionsAfterDismiss() const override;
  void setNeedsToRunDefferedBannerActionsAfterDismiss(bool needsToRun) override;
  bool canShowDefferedBannerNow() const override;

  std::string_view className() const override { return "QzSafariViewController"; }

 protected:
  void viewDidLoad() override;
  // Releases held-back banner actions, only when dismissed (not when covered).
  void viewDidDisappear(bool animated) override;

 private:
  bool isDefferingBannerActionsEnabled_ = false;
  bool needsToRunDefferedBannerActionsAfterDismiss_ = false;
};

}  // namespace aurimo
