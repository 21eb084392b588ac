#include "app_context/notifications/qz_user_notification_manager.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "notification_environment.h"
#include "platform/application.h"
#include "platform/user_defaults.h"

namespace aurimo {
namespace {

using platform::NotificationPermissionAnswer;
using platform::UNAuthorizationStatus;
using testing_env::Broadcast;
using testing_env::BroadcastLog;
using testing_env::NotificationEnvironment;
using Status = UNAuthorizationStatus;

constexpr const char* kAllowsKey = "QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification";
constexpr const char* kStatusKey = "QzUserNotificationManager.cachedSystemAuthorizationStatus";
const std::string kChanged = "QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification";
const std::string kSetup = "QzUserNotificationManager.didInitialSetupNotificationsPermissonsOrChanged";
const std::string kRequested = "QzUserNotificationManager.didRequestAuthorizationNotification";
const std::string kPush = "QzUserNotificationManager.userGetPushNotification";
const std::string kOpens = "QzUserNotificationManager.userNotificationOpensAppNotification";

// "name userInfo" lines, so a mismatch shows the whole sequence.
std::vector<std::string> describe(const std::vector<Broadcast>& broadcasts) {
  std::vector<std::string> lines;
  for (const Broadcast& b : broadcasts) lines.push_back(b.name + " " + b.userInfo.dump());
  return lines;
}

std::string line(const std::string& name, nlohmann::json userInfo) { return name + " " + userInfo.dump(); }

platform::UNNotificationResponse tap(std::string category, std::shared_ptr<const platform::UNNotificationTrigger> trigger = nullptr) {
  platform::UNMutableNotificationContent content;
  content.categoryIdentifier = std::move(category);
  return {platform::UNNotification{platform::Clock::current().now(),
                                   platform::UNNotificationRequest("id", content, std::move(trigger))}};
}

class QzUserNotificationManagerTest : public testing::Test {
 protected:
  std::shared_ptr<QzUserNotificationManager> start() {
    auto manager = QzUserNotificationManager::create();
    NotificationEnvironment::settle(manager.get());
    return manager;
  }

  NotificationEnvironment env_;
  BroadcastLog log_;
};

TEST_F(QzUserNotificationManagerTest, RefreshStoresTheStatusAndBroadcastsOnlyChangesOfAuthorized) {
  struct Case {
    std::optional<bool> storedBefore;  // nullopt: first launch, key absent
    Status status;
    bool allowed;
    bool broadcasts;
  };
  const Case cases[] = {
      {std::nullopt, Status::notDetermined, false, false}, {std::nullopt, Status::denied, false, false},
      {std::nullopt, Status::authorized, true, true},      {std::nullopt, Status::provisional, false, false},
      {std::nullopt, Status::ephemeral, false, false},     {true, Status::authorized, true, false},
      {true, Status::provisional, false, true},            {true, Status::ephemeral, false, true},
      {true, Status::denied, false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "status " << int(c.status) << " stored " << c.storedBefore.value_or(false));
    platform::UserDefaults::standard().removeObjectForKey(kAllowsKey);
    if (c.storedBefore) platform::UserDefaults::standard().set(*c.storedBefore, kAllowsKey);
    env_.setStatus(c.status);
    auto manager = start();

    EXPECT_EQ(platform::UserDefaults::standard().integerForKey(kStatusKey), int(c.status));
    EXPECT_EQ(platform::UserDefaults::standard().boolForKey(kAllowsKey), c.allowed);
    EXPECT_EQ(manager->cachedSystemAuthorizationStatus(), c.status);
    std::vector<std::string> expected;
    if (c.broadcasts) expected = {line(kChanged, {{"new", c.allowed}}), line(kSetup, {{"authStatus", c.allowed}})};
    const std::vector<Broadcast> got = log_.take();
    EXPECT_EQ(describe(got), expected);
    for (const Broadcast& b : got) EXPECT_EQ(b.object, manager.get());

    // Coming back to the foreground with nothing changed posts nothing.
    platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
    NotificationEnvironment::settle(manager.get());
    EXPECT_TRUE(log_.take().empty());
  }
}

TEST_F(QzUserNotificationManagerTest, ForegroundRefreshPicksUpAChangeMadeInTheSystemSettings) {
  env_.setStatus(Status::authorized);
  auto manager = start();
  log_.take();

  env_.setStatus(Status::denied);
  platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
  NotificationEnvironment::settle(manager.get());
  EXPECT_EQ(describe(log_.take()), (std::vector{line(kChanged, {{"new", false}}), line(kSetup, {{"authStatus", false}})}));
  EXPECT_EQ(manager->cachedSystemAuthorizationStatus(), Status::denied);

  // A manager that is gone no longer refreshes.
  manager.reset();
  env_.setStatus(Status::authorized);
  platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
  NotificationEnvironment::settle(nullptr);
  EXPECT_TRUE(log_.take().empty());
}

TEST_F(QzUserNotificationManagerTest, RequestStoresTheAnswerAndBroadcastsAfterTheCompletion) {
  struct Case {
    Status before;
    std::optional<NotificationPermissionAnswer> answer;  // nullopt: the user is not asked
    bool storedBefore;
    bool granted;
    Status after;
  };
  const Case cases[] = {
      {Status::notDetermined, NotificationPermissionAnswer::allow, false, true, Status::authorized},
      {Status::notDetermined, NotificationPermissionAnswer::deny, false, false, Status::denied},
      {Status::notDetermined, NotificationPermissionAnswer::deny, true, false, Status::denied},
      {Status::denied, std::nullopt, false, false, Status::denied},
      {Status::authorized, std::nullopt, true, true, Status::authorized},
      {Status::provisional, NotificationPermissionAnswer::allow, false, true, Status::authorized},
      // Ephemeral delivery counts as granted by the platform, and the stored value follows the answer.
      {Status::ephemeral, std::nullopt, false, true, Status::ephemeral},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "before " << int(c.before) << " stored " << c.storedBefore);
    env_.setStatus(c.before);
    auto manager = start();
    platform::UserDefaults::standard().set(c.storedBefore, kAllowsKey);
    log_.take();
    const std::size_t askedBefore = env_.prompt->asked().size();
    if (c.answer) env_.prompt->push(*c.answer);

    std::vector<std::string> events;
    auto token = platform::NotificationCenter::defaultCenter().addObserver(
        QzUserNotificationManager::didRequestAuthorizationNotification(), nullptr,
        [&](const platform::Notification&) { events.push_back("broadcast"); });
    int calls = 0;
    manager->requestAuthorization([&](bool granted, std::optional<platform::UNError> error) {
      ++calls;
      EXPECT_TRUE(platform::DispatchQueue::isMainThread());
      EXPECT_EQ(granted, c.granted);
      EXPECT_FALSE(error.has_value());
      events.push_back("completion");
    });
    NotificationEnvironment::settle(manager.get());

    EXPECT_EQ(calls, 1);
    EXPECT_EQ(events, (std::vector<std::string>{"completion", "broadcast"}));
    EXPECT_EQ(env_.prompt->asked().size() - askedBefore, c.answer ? 1u : 0u);
    if (c.answer) {
      EXPECT_EQ(env_.prompt->asked().back().rawValue, 7u);
    }
    EXPECT_EQ(manager->cachedSystemAuthorizationStatus(), c.after);
    EXPECT_EQ(manager->systemAllowsToUseNotifications(), c.granted);
    std::vector<std::string> expected;
    if (c.granted != c.storedBefore) expected.push_back(line(kChanged, {{"new", c.granted}}));
    expected.push_back(line(kRequested, {{"authStatus", c.granted}}));
    expected.push_back(line(kSetup, {{"authStatus", c.granted}}));
    EXPECT_EQ(describe(log_.take()), expected);
  }
}

TEST_F(QzUserNotificationManagerTest, RequestErrorIsReportedAndChangesNothing) {
  std::ofstream(env_.root() / "blocked") << "a file where the state folder should be";
  env_.restartCenter(env_.root() / "blocked");
  auto manager = QzUserNotificationManager::create();
  NotificationEnvironment::settle(manager.get());
  log_.take();
  env_.prompt->push(NotificationPermissionAnswer::allow);

  int calls = 0;
  manager->requestAuthorization([&](bool granted, std::optional<platform::UNError> error) {
    ++calls;
    EXPECT_FALSE(granted);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code, platform::UNError::Code::storageFailed);
  });
  NotificationEnvironment::settle(manager.get());
  std::vector<bool> possible;
  manager->requestAuthorizationIfPossible([&](bool answer) { possible.push_back(answer); });
  NotificationEnvironment::settle(manager.get());

  EXPECT_EQ(calls, 1);
  EXPECT_EQ(possible, std::vector<bool>{true}) << "errors are swallowed when asking if possible";
  EXPECT_EQ(manager->cachedSystemAuthorizationStatus(), Status::notDetermined) << "written by the start-up refresh only";
  EXPECT_FALSE(manager->systemAllowsToUseNotifications());
  EXPECT_TRUE(log_.take().empty());
}

TEST_F(QzUserNotificationManagerTest, RequestIfPossibleAsksOnlyAnUndecidedUser) {
  struct Case {
    Status status;
    bool result;
    bool asks;
  };
  const Case cases[] = {
      {Status::authorized, true, false}, {Status::notDetermined, true, true}, {Status::denied, false, false},
      {Status::provisional, false, false}, {Status::ephemeral, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(int(c.status));
    env_.setStatus(c.status);
    auto manager = start();
    log_.take();
    // Even a refusal counts as "possible" once the user was asked.
    env_.prompt->push(NotificationPermissionAnswer::deny);
    const std::size_t askedBefore = env_.prompt->asked().size();
    std::vector<bool> results;
    manager->requestAuthorizationIfPossible([&](bool possible) {
      EXPECT_TRUE(platform::DispatchQueue::isMainThread());
      results.push_back(possible);
    });
    NotificationEnvironment::settle(manager.get());
    EXPECT_EQ(results, std::vector<bool>{c.result});
    EXPECT_EQ(env_.prompt->asked().size() - askedBefore, c.asks ? 1u : 0u);
    const std::vector<Broadcast> broadcasts = log_.take();
    EXPECT_EQ(broadcasts.empty(), !c.asks);
  }
}

TEST_F(QzUserNotificationManagerTest, ForegroundPresentationShowsPushWithSoundAndAnnouncesEveryNotification) {
  auto manager = start();
  struct Case {
    const char* name;
    std::shared_ptr<const platform::UNNotificationTrigger> trigger;
    std::uint32_t options;
  };
  const Case cases[] = {
      {"push", std::make_shared<platform::UNPushNotificationTrigger>(), 18},
      {"calendar", std::make_shared<platform::UNCalendarNotificationTrigger>(platform::DateComponents{.hour = 10}, false),
       16},
      {"interval", std::make_shared<platform::UNTimeIntervalNotificationTrigger>(60, false), 16},
      {"none", nullptr, 16},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::string> events;
    auto token = platform::NotificationCenter::defaultCenter().addObserver(
        QzUserNotificationManager::userGetPushNotification(), nullptr,
        [&](const platform::Notification& n) {
          EXPECT_EQ(n.object, nullptr);
          EXPECT_TRUE(n.userInfo.is_null());
          events.push_back("broadcast");
        });
    env_.center().presentNotification(tap("DiscountReminder", c.trigger).notification,
                                      [&](platform::UNNotificationPresentationOptions options) {
                                        EXPECT_EQ(options.rawValue, c.options);
                                        events.push_back("completion");
                                      });
    // Both happen on the delivering thread, before the call returns.
    EXPECT_EQ(events, (std::vector<std::string>{"completion", "broadcast"}));
  }
}

TEST_F(QzUserNotificationManagerTest, TapMapsTheCategoryStoresTheInfoAndBroadcastsOnMain) {
  auto manager = start();
  log_.take();
  const std::pair<std::string, std::string> cases[] = {
      {"DiscountReminder", "discount"},     {"TrialExpirationReminder", "trialExpiration"},
      {"", "default"},                      {"discountreminder", "default"},
      {"DiscountReminder ", "default"},     {"trial_expiration_reminder", "default"},
  };
  for (const auto& [category, action] : cases) {
    SCOPED_TRACE(category);
    int completions = 0;
    env_.center().openNotification(tap(category), [&] {
      ++completions;
      EXPECT_EQ(log_.take().size(), 1u) << "completes after the broadcast";
    });
    // Stored at once; broadcast and completion wait for the main queue.
    EXPECT_EQ(manager->latestNotificationResponseInfo(), (nlohmann::json{{"actionType", action}}));
    EXPECT_EQ(completions, 0);
    platform::RunLoop::main().runUntilIdle();
    EXPECT_EQ(completions, 1);
  }
  manager->resetLatestNotificationResponseInfo();
  EXPECT_EQ(manager->latestNotificationResponseInfo(), std::nullopt);
}

TEST_F(QzUserNotificationManagerTest, InterceptorGetsTheTapFirstAndMayConsumeIt) {
  auto manager = start();
  env_.center().openNotification(tap("DiscountReminder"), nullptr);
  platform::RunLoop::main().runUntilIdle();
  log_.take();

  for (bool consume : {true, false}) {
    SCOPED_TRACE(consume);
    std::vector<std::string> seen;
    manager->setUserNotificationCenterDidReceiveResponseHandler(
        [&](platform::UNUserNotificationCenter& center, const platform::UNNotificationResponse& response) {
          EXPECT_EQ(&center, &env_.center());
          seen.push_back(response.notification.request.content().categoryIdentifier());
          return consume;
        });
    int completions = 0;
    env_.center().openNotification(tap("TrialExpirationReminder"), [&] { ++completions; });
    EXPECT_EQ(seen, std::vector<std::string>{"TrialExpirationReminder"});
    if (consume) {
      EXPECT_EQ(completions, 1) << "a consumed tap completes at once";
    }
    platform::RunLoop::main().runUntilIdle();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(manager->latestNotificationResponseInfo(),
              (nlohmann::json{{"actionType", consume ? "discount" : "trialExpiration"}}));
    EXPECT_EQ(log_.take().size(), consume ? 0u : 1u);
  }
}

}  // namespace
}  // namespace aurimo
