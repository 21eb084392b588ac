#include "app_context/notifications/qz_user_notification_manager.h"

#include <gtest/gtest.h>

#include <fstream>

#include "notification_environment.h"

namespace aurimo {
namespace {

using M = QzUserNotificationManager;
using Status = platform::UNAuthorizationStatus;
using Strings = std::vector<std::string>;
using test::NotificationEnvironment;

constexpr auto sent = &NotificationEnvironment::sent;
std::string changed(bool to) {
  return sent(M::systemAllowsToUseNotificationsValueDidChangeNotification(), {{"new", to}});
}
std::string setup(bool to) { return sent(M::didInitialSetupNotificationsPermissonsOrChanged(), {{"authStatus", to}}); }

// A centre whose state folder cannot be written.
void breakTheStore(NotificationEnvironment& env) {
  std::ofstream(env.root() / "file") << "not a folder";
  env.restartUserNotificationCenter(env.root() / "file");
}

TEST(QzUserNotificationManager, RefreshStoresTheStatusAndBroadcastsOnlyAChangeOfAuthorized) {
  for (std::optional<bool> stored : {std::optional<bool>(), std::optional<bool>(true)}) {  // nullopt: first launch
    for (Status status : {Status::notDetermined, Status::denied, Status::authorized, Status::provisional,
                          Status::ephemeral}) {
      SCOPED_TRACE(testing::Message() << stored.has_value() << int(status));
      NotificationEnvironment env;
      if (stored) env.userDefaults().set(*stored, M::systemAllowsToUseNotificationsKey);
      env.setStatus(status);
      auto manager = M::create(env.services());
      env.runUntilIdle();
      const bool allowed = status == Status::authorized;
      EXPECT_EQ(env.userDefaults().integerForKey(M::cachedSystemAuthorizationStatusKey), int(status));
      EXPECT_EQ(env.userDefaults().boolForKey(M::systemAllowsToUseNotificationsKey), allowed);
      const Strings change{changed(allowed), setup(allowed)};
      EXPECT_EQ(env.broadcasts(), stored.value_or(false) == allowed ? Strings{} : change);
      env.foreground();  // nothing changed since
      EXPECT_TRUE(env.broadcasts().empty());
      env.setStatus(allowed ? Status::denied : Status::authorized);
      env.foreground();
      EXPECT_EQ(env.broadcasts(), (Strings{changed(!allowed), setup(!allowed)}));
    }
  }
}

TEST(QzUserNotificationManager, RequestStoresTheAnswerAndBroadcastsAfterTheCompletion) {
  const struct {
    Status before;
    const char* answer;  // the choice taken; nullptr: the user is not asked
    bool stored, granted;
    Status after;
    bool brokenStore = false;  // the request fails: nothing is stored or broadcast
  } cases[] = {
      {Status::notDetermined, "Allow", false, true, Status::authorized},
      {Status::notDetermined, "Don't Allow", false, false, Status::denied},
      {Status::notDetermined, "Don't Allow", true, false, Status::denied},
      {Status::denied, nullptr, true, false, Status::denied},
      {Status::authorized, nullptr, true, true, Status::authorized},
      {Status::provisional, "Allow", false, true, Status::authorized},
      {Status::ephemeral, nullptr, false, true, Status::ephemeral},  // the platform grants ephemeral
      {Status::notDetermined, "Allow", false, false, Status::notDetermined, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(int(c.before));
    NotificationEnvironment env;
    if (c.brokenStore) breakTheStore(env);
    env.setStatus(c.before);
    auto manager = M::create(env.services());
    env.runUntilIdle();
    env.userDefaults().set(c.stored, M::systemAllowsToUseNotificationsKey);
    env.broadcasts();
    if (c.answer) env.person->push(c.answer);

    int completions = 0;
    manager->requestAuthorization([&](bool granted, std::optional<platform::UNError> error) {
      EXPECT_TRUE(platform::DispatchQueue::isMainThread());
      EXPECT_EQ(granted, c.granted);
      EXPECT_EQ(error.has_value(), c.brokenStore);
      EXPECT_TRUE(!error || error->code == platform::UNError::Code::storageFailed);
      EXPECT_TRUE(env.broadcasts().empty()) << "broadcasts come after the caller's answer";
      ++completions;
    });
    env.runUntilIdle();
    EXPECT_EQ(completions, 1);
    const auto asked = env.person->presentations();
    ASSERT_EQ(asked.size(), c.answer ? 1u : 0u);
    // The question names alerts, sounds and badges only when all three are asked for.
    EXPECT_TRUE(asked.empty() || !asked[0].presentation.message.empty());
    EXPECT_EQ(manager->cachedSystemAuthorizationStatus(), c.after);
    EXPECT_EQ(manager->systemAllowsToUseNotifications(), c.granted);
    Strings expected{sent(M::didRequestAuthorizationNotification(), {{"authStatus", c.granted}}), setup(c.granted)};
    if (c.granted != c.stored) expected.insert(expected.begin(), changed(c.granted));
    EXPECT_EQ(env.broadcasts(), c.brokenStore ? Strings{} : expected);
  }
}

TEST(QzUserNotificationManager, RequestIfPossibleAsksOnlyAnUndecidedUserAndSwallowsErrors) {
  const struct { Status status; bool brokenStore, possible; } cases[] = {
      {Status::authorized, false, true},   {Status::notDetermined, false, true}, {Status::denied, false, false},
      {Status::provisional, false, false}, {Status::ephemeral, false, false},    {Status::notDetermined, true, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << int(c.status) << (c.brokenStore ? " broken store" : ""));
    NotificationEnvironment env;
    if (c.brokenStore) breakTheStore(env);
    env.setStatus(c.status);
    env.person->push("Don't Allow");  // even a refusal counts as possible
    std::vector<bool> results;
    M::create(env.services())->requestAuthorizationIfPossible([&](bool answer) { results.push_back(answer); });
    env.runUntilIdle();
    EXPECT_EQ(results, std::vector<bool>{c.possible});
    EXPECT_EQ(env.person->presentations().size(), c.status == Status::notDetermined ? 1u : 0u);
  }
}

TEST(QzUserNotificationManager, ForegroundPresentationAndTaps) {
  NotificationEnvironment env;
  auto manager = M::create(env.services());
  env.runUntilIdle();
  const std::pair<std::shared_ptr<const platform::UNNotificationTrigger>, std::uint32_t> presentations[] = {
      {std::make_shared<platform::UNPushNotificationTrigger>(), 18},  // banner and sound
      {std::make_shared<platform::UNCalendarNotificationTrigger>(platform::DateComponents{.hour = 9}, false), 16},
      {nullptr, 16}};
  for (const auto& [trigger, options] : presentations) {
    int completions = 0;
    env.userNotificationCenter().presentNotification(env.notification("", trigger), [&](auto shown) {
      EXPECT_EQ(shown.rawValue, options);
      EXPECT_TRUE(env.broadcasts().empty()) << "posted after the completion";
      ++completions;
    });
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(env.broadcasts(), Strings{sent(M::userGetPushNotification(), nullptr)});
  }

  const struct {
    const char* category;
    std::optional<bool> interceptor;  // what an installed interceptor returns
    const char* stored;               // latestNotificationResponseInfo afterwards
  } taps[] = {
      {"DiscountReminder", std::nullopt, "discount"},  {"TrialExpirationReminder", std::nullopt, "trialExpiration"},
      {"", std::nullopt, "default"},                   {"discountReminder", std::nullopt, "default"},
      {"trial_expiration_reminder", std::nullopt, "default"},
      {"DiscountReminder", true, "default"},  // consumed: the earlier value stays
      {"DiscountReminder", false, "discount"},
  };
  for (const auto& tap : taps) {
    SCOPED_TRACE(tap.category);
    Strings intercepted;
    int completions = 0;
    manager->setUserNotificationCenterDidReceiveResponseHandler(
        tap.interceptor ? M::ResponseHandler([&](auto&, const auto& response) {
          intercepted.push_back(response.notification.request.content().categoryIdentifier());
          return *tap.interceptor;
        })
                        : nullptr);
    env.userNotificationCenter().openNotification({env.notification(tap.category)}, [&] { ++completions; });
    const bool consumed = tap.interceptor.value_or(false);
    EXPECT_EQ(intercepted, tap.interceptor ? Strings{tap.category} : Strings{});
    EXPECT_EQ(completions, consumed ? 1 : 0) << "an unconsumed tap completes on the main queue";
    const nlohmann::json info{{"actionType", tap.stored}};
    EXPECT_EQ(manager->latestNotificationResponseInfo(), info);
    env.runUntilIdle();
    EXPECT_EQ(completions, 1);
    const std::string opened = sent(M::userNotificationOpensAppNotification(), info);
    EXPECT_EQ(env.broadcasts(), consumed ? Strings{} : Strings{opened});
  }
  manager->resetLatestNotificationResponseInfo();
  EXPECT_EQ(manager->latestNotificationResponseInfo(), std::nullopt);
}

}  // namespace
}  // namespace aurimo
