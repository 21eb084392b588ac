#include "testing/environment.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/run_loop.h"

namespace aurimo::test {

using platform::ScopedReplacement;

// The slots pinned for the environment's lifetime; declared in the order they are put back.
class Environment::Pins {
 public:
  explicit Pins(Environment& env)
      : clock(platform::Clock::slot(), env.clock),
        timeZone(platform::TimeZone::slot(), env.timeZone_),
        directories(platform::Directories::slot(), env.directories_),
        files(platform::FileManager::slot(), env.files),
        userDefaults(platform::UserDefaults::slot(), env.userDefaults_),
        notificationCenter(platform::NotificationCenter::slot(), env.notificationCenter_),
        bundle(platform::Bundle::mainSlot(), env.bundle_),
        userNotificationCenter(platform::UNUserNotificationCenter::slot(), env.userNotificationCenter_),
        photoLibrary(platform::PHPhotoLibrary::slot(), env.photoLibrary_),
        device(platform::UIDevice::slot(), env.device),
        screen(platform::UIScreen::slot(), env.screen),
        application(platform::UIApplication::slot(), env.application) {}

  ScopedReplacement<platform::Clock> clock;
  ScopedReplacement<platform::TimeZone> timeZone;
  ScopedReplacement<platform::Directories> directories;
  ScopedReplacement<platform::FileManager> files;
  ScopedReplacement<platform::UserDefaults> userDefaults;
  ScopedReplacement<platform::NotificationCenter> notificationCenter;
  ScopedReplacement<platform::Bundle> bundle;
  ScopedReplacement<platform::UNUserNotificationCenter> userNotificationCenter;
  ScopedReplacement<platform::PHPhotoLibrary> photoLibrary;
  ScopedReplacement<platform::UIDevice> device;
  ScopedReplacement<platform::UIScreen> screen;
  ScopedReplacement<platform::UIApplication> application;
};

Environment::Environment(std::string_view timeZone)
    : directories_(std::make_shared<platform::Directories>(platform::Directories::Locations{
          .settings = settingsDirectory(),
          .state = stateDirectory(),
          .caches = cachesDirectory(),
          .pictures = picturesDirectory()})),
      notificationCenter_(std::make_shared<platform::NotificationCenter>()),
      bundle_(platform::Bundle::mainSlot().shared()) {
  std::optional<platform::TimeZone> zone = platform::TimeZone::named(std::string(timeZone));
  if (!zone) {
    std::fprintf(stderr, "test::Environment: unknown time zone %s\n", std::string(timeZone).c_str());
    std::abort();
  }
  timeZone_ = std::make_shared<platform::TimeZone>(*zone);
  restartUserDefaults();
  restartUserNotificationCenter();
  restartPhotoLibrary();
  pins_ = std::make_unique<Pins>(*this);
}

Environment::~Environment() {
  runUntilIdle();
  tokens_.clear();
  pins_.reset();
}

void Environment::runUntilIdle() { platform::RunLoop::main().runUntilAllQueuesIdle(); }

void Environment::advance(platform::TimeInterval seconds) {
  clock->advance(seconds);
  runUntilIdle();
}

platform::Services Environment::services() const {
  return platform::Services{
      .clock = clock,
      .timeZone = timeZone_,
      .directories = directories_,
      .fileManager = files,
      .userDefaults = userDefaults_,
      .notificationCenter = notificationCenter_,
      .bundle = bundle_,
      .userNotificationCenter = userNotificationCenter_,
      .photoLibrary = photoLibrary_,
      .device = device,
      .screen = screen,
      .application = application,
  };
}

void Environment::restartUserNotificationCenter(std::optional<std::filesystem::path> stateDirectory) {
  userNotificationCenter_ = std::make_shared<platform::UNUserNotificationCenter>(
      stateDirectory.value_or(this->stateDirectory()), person, *files);
  if (pins_) platform::UNUserNotificationCenter::slot().replace(userNotificationCenter_);
}

void Environment::restartPhotoLibrary() { restartPhotoLibrary(*files); }

void Environment::restartPhotoLibrary(platform::FileManager& files) {
  photoLibrary_ = std::make_shared<platform::PHPhotoLibrary>(stateDirectory(), picturesDirectory(), person, files);
  if (pins_) platform::PHPhotoLibrary::slot().replace(photoLibrary_);
}

std::vector<std::filesystem::path> Environment::savedPhotos() const {
  std::vector<std::filesystem::path> photos;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(assetsDirectory(), ignored)) photos.push_back(entry.path());
  std::sort(photos.begin(), photos.end());
  return photos;
}

void Environment::restartUserDefaults() {
  // The old store's pending saves land before the new one reads the file.
  if (userDefaults_) userDefaults_->synchronize();
  userDefaults_ = std::make_shared<platform::UserDefaults>(settingsDirectory() / platform::UserDefaults::kFileName, *files);
  if (pins_) platform::UserDefaults::slot().replace(userDefaults_);
}

void Environment::recordBroadcasts(const std::vector<platform::NotificationName>& names) {
  for (const platform::NotificationName& name : names) {
    tokens_.push_back(notificationCenter_->addObserver(name, nullptr, [this](const platform::Notification& n) {
      std::lock_guard lock(mutex_);
      broadcasts_.push_back(n.name.rawValue() + " " + n.userInfo.dump());
    }));
  }
}

std::vector<std::string> Environment::broadcasts() {
  std::lock_guard lock(mutex_);
  return std::exchange(broadcasts_, {});
}

}  // namespace aurimo::test
