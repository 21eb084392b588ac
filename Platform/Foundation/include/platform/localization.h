#pragma once
// NSLocalizedString: a user-visible text by its English key, translated
// through the main bundle. The comment is for translators only: the `pot`
// build target copies it into po/aurimo.pot beside the key, so keep both
// arguments string literals.
//
// Thread contract: safe from any thread.
//
//   std::string ok = platform::NSLocalizedString("OK", "");
//   std::string title = platform::NSLocalizedString("Error Info", "Button that shows the raw error text.");

#include <optional>
#include <string>
#include <string_view>

#include "platform/bundle.h"

namespace aurimo::platform {

inline std::string NSLocalizedString(std::string_view key, [[maybe_unused]] std::string_view comment) {
  return Bundle::main().localizedString(key, {}, std::nullopt);
}

inline std::string NSLocalizedString(std::string_view key, std::optional<std::string_view> tableName,
                                     const Bundle& bundle, std::string_view value,
                                     [[maybe_unused]] std::string_view comment) {
  return bundle.localizedString(key, value, tableName);
}

}  // namespace aurimo::platform
