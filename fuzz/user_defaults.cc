// A user-defaults file per input: loaded, every key read each way, then saved
// and loaded again, which must give back the same values.
#include <cstdlib>

#include "platform/bounded_json.h"
#include "platform/user_defaults.h"
#include "state_input.h"
#include "testing/environment.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static aurimo::test::Environment env;
  placeInput(env.settingsDirectory(), aurimo::platform::UserDefaults::kFileName, data, size);
  env.restartUserDefaults();
  const auto file = aurimo::platform::parseBoundedJson({reinterpret_cast<const char*>(data), size});
  if (!file || !file->is_object()) return 0;
  std::vector<std::pair<std::string, std::optional<nlohmann::json>>> loaded;
  for (const auto& [key, value] : file->items()) {
    auto& defaults = env.userDefaults();
    (void)defaults.boolForKey(key), (void)defaults.integerForKey(key), (void)defaults.doubleForKey(key);
    (void)defaults.stringForKey(key), (void)defaults.dataForKey(key);
    loaded.emplace_back(key, defaults.objectForKey(key));
  }
  env.userDefaults().set(true, "fuzz.saved");
  env.restartUserDefaults();
  for (const auto& [key, value] : loaded) {
    if (env.userDefaults().objectForKey(key) != value) std::abort();
  }
  return 0;
}
