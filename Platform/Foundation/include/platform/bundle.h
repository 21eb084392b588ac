#pragma once
// Bundle: where the app's translated texts come from, as the platform's
// Bundle. Backed by GNU gettext: a table is a text domain (the main bundle's
// is "aurimo"), the English text is the message id, and catalogues live in
// <locale dir>/<language>/LC_MESSAGES/<domain>.mo. Texts come back as UTF-8,
// byte for byte; which language is used follows the process locale
// (setlocale and LANGUAGE), which the program sets, not this library. It also
// carries the app's information dictionary (the build number and the like).
//
// Thread contract: lookups and the information dictionary are safe from any
// thread. Text domains are bound process-wide; two bundles binding one domain
// to different folders is a programming error.
//
//   std::string title = platform::Bundle::main().localizedString("OK", "", std::nullopt);
//   platform::ScopedReplacement pin(platform::Bundle::mainSlot(), std::make_shared<platform::Bundle>("aurimo-test", dir));

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/replaceable.h"

namespace aurimo::platform {

class Bundle {
 public:
  // Catalogues of `textDomain` (and of any table) are looked up under `localeDirectory`.
  Bundle(std::string textDomain, std::filesystem::path localeDirectory);

  // Text domain "aurimo" under $AURIMO_LOCALEDIR, else the installed locale folder.
  static Bundle& main() { return mainSlot().get(); }
  static Replaceable<Bundle>& mainSlot();

  const std::string& textDomain() const { return textDomain_; }
  const std::filesystem::path& localeDirectory() const { return localeDirectory_; }

  // The translation of `key` in `table` (the bundle's own domain when absent).
  // Untranslated keys give `value`, or the key itself when `value` is empty.
  std::string localizedString(std::string_view key, std::string_view value,
                              std::optional<std::string_view> table) const;

  // The information dictionary, a JSON object; by default {"CFBundleVersion": <this
  // build's version>}. A host or a test sets its own, or none (nullopt).
  std::optional<nlohmann::json> infoDictionary() const;
  void setInfoDictionary(std::optional<nlohmann::json> dictionary);

 private:
  std::string textDomain_;
  std::filesystem::path localeDirectory_;
  mutable std::mutex mutex_;
  std::optional<nlohmann::json> infoDictionary_;  // guarded by mutex_
};

}  // namespace aurimo::platform
