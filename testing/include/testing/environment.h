#pragma once
// Environment: one world for a test, a benchmark or the command-line host.
// It owns a fresh temporary folder and pins every process-wide service to
// its own: a FakeClock, a time zone, the device and its screen, directories inside the folder, user
// defaults kept there, a new notification centre, a fault-injecting file
// manager over the real one, the user-notification and photo "system" sides
// answered by a scripted person, and the main bundle. services() hands the
// same objects to whatever the test creates; runUntilIdle() runs the main run
// loop until every queue is idle, so a test acts, then looks, and never sleeps.
// Everything is put back and removed at the end.
//
// Thread contract: create, run and destroy on the test's (main) thread; wait
// for queued work (runUntilIdle) before the environment goes.
//
//   aurimo::test::Environment env;
//   auto manager = aurimo::QzUserNotificationManager::create(env.services());
//   env.runUntilIdle();

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/services.h"
#include "testing/fake_clock.h"
#include "testing/faulty_file_manager.h"
#include "testing/scripted_person.h"
#include "testing/temporary_directory.h"

namespace aurimo::test {

class Environment {
 public:
  explicit Environment(std::string_view timeZone = "Europe/Berlin");
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  // Runs the main run loop until no queue has work left and no delayed block is due.
  static void runUntilIdle();
  // Moves the clock by `seconds`, then runs until idle.
  void advance(platform::TimeInterval seconds);

  // The services of this world, as managers take them.
  platform::Services services() const;

  // A new user-notification centre, photo library or user-defaults store on the
  // same folders, as a restart of the process would make.
  void restartUserNotificationCenter(std::optional<std::filesystem::path> stateDirectory = std::nullopt);
  void restartPhotoLibrary();
  // The same over another file manager (a test's own fault), which must outlive the library.
  void restartPhotoLibrary(platform::FileManager& files);
  void restartUserDefaults();

  // Records every broadcast of `name` as "name userInfo" until the environment goes.
  void recordBroadcasts(const std::vector<platform::NotificationName>& names);
  // The recorded broadcasts since the last call.
  std::vector<std::string> broadcasts();

  const std::filesystem::path& root() const { return folder_.path(); }
  std::filesystem::path settingsDirectory() const { return root() / "data"; }
  std::filesystem::path stateDirectory() const { return root() / "data"; }
  std::filesystem::path cachesDirectory() const { return root() / "caches"; }
  std::filesystem::path picturesDirectory() const { return root() / "Pictures"; }
  // Where the photo library saves; the files there, sorted by name.
  std::filesystem::path assetsDirectory() const { return picturesDirectory() / platform::PHPhotoLibrary::kAppFolder; }
  std::vector<std::filesystem::path> savedPhotos() const;

  platform::UNUserNotificationCenter& userNotificationCenter() const { return *userNotificationCenter_; }
  platform::PHPhotoLibrary& photoLibrary() const { return *photoLibrary_; }
  platform::UserDefaults& userDefaults() const { return *userDefaults_; }
  platform::NotificationCenter& notificationCenter() const { return *notificationCenter_; }

  const std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  const std::shared_ptr<FaultyFileManager> files = std::make_shared<FaultyFileManager>();
  // The person in front of the screen: answers every question from a script.
  const std::shared_ptr<ScriptedPerson> person = std::make_shared<ScriptedPerson>();
  // The device played: the current platform release on a phone with a 3x screen.
  const std::shared_ptr<platform::UIDevice> device =
      std::make_shared<platform::UIDevice>(platform::UIDevice::kDefaultSystemVersion, "iPhone");
  const std::shared_ptr<platform::UIScreen> screen = std::make_shared<platform::UIScreen>(3);
  // Its visible windows and idle timer.
  const std::shared_ptr<platform::UIApplication> application = std::make_shared<platform::UIApplication>();

 private:
  class Pins;

  TemporaryDirectory folder_;
  std::shared_ptr<platform::TimeZone> timeZone_;
  std::shared_ptr<platform::Directories> directories_;
  std::shared_ptr<platform::UserDefaults> userDefaults_;
  std::shared_ptr<platform::NotificationCenter> notificationCenter_;
  std::shared_ptr<platform::Bundle> bundle_;
  std::shared_ptr<platform::UNUserNotificationCenter> userNotificationCenter_;
  std::shared_ptr<platform::PHPhotoLibrary> photoLibrary_;
  std::unique_ptr<Pins> pins_;

  std::mutex mutex_;
  std::vector<std::string> broadcasts_;  // guarded by mutex_
  std::vector<platform::ObserverToken> tokens_;
};

}  // namespace aurimo::test
