#pragma once
// NSUserActivity: what the system hands the app when it continues an
// activity, such as opening a universal link.
//
// Thread contract: a plain value.
//
//   platform::NSUserActivity activity{platform::NSUserActivityTypeBrowsingWeb,
//                                     platform::URL::fromString("https://example.com/x")};

#include <optional>
#include <string>
#include <string_view>

#include "platform/url.h"

namespace aurimo::platform {

inline constexpr std::string_view NSUserActivityTypeBrowsingWeb = "NSUserActivityTypeBrowsingWeb";

struct NSUserActivity {
  std::string activityType;
  std::optional<URL> webpageURL;
};

}  // namespace aurimo::platform
