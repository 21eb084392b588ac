#include "app_context/notifications/qz_user_notification_manager.h"

#include <gtest/gtest.h>

#include <fstream>

#include "notification_environment.h"
#include "platform/application.h"

namespace aurimo {
namespace {

using platform::UserDefaults;
using test::NotificationEnvironment;
using Status = platform::UNAuthorizationStatus;

constexpr const char* kAllowsKey = "QzUserNotificationManager.systemAllowsToUseNotificationsValueDidChangeNotification";
constexpr const char* kStatusKey = "QzUserNotificationManager.cachedSystemAuthorizationStatus";

std::string changed(bool value) { return std::string(kAllowsKey) + " {\"new\":" + (value ? "true}" : "false}"); }
std::string setup(bool value) {
  return std::string("QzUserNotificationManager.didInitialSetupNotificationsPermissonsOrChanged {\"authStatus\":") +
         (value ? "true}" : "false}");
}
std::string requested(bool value) {
  return std::string("QzUserNotificationManager.didRequestAuthorizationNotification {\"authStatus\":") +
         (value ? "true}" : "false}");
}

void foreground() {
  platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
}

platform::UNNotification notification(std::string category, std::shared_ptr<const platform::UNNotificationTrigger> trigger) {
  platform::UNMutableNotificationContent content;
  content.categoryIdentifier = std::move(category);
  return {platform::Date{}, platform::UNNotificationRequest("id", content, std::move(trigger))};
}

TEST(QzUserNotificationManager, RefreshStoresTheStatusAndBroadcastsOnlyAChangeOfAuthorized) {
  struct Case {
    std::optional<bool> stored;  // nullopt: first launch
    Status status;
    std::vector<std::string> broadcasts;
  };
  const Case cases[] = {
      {std::nullopt, Status::notDetermined, {}}, {std::nullopt, Status::denied, {}},
      {std::nullopt, Status::provisional, {}},   {std::nullopt, Status::ephemeral, {}},
      {std::nullopt, Status::authorized, {changed(true), setup(true)}}, {true, Status::authorized, {}},
      {true, Status::provisional, {changed(false), setup(false)}},     {true, Status::ephemeral, {changed(false), setup(false)}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(int(c.status));
    NotificationEnvironment env;
    if (c.stored) UserDefaults::standard().set(*c.stored, kAllowsKey);
    env.setStatus(c.status);
    auto manager = QzUserNotificationManager::create();
    env.runUntilIdle();
    EXPECT_EQ(UserDefaults::standard().integerForKey(kStatusKey), int(c.status));
    EXPECT_EQ(UserDefaults::standard().boolForKey(kAllowsKey), c.status == Status::authorized);
    EXPECT_EQ(env.broadcasts(), c.broadcasts);
    foreground();  // nothing changed since
    env.runUntilIdle();
    EXPECT_TRUE(env.broadcasts().empty());
    env.setStatus(c.status == Status::authorized ? Status::denied : Status::authorized);
    foreground();
    env.runUntilIdle();
    EXPECT_EQ(env.broadcasts().size(), 2u);
  }
}

TEST(QzUserNotificationManager, RequestStoresTheAnswerAndBroadcastsAfterTheCompletion) {
  struct Case {
    Status before;
    const char* answer;  // the choice taken; nullptr: the user is not asked
    bool stored;
    bool granted;
    Status after;
  };
  const Case cases[] = {
      {Status::notDetermined, "Allow", false, true, Status::authorized},
      {Status::notDetermined, "Don't Allow", false, false, Status::denied},
      {Status::notDetermined, "Don't Allow", true, false, Status::denied},
      {Status::denied, nullptr, true, false, Status::denied},
      {Status::authorized, nullptr, true, true, Status::authorized},
      {Status::provisional, "Allow", false, true, Status::authorized},
      {Status::ephemeral, nullptr, false, true, Status::ephemeral},  // the platform grants ephemeral
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(int(c.before));
    NotificationEnvironment env;
    env.setStatus(c.before);
    auto manager = QzUserNotificationManager::create();
    env.runUntilIdle();
    UserDefaults::standard().set(c.stored, kAllowsKey);
    env.broadcasts();
    if (c.answer) env.person->push(c.answer);

    std::vector<std::string> order;
    manager->requestAuthorization([&](bool granted, std::optional<platform::UNError> error) {
      EXPECT_TRUE(platform::DispatchQueue::isMainThread());
      EXPECT_EQ(granted, c.granted);
      EXPECT_FALSE(error);
      order = env.broadcasts();
      order.push_back("completion");
    });
    env.runUntilIdle();

    EXPECT_EQ(order, std::vector<std::string>{"completion"}) << "broadcasts come after the caller's answer";
    const auto asked = env.person->presentations();
    ASSERT_EQ(asked.size(), c.answer ? 1u : 0u);
    if (c.answer) {
      EXPECT_EQ(asked[0].presentation.message, "Notifications may include alerts, sounds and icon badges.");
    }
    EXPECT_EQ(manager->cachedSystemAuthorizationStatus(), c.after);
    EXPECT_EQ(manager->systemAllowsToUseNotifications(), c.granted);
    std::vector<std::string> expected{requested(c.granted), setup(c.granted)};
    if (c.granted != c.stored) expected.insert(expected.begin(), changed(c.granted));
    EXPECT_EQ(env.broadcasts(), expected);
  }
}

TEST(QzUserNotificationManager, RequestIfPossibleAsksOnlyAnUndecidedUserAndSwallowsErrors) {
  const std::pair<Status, bool> cases[] = {{Status::authorized, true}, {Status::notDetermined, true},
                                           {Status::denied, false},    {Status::provisional, false},
                                           {Status::ephemeral, false}};
  for (bool failingStore : {false, true}) {
    for (const auto& [status, possible] : cases) {
      SCOPED_TRACE(testing::Message() << int(status) << (failingStore ? " failing store" : ""));
      NotificationEnvironment env;
      if (failingStore) {
        std::ofstream(env.root() / "file") << "not a folder";
        env.restartUserNotificationCenter(env.root() / "file");
      }
      env.setStatus(status);
      env.person->push("Don't Allow");  // even a refusal counts as possible
      auto manager = QzUserNotificationManager::create();
      std::vector<bool> results;
      manager->requestAuthorizationIfPossible([&](bool answer) { results.push_back(answer); });
      env.runUntilIdle();
      EXPECT_EQ(results, std::vector<bool>{possible});
      EXPECT_EQ(env.person->presentations().size(), status == Status::notDetermined ? 1u : 0u);
    }
    if (!failingStore) continue;
    // requestAuthorization reports the error and changes nothing.
    NotificationEnvironment env;
    std::ofstream(env.root() / "file") << "not a folder";
    env.restartUserNotificationCenter(env.root() / "file");
    env.person->push("Allow");
    auto manager = QzUserNotificationManager::create();
    env.runUntilIdle();
    std::optional<platform::UNError> failure;
    manager->requestAuthorization([&](bool granted, std::optional<platform::UNError> error) {
      EXPECT_FALSE(granted);
      failure = error;
    });
    env.runUntilIdle();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, platform::UNError::Code::storageFailed);
    EXPECT_TRUE(env.broadcasts().empty());
    EXPECT_FALSE(manager->systemAllowsToUseNotifications());
  }
}

TEST(QzUserNotificationManager, ForegroundPresentationAndTaps) {
  NotificationEnvironment env;
  auto manager = QzUserNotificationManager::create();
  env.runUntilIdle();
  const std::string push = "QzUserNotificationManager.userGetPushNotification null";
  const std::pair<std::shared_ptr<const platform::UNNotificationTrigger>, std::uint32_t> presentations[] = {
      {std::make_shared<platform::UNPushNotificationTrigger>(), 18},
      {std::make_shared<platform::UNCalendarNotificationTrigger>(platform::DateComponents{.hour = 9}, false), 16},
      {nullptr, 16}};
  for (const auto& [trigger, options] : presentations) {
    std::vector<std::string> seen;
    env.userNotificationCenter().presentNotification(notification("", trigger), [&](platform::UNNotificationPresentationOptions o) {
      EXPECT_EQ(o.rawValue, options);
      seen.push_back("completion");
    });
    seen.push_back(env.broadcasts().at(0));  // posted on this thread, after the completion
    EXPECT_EQ(seen, (std::vector<std::string>{"completion", push}));
  }

  struct Tap {
    const char* category;
    std::optional<bool> interceptor;  // what an installed interceptor returns
    const char* stored;               // latestNotificationResponseInfo afterwards
  };
  const Tap taps[] = {
      {"DiscountReminder", std::nullopt, "discount"},  {"TrialExpirationReminder", std::nullopt, "trialExpiration"},
      {"", std::nullopt, "default"},                   {"discountReminder", std::nullopt, "default"},
      {"trial_expiration_reminder", std::nullopt, "default"},
      {"DiscountReminder", true, "default"},  // consumed: the earlier value stays
      {"DiscountReminder", false, "discount"},
  };
  for (const Tap& tap : taps) {
    SCOPED_TRACE(tap.category);
    int intercepted = 0, completions = 0;
    manager->setUserNotificationCenterDidReceiveResponseHandler(
        tap.interceptor ? QzUserNotificationManager::ResponseHandler([&](auto&, const auto& response) {
          EXPECT_EQ(response.notification.request.content().categoryIdentifier(), tap.category);
          ++intercepted;
          return *tap.interceptor;
        })
                        : nullptr);
    env.userNotificationCenter().openNotification({notification(tap.category, nullptr)}, [&] { ++completions; });
    const bool consumed = tap.interceptor.value_or(false);
    EXPECT_EQ(intercepted, tap.interceptor ? 1 : 0);
    EXPECT_EQ(completions, consumed ? 1 : 0) << "a handled tap completes on the main queue";
    EXPECT_EQ(manager->latestNotificationResponseInfo(), (nlohmann::json{{"actionType", tap.stored}}));
    env.runUntilIdle();
    EXPECT_EQ(completions, 1);
    const std::vector<std::string> expected{
        std::string("QzUserNotificationManager.userNotificationOpensAppNotification {\"actionType\":\"") + tap.stored + "\"}"};
    EXPECT_EQ(env.broadcasts(), consumed ? std::vector<std::string>{} : expected);
  }
  manager->resetLatestNotificationResponseInfo();
  EXPECT_EQ(manager->latestNotificationResponseInfo(), std::nullopt);
}

}  // namespace
}  // namespace aurimo
