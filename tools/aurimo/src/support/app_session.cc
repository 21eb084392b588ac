#include "support/app_session.h"

#include <utility>

#include "platform/application.h"
#include "platform/directories.h"
#include "platform/file_manager.h"
#include "platform/ph_photo_library.h"
#include "platform/un_notification_request.h"
#include "platform/un_user_notification_center.h"

namespace aurimo::tool {
namespace {

// The app's discount reminder, stood in for by a daily 19:00 one.
void scheduleDiscountReminder() {
  platform::UNMutableNotificationContent content;
  content.title = "Your discount is waiting";
  content.sound = platform::UNNotificationSound::defaultSound();
  content.categoryIdentifier = std::string(QzUserNotificationManager::discountReminderNotificationCategoryIdentifier);
  platform::UNUserNotificationCenter::current().add(
      platform::UNNotificationRequest("discount_reminder", content,
                                      std::make_shared<platform::UNCalendarNotificationTrigger>(
                                          platform::DateComponents{.hour = 19, .minute = 0, .second = 0},
                                          /*repeats=*/true)),
      nullptr);
}

}  // namespace

BroadcastRecorder::BroadcastRecorder() {
  using M = QzUserNotificationManager;
  for (platform::NotificationName name :
       {M::systemAllowsToUseNotificationsValueDidChangeNotification(), M::didInitialSetupNotificationsPermissonsOrChanged(),
        M::didRequestAuthorizationNotification(), M::userGetPushNotification(), M::userNotificationOpensAppNotification()}) {
    tokens_.push_back(platform::NotificationCenter::defaultCenter().addObserver(
        name, nullptr, [this](const platform::Notification& n) {
          nlohmann::ordered_json entry;
          entry["name"] = n.name.rawValue();
          entry["userInfo"] = n.userInfo.is_object() ? nlohmann::ordered_json(n.userInfo) : nlohmann::ordered_json::object();
          std::lock_guard lock(mutex_);
          entries_.push_back(std::move(entry));
        }));
  }
}

std::size_t BroadcastRecorder::count() const {
  std::lock_guard lock(mutex_);
  return entries_.size();
}

nlohmann::ordered_json BroadcastRecorder::since(std::size_t mark) const {
  std::lock_guard lock(mutex_);
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (std::size_t i = mark; i < entries_.size(); ++i) list.push_back(entries_[i]);
  return list;
}

AppSession::Started::Started(const std::shared_ptr<HostPerson>& person)
    : device(DeviceState::load(platform::FileManager::defaultManager(),
                               platform::Directories::current().stateDirectory())),
      reachability(std::make_shared<ToolboxKit::FixedNetworkReachability>(device.networkReachable)) {
  device.apply();
  platform::Clock::slot().replace(clock);
  ToolboxKit::NetworkReachability::slot().replace(reachability);
  platform::UNUserNotificationCenter::slot().replace(
      std::make_shared<platform::UNUserNotificationCenter>(platform::Directories::current().stateDirectory(), person));
  // Events may be arriving on stdin, so nobody answers the photo prompt until an event does.
  person->answer(std::string(platform::PHPhotoLibrary::kPermissionKind), std::nullopt);
  platform::PHPhotoLibrary::slot().replace(std::make_shared<platform::PHPhotoLibrary>(person));
}

AppSession::AppSession(std::shared_ptr<HostPerson> person) : person_(std::move(person)) {}

AppSession::~AppSession() {
  announcementsToken_.remove();
  // The app quits: its windows close, and a close button that still holds the
  // context (and this session) lets go of it.
  if (context_) context_->hideGlobalActivityIndicator();
  for (const auto& window : platform::UIApplication::shared().windows()) window->setHidden(true);
  context_.reset();
}

AppSession::Started& AppSession::started() {
  if (!started_) started_ = std::make_unique<Started>(person_);
  return *started_;
}

void AppSession::launch(SignInState account) {
  if (context_) throw EventError("launch: the app is already running; launch once per run");
  started();
  managers_.accountManager->state = std::move(account);

  AppContext::Frameworks frameworks = test::recordingFrameworks(log_);
  frameworks.printToConsole = [this](std::string_view line) { console_.emplace_back(line); };
  frameworks.makeCDNImageLoader = [this, make = std::move(frameworks.makeCDNImageLoader)](
                                      platform::URL url, std::int64_t scale,
                                      std::shared_ptr<SharedViewsKit::QzCDNImageLoaderDataCacheProtocol> cache,
                                      std::int64_t tasks) {
    imageCache_ = std::dynamic_pointer_cast<CacheHelper>(cache);
    return make(std::move(url), scale, std::move(cache), tasks);
  };
  window_ = std::make_shared<platform::UIWindow>();
  context_ = managers_.launch(window_, platform::Services::defaults(), frameworks);

  announcementsToken_ = platform::NotificationCenter::defaultCenter().addObserver(
      UniversalLinkManager::valueForShouldGoToDidChangeNotification(), context_->universalLinkManager().get(),
      [this](const platform::Notification&) { ++announcements_; });
  // What the app does once its first screens exist: the tab screen in a
  // navigation stack as the window's root, and its discount reminder, filed
  // by a fresh schedule update.
  tabBar_ = std::make_shared<test::RecordingTabBarController>(log_);
  tabBar_->setAppContext(context_);
  tabBar_->setTitle("Home");
  navigation_ = std::make_shared<AppContextBaseNavigationController>(tabBar_);
  window_->setRootViewController(navigation_);
  window_->makeKeyAndVisible();
  context_->setTabBarController(tabBar_);
  context_->localUserNotificationScheduler()->setScheduleDiscount(scheduleDiscountReminder);
  context_->localUserNotificationScheduler()->updateSchedule(nullptr);
  // The launch settles before any event's own work, so the two never race.
  EventHost::settle();
}

AppContext& AppSession::context() {
  if (!context_) launch(SignInState{});
  return *context_;
}

void AppSession::deviceDidChange() {
  started().device.apply();
  started().reachability->setReachable(started().device.networkReachable);
}

std::vector<std::string> AppSession::takeConsole() { return std::exchange(console_, {}); }

std::size_t AppSession::takeBroadcastMark() {
  const std::size_t mark = unreportedBroadcasts_.value_or(started().broadcasts.count());
  unreportedBroadcasts_.reset();
  return mark;
}

nlohmann::ordered_json AppSession::reportLaunchBroadcasts() {
  const std::size_t mark = unreportedBroadcasts_.value_or(started().broadcasts.count());
  unreportedBroadcasts_ = started().broadcasts.count();
  return started().broadcasts.since(mark);
}

}  // namespace aurimo::tool
