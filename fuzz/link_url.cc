// A universal link per input, as a web-browsing activity's URL.
#include <cstdint>
#include <string>

#include "app_context/links/universal_link_manager.h"
#include "platform/url.h"
#include "testing/environment.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static aurimo::test::Environment env;
  static const auto links = aurimo::UniversalLinkManager::create(env.services());
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const aurimo::platform::NSUserActivity activity{std::string(aurimo::platform::NSUserActivityTypeBrowsingWeb),
                                                  aurimo::platform::URL::fromString(text)};
  (void)links->continueUserActivity(activity);
  env.runUntilIdle();
  links->resetShouldGoTo();
  return 0;
}
