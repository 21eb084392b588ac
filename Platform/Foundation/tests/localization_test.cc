#include "platform/localization.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>

#include "testing/temporary_directory.h"

namespace aurimo::platform {
namespace {

const std::string kRunner = "Don't miss out! \xF0\x9F\x8F\x83\xE2\x80\x8D\xE2\x9E\xA1\xEF\xB8\x8F";  // U+1F3C3 U+200D U+27A1 U+FE0F
const std::string kMoneyBag = "Find out what your collectibles could be worth and more \xF0\x9F\x92\xB0";

// A GNU message catalogue: header, two offset tables (ids sorted), no hash table.
void writeCatalogue(const std::filesystem::path& path, std::map<std::string, std::string> messages) {
  messages[""] = "Content-Type: text/plain; charset=UTF-8\n";
  const auto n = static_cast<std::uint32_t>(messages.size());
  auto put = [](std::string& out, std::uint32_t value) { out.append(reinterpret_cast<const char*>(&value), 4); };
  const std::uint32_t idTable = 28, strTable = idTable + 8 * n, data = strTable + 8 * n;
  std::string idEntries, strEntries, blob;
  for (const auto& [id, str] : messages) {
    put(idEntries, std::uint32_t(id.size()));
    put(idEntries, data + std::uint32_t(blob.size()));
    blob += id + '\0';
  }
  for (const auto& [id, str] : messages) {
    put(strEntries, std::uint32_t(str.size()));
    put(strEntries, data + std::uint32_t(blob.size()));
    blob += str + '\0';
  }
  std::string file;
  for (std::uint32_t value : {0x950412deu, 0u, n, idTable, strTable, 0u, data}) put(file, value);
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << file << idEntries << strEntries << blob;
}

// Switches the process to German messages for the scope.
struct German {
  std::string previousLocale = std::setlocale(LC_MESSAGES, nullptr);
  German() {
    setenv("LANGUAGE", "de", 1);
    std::setlocale(LC_MESSAGES, "C.UTF-8");
  }
  ~German() {
    unsetenv("LANGUAGE");
    std::setlocale(LC_MESSAGES, previousLocale.c_str());
  }
};

TEST(Localization, TranslatesThroughTheMainBundleAndTablesAndOtherwiseShowsTheKeyByteForByte) {
  test::TemporaryDirectory tmp;
  const std::string runnerInGerman = "Verpass es nicht! \xF0\x9F\x8F\x83\xE2\x80\x8D\xE2\x9E\xA1\xEF\xB8\x8F";
  writeCatalogue(tmp.path() / "de/LC_MESSAGES/aurimo-l10n-test.mo",
                 {{"OK", "OK"}, {"Cancel", "Abbrechen"}, {kRunner, runnerInGerman}});
  writeCatalogue(tmp.path() / "de/LC_MESSAGES/aurimo-l10n-test-Alerts.mo", {{"Cancel", "Lieber nicht"}});
  const auto bundle = std::make_shared<Bundle>("aurimo-l10n-test", tmp.path());
  ScopedReplacement pin(Bundle::mainSlot(), bundle);
  for (const std::string& key : {kRunner, kMoneyBag, std::string("Error Info"), std::string("Cancel")}) {
    EXPECT_EQ(NSLocalizedString(key, "comment"), key);
  }
  EXPECT_EQ(bundle->localizedString("Missing", "Fallback", std::nullopt), "Fallback");
  EXPECT_EQ(bundle->localizedString("", "", std::nullopt), "");

  German german;
  EXPECT_EQ(NSLocalizedString("Cancel", ""), "Abbrechen");
  EXPECT_EQ(NSLocalizedString(kRunner, "comment"), runnerInGerman);
  EXPECT_EQ(NSLocalizedString(kMoneyBag, ""), kMoneyBag);
  EXPECT_EQ(NSLocalizedString("Cancel", "Alerts", *bundle, "", ""), "Lieber nicht");
  EXPECT_EQ(NSLocalizedString("OK", "Alerts", *bundle, "Okay", ""), "Okay");
  // The catalogue's header is never handed out for an empty key.
  EXPECT_EQ(NSLocalizedString("", ""), "");
}

}  // namespace
}  // namespace aurimo::platform
