#pragma once
// SFSafariViewController: the platform's in-app browser, a screen showing one
// web page. Headless, it keeps the page it was opened on, how it was asked to
// show it (reader mode, collapsing bars) and the tint of its controls.
//
// Thread contract: main thread only, like every screen.
//
//   auto browser = std::make_shared<platform::SFSafariViewController>(url);
//   screen->present(browser, /*animated=*/true);

#include <optional>
#include <string_view>
#include <utility>

#include "platform/ui_color.h"
#include "platform/ui_view_controller.h"
#include "platform/url.h"

namespace aurimo::platform {

class SFSafariViewController : public UIViewController {
 public:
  struct Configuration {
    bool entersReaderIfAvailable = false;
    bool barCollapsingEnabled = true;
  };

  SFSafariViewController(URL url, Configuration configuration);
  SFSafariViewController(URL url, bool entersReaderIfAvailable);
  // The default configuration.
  explicit SFSafariViewController(URL url) : SFSafariViewController(std::move(url), Configuration{}) {}

  // The page the browser was opened on.
  const URL& url() const { return url_; }
  const Configuration& configuration() const { return configuration_; }

  // The tint of the browser's buttons; nullopt leaves the platform's own.
  std::optional<UIColor> preferredControlTintColor() const;
  void setPreferredControlTintColor(std::optional<UIColor> color);

  std::string_view className() const override { return "SFSafariViewController"; }

 private:
  URL url_;
  Configuration configuration_;
  std::optional<UIColor> preferredControlTintColor_;
};

}  // namespace aurimo::platform
