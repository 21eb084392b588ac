// Updates and taps started from several threads at once.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

#include "app_context/notifications/qz_local_user_notification_scheduler.h"
#include "notification_environment.h"

namespace aurimo {
namespace {

using test::NotificationEnvironment;

TEST(NotificationsConcurrency, OverlappingUpdatesNeverInterleaveAndEachCompletesOnce) {
  NotificationEnvironment env;
  env.setStatus(platform::UNAuthorizationStatus::authorized);
  auto scheduler = QzLocalUserNotificationScheduler::create(env.services());
  std::atomic<bool> open{false};
  std::atomic<int> calls{0}, inside{0}, overlaps{0};
  scheduler->setScheduleDiscount([&] {
    const int call = calls++;
    if (inside++ != 0) ++overlaps;
    if (call == 0) open.wait(false);  // holds the lock until every other update has been started
    env.add("discount-" + std::to_string(call), "DiscountReminder");
    --inside;
  });

  constexpr int kThreads = 3, kPerThread = 3, kForegrounds = 3;
  std::array<std::atomic<int>, kThreads * kPerThread> completions{};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) scheduler->updateSchedule([&, k = t * kPerThread + i] { ++completions[k]; });
    });
  }
  threads.emplace_back([&] {
    const auto foreground = platform::UIApplication::willEnterForegroundNotification();
    for (int i = 0; i < kForegrounds; ++i) env.notificationCenter().post(foreground);
  });
  for (std::thread& thread : threads) thread.join();
  open = true;
  open.notify_all();
  env.runUntilIdle();

  EXPECT_EQ(calls, kThreads * kPerThread + kForegrounds);
  EXPECT_EQ(overlaps, 0);
  for (const auto& count : completions) EXPECT_EQ(count, 1);
  // Each update removed its predecessor's reminder before filing its own.
  EXPECT_EQ(env.pendingIdentifiers(), std::vector<std::string>{"discount-" + std::to_string(calls - 1)});
}

TEST(NotificationsConcurrency, TapsFromManyThreadsCompleteOnceWhileTheInterceptorChanges) {
  NotificationEnvironment env;
  auto manager = QzUserNotificationManager::create(env.services());
  env.runUntilIdle();

  constexpr int kThreads = 4, kPerThread = 25;
  std::atomic<int> completions{0}, consumed{0};
  const QzUserNotificationManager::ResponseHandler consume = [&](auto&, const auto&) { return ++consumed > 0; };
  std::vector<std::thread> tappers;
  for (int t = 0; t < kThreads; ++t) {
    tappers.emplace_back([&] {
      for (int i = 0; i < kPerThread; ++i) {
        manager->setUserNotificationCenterDidReceiveResponseHandler(i % 2 ? consume : nullptr);
        env.userNotificationCenter().openNotification({env.notification("DiscountReminder")}, [&] { ++completions; });
        (void)manager->latestNotificationResponseInfo();  // read while other threads write it
      }
    });
  }
  for (std::thread& thread : tappers) thread.join();
  env.runUntilIdle();

  EXPECT_EQ(completions, kThreads * kPerThread);
  const std::string opened =
      env.sent(QzUserNotificationManager::userNotificationOpensAppNotification(), {{"actionType", "discount"}});
  EXPECT_EQ(env.broadcasts(), std::vector<std::string>(kThreads * kPerThread - consumed, opened));
}

}  // namespace
}  // namespace aurimo
