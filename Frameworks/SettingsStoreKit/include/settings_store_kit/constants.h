#pragma once
// Constants: the fixed web addresses the app talks to.
//
// Thread contract: constants; any thread.
//
//   std::string endpoint = std::string(SettingsStoreKit::Constants::apiBaseUrl) + "v1/collections";

#include <string_view>

#include "platform/url.h"

namespace aurimo::SettingsStoreKit {

struct Constants {
  struct CDN {
    static constexpr std::string_view baseURLString = "https://cdn.aurimo.app/";
    // A valid constant; failing to parse it is a programming error and stops the process.
    static platform::URL baseURL();
  };

  static constexpr std::string_view apiBaseUrl = "https://api.aurimo.app/";
  static constexpr std::string_view apiRecognitionBaseUrl = "https://recognition.aurimo.app/";

  // Pages on the support site, opened in the in-app browser. The contact page
  // gets the device's details appended as a query, so it carries none itself.
  static constexpr std::string_view supportUrl = "https://support.aurimo.app/contact";
  static constexpr std::string_view termsOfUseUrl = "https://support.aurimo.app/terms";
  static constexpr std::string_view privacyPolicyUrl = "https://support.aurimo.app/privacy";
  static constexpr std::string_view subscriptionTermsForChina = "https://support.aurimo.app/subscription-terms-cn";
};

}  // namespace aurimo::SettingsStoreKit
