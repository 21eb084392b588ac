// User defaults, the notification centre's state and the photo library's
// decisions all persist through one FileManager: each must survive the same
// injected faults and the same damaged files in the same way.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <future>

#include "platform/ph_photo_library.h"
#include "platform/run_loop.h"
#include "platform/un_user_notification_center.h"
#include "platform/user_defaults.h"
#include "testing/fake_clock.h"
#include "testing/faulty_file_manager.h"
#include "testing/scripted_person.h"
#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using platform::FileManager;
using test::contents;
using test::namesIn;

// A store opened in a folder, holding one small value (0 when none was
// stored): set() returns what the store reported, empty when all went well.
struct Opened {
  std::function<std::string(int value)> set;
  std::function<int()> get;
};

Opened openUserDefaults(FileManager& files, const fs::path& folder) {
  auto defaults = std::make_shared<platform::UserDefaults>(folder / "user-defaults.json", files);
  return {[defaults](int value) {
            testing::internal::CaptureStderr();
            defaults->set(value, "value");
            platform::RunLoop::main().runUntilAllQueuesIdle();  // the save lands on the store's queue
            return testing::internal::GetCapturedStderr();
          },
          [defaults] { return static_cast<int>(defaults->integerForKey("value")); }};
}

Opened openNotificationCenter(FileManager& files, const fs::path& folder) {
  auto center = std::make_shared<platform::UNUserNotificationCenter>(
      folder, std::make_shared<test::ScriptedPerson>(), files);
  return {[center](int value) {
            auto error = center->setAuthorizationStatus(static_cast<platform::UNAuthorizationStatus>(value));
            return error ? error->message : "";
          },
          [center] {
            std::promise<platform::UNAuthorizationStatus> status;
            center->getNotificationSettings([&](auto settings) { status.set_value(settings.authorizationStatus); });
            return static_cast<int>(status.get_future().get());
          }};
}

// 1 is restricted, 2 authorized; an empty change tells them apart.
Opened openPhotoLibrary(FileManager& files, const fs::path& folder) {
  using Status = platform::PHAuthorizationStatus;
  auto library = std::make_shared<platform::PHPhotoLibrary>(
      folder, folder / "Pictures", std::make_shared<test::ScriptedPerson>(), files);
  return {[library](int value) {
            auto error = library->setAuthorizationStatus(platform::PHAccessLevel::addOnly,
                                                         value == 2 ? Status::authorized : Status(value));
            return error ? error->message : "";
          },
          [library] {
            std::optional<platform::PHPhotosError> error;
            library->performChanges([] {}, [&](bool, std::optional<platform::PHPhotosError> e) { error = e; });
            library->changeQueue().sync([] {});
            if (!error) return 2;
            return error->code == platform::PHPhotosError::Code::accessRestricted ? 1 : 0;
          }};
}

// Nested 100,000 deep: a regression, it once overflowed the stack on every start.
const std::string kDeep = std::string(100'000, '[') + std::string(100'000, ']');

const struct Store {
  const char* name;
  const char* fileName;
  bool reportsEveryFailedSave;  // user defaults say it once per failing streak
  Opened (*open)(FileManager& files, const fs::path& folder);
  std::vector<std::string> unusable;  // contents it must move aside
} kStores[] = {
    {"user defaults", "user-defaults.json", false, openUserDefaults,
     {"{\"a\": ", "[1, 2]", R"({"d": {"$base64": "%%%"}})", R"({"d": {"$base64": 7}})", "{\"a\":" + kDeep + "}"}},
    // A status of 1e300 once converted to int undefinedly.
    {"notification centre", "user_notifications.json", true, openNotificationCenter,
     {"{\"authorizationStatus\": 2, \"pendingRequests\": [{", "[1, 2]",
      R"({"authorizationStatus": 1e300, "pendingRequests": []})",
      R"({"authorizationStatus": 2, "pendingRequests": [], "x": )" + kDeep + "}"}},
    {"photo library", "photo_library.json", true, openPhotoLibrary,
     {"{\"authorizationStatus\": ", "[1, 2]", R"({"authorizationStatus": {}, "x": )" + kDeep + "}"}},
};

long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

TEST(Persistence, AFailingDiskKeepsTheOldFileWholeAndIsReported) {
  const struct {
    const char* name;
    void (test::FaultyFileManager::*inject)(bool);
    const char* reported;
  } faults[] = {
      {"disk full", &test::FaultyFileManager::failWritesWithDiskFull, "No space left on device"},
      {"permission denied", &test::FaultyFileManager::denyPermission, "Permission denied"},
      {"failing rename", &test::FaultyFileManager::failRenames, "Input/output error"},
  };
  test::FaultyFileManager files;
  for (const Store& store : kStores) {
    for (const auto& fault : faults) {
      SCOPED_TRACE(std::string(store.name) + ", " + fault.name);
      test::TemporaryDirectory tmp;
      Opened opened = store.open(files, tmp.path());
      ASSERT_EQ(opened.set(1), "");
      const std::string saved = contents(tmp.path() / store.fileName);

      (files.*fault.inject)(true);
      const std::string report = opened.set(2);
      EXPECT_NE(report.find(fault.reported), std::string::npos) << report;
      EXPECT_LE(lines(report), 1);
      EXPECT_EQ(opened.set(2).empty(), !store.reportsEveryFailedSave);
      (files.*fault.inject)(false);

      EXPECT_EQ(opened.get(), 2);  // kept in memory
      EXPECT_EQ(contents(tmp.path() / store.fileName), saved);
      EXPECT_EQ(namesIn(tmp.path()), std::vector<std::string>{store.fileName});
      EXPECT_EQ(store.open(files, tmp.path()).get(), 1);
      EXPECT_EQ(opened.set(2), "");
      EXPECT_EQ(store.open(files, tmp.path()).get(), 2);
    }
  }
}

TEST(Persistence, AnUnusableFileIsMovedAsideUnderAUniqueNameAndReportedOnce) {
  platform::ScopedReplacement<platform::Clock> pinClock{platform::Clock::slot(), std::make_shared<test::FakeClock>()};
  test::FaultyFileManager files;
  // Opens the store and returns it with what it wrote on stderr.
  const auto open = [&](const Store& store, const fs::path& folder) {
    testing::internal::CaptureStderr();
    Opened opened = store.open(files, folder);
    return std::pair(opened, testing::internal::GetCapturedStderr());
  };
  for (const Store& store : kStores) {
    SCOPED_TRACE(store.name);
    test::TemporaryDirectory tmp;
    const fs::path file = tmp.path() / store.fileName;
    EXPECT_EQ(open(store, tmp.path()).second, "");  // no file yet is no damage
    EXPECT_TRUE(namesIn(tmp.path()).empty());

    // All in the same second: none may replace an earlier one.
    for (std::size_t n = 0; n < store.unusable.size(); ++n) {
      SCOPED_TRACE(store.unusable[n]);
      std::ofstream(file) << store.unusable[n];
      auto [opened, report] = open(store, tmp.path());
      const std::string aside = file.string() + ".corrupt-1700000000" + (n ? "-" + std::to_string(n + 1) : "");
      EXPECT_EQ(lines(report), 1) << report;
      EXPECT_NE(report.find("moved to " + aside + ";"), std::string::npos) << report;
      EXPECT_EQ(contents(aside), store.unusable[n]);
      EXPECT_FALSE(fs::exists(file));
      EXPECT_EQ(opened.get(), 0);
      EXPECT_EQ(opened.set(1), "");
      EXPECT_EQ(store.open(files, tmp.path()).get(), 1);
    }

    // Unreadable and immovable: said so, and the file is left as it was.
    const std::string saved = contents(file);
    files.denyPermission(true);
    auto [opened, report] = open(store, tmp.path());
    files.denyPermission(false);
    EXPECT_EQ(opened.get(), 0);
    EXPECT_EQ(lines(report), 1) << report;
    EXPECT_NE(report.find("could not move it aside"), std::string::npos) << report;
    EXPECT_EQ(contents(file), saved);
  }
}

}  // namespace
}  // namespace aurimo
