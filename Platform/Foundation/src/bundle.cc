#include "platform/bundle.h"

#include <libintl.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#ifndef AURIMO_LOCALE_DIR
#define AURIMO_LOCALE_DIR "/usr/local/share/locale"
#endif
#ifndef AURIMO_BUNDLE_VERSION
#define AURIMO_BUNDLE_VERSION "1"
#endif

namespace aurimo::platform {
namespace {

// gettext's bindings are process-wide; remember ours to catch conflicting ones.
void bindDomain(const std::string& domain, const std::filesystem::path& directory) {
  static std::mutex mutex;
  static std::map<std::string, std::filesystem::path> bound;  // guarded by mutex
  std::lock_guard lock(mutex);
  auto [at, inserted] = bound.emplace(domain, directory);
  if (!inserted) {
    if (at->second != directory) {
      std::fprintf(stderr, "Bundle: text domain %s is already bound to %s\n", domain.c_str(), at->second.c_str());
      std::abort();
    }
    return;
  }
  bindtextdomain(domain.c_str(), directory.c_str());
  // Whatever the locale's own character set, texts (emoji included) stay UTF-8.
  bind_textdomain_codeset(domain.c_str(), "UTF-8");
}

std::string tableDomain(const std::string& bundleDomain, std::string_view table) {
  return bundleDomain + "-" + std::string(table);
}

}  // namespace

Bundle::Bundle(std::string textDomain, std::filesystem::path localeDirectory)
    : textDomain_(std::move(textDomain)),
      localeDirectory_(std::move(localeDirectory)),
      infoDictionary_(nlohmann::json{{"CFBundleVersion", AURIMO_BUNDLE_VERSION}}) {
  bindDomain(textDomain_, localeDirectory_);
}

Replaceable<Bundle>& Bundle::mainSlot() {
  static Replaceable<Bundle> instance([] {
    const char* override = std::getenv("AURIMO_LOCALEDIR");
    return std::make_shared<Bundle>("aurimo", override && *override ? override : AURIMO_LOCALE_DIR);
  });
  return instance;
}

std::string Bundle::localizedString(std::string_view key, std::string_view value,
                                    std::optional<std::string_view> table) const {
  const std::string domain = table && !table->empty() ? tableDomain(textDomain_, *table) : textDomain_;
  if (domain != textDomain_) bindDomain(domain, localeDirectory_);
  // An empty id would fetch the catalogue's header.
  if (key.empty()) return std::string(value);
  const std::string id(key);
  // gettext hands back its argument itself when there is no translation.
  const char* translated = dgettext(domain.c_str(), id.c_str());
  if (translated != id.c_str()) return translated;
  return value.empty() ? id : std::string(value);
}

std::optional<nlohmann::json> Bundle::infoDictionary() const {
  std::lock_guard lock(mutex_);
  return infoDictionary_;
}

void Bundle::setInfoDictionary(std::optional<nlohmann::json> dictionary) {
  std::lock_guard lock(mutex_);
  infoDictionary_ = std::move(dictionary);
}

}  // namespace aurimo::platform
