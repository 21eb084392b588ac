// An opened message's payload per input, as JSON text.
#include <cstdint>
#include <string_view>

#include "app_context/links/universal_link_manager.h"
#include "platform/bounded_json.h"
#include "testing/environment.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static aurimo::test::Environment env;
  static const auto links = aurimo::UniversalLinkManager::create(env.services());
  const auto payload = aurimo::platform::parseBoundedJson({reinterpret_cast<const char*>(data), size});
  if (!payload || !payload->is_object()) return -1;
  links->handleActionPayload(*payload);
  env.runUntilIdle();
  links->resetShouldGoTo();
  return 0;
}
