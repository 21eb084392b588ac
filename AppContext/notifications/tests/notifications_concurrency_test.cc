// Updates, taps and refreshes started from several threads at once.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "app_context/notifications/qz_local_user_notification_scheduler.h"
#include "app_context/notifications/qz_user_notification_manager.h"
#include "notification_environment.h"
#include "platform/application.h"

namespace aurimo {
namespace {

using platform::UNAuthorizationStatus;
using test::NotificationEnvironment;

platform::UNNotificationRequest discountReminder(const std::string& identifier) {
  platform::UNMutableNotificationContent content;
  content.categoryIdentifier = "DiscountReminder";
  return {identifier, content,
          std::make_shared<platform::UNCalendarNotificationTrigger>(platform::DateComponents{.hour = 19}, true)};
}

TEST(NotificationsConcurrency, OverlappingUpdatesNeverInterleaveAndEachCompletesOnce) {
  NotificationEnvironment env;
  env.setStatus(UNAuthorizationStatus::authorized);
  auto scheduler = QzLocalUserNotificationScheduler::create();

  std::mutex mutex;
  std::condition_variable released;
  bool open = false;                // guarded by mutex
  std::vector<std::string> trace;   // guarded by mutex
  std::atomic<int> inside{0};
  std::atomic<int> calls{0};
  scheduler->setScheduleDiscount([&] {
    const int call = calls++;
    EXPECT_EQ(inside++, 0) << "two updates overlap";
    {
      std::unique_lock lock(mutex);
      trace.push_back("enter");
      // The first update holds the lock until every other one has been started.
      released.wait(lock, [&] { return call > 0 || open; });
    }
    env.userNotificationCenter().add(discountReminder("discount-" + std::to_string(call)), nullptr);
    {
      std::lock_guard lock(mutex);
      trace.push_back("exit");
    }
    --inside;
  });

  constexpr int kThreads = 4, kPerThread = 4, kForegrounds = 4;
  std::array<std::atomic<int>, kThreads * kPerThread> completions{};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) scheduler->updateSchedule([&completions, k = t * kPerThread + i] { ++completions[k]; });
    });
  }
  threads.emplace_back([] {
    for (int i = 0; i < kForegrounds; ++i) {
      platform::NotificationCenter::defaultCenter().post(platform::UIApplication::willEnterForegroundNotification());
    }
  });
  for (std::thread& thread : threads) thread.join();
  {
    std::lock_guard lock(mutex);
    open = true;
  }
  released.notify_all();
  env.runUntilIdle();

  EXPECT_EQ(calls, kThreads * kPerThread + kForegrounds);
  for (const auto& count : completions) EXPECT_EQ(count, 1);
  std::vector<std::string> alternating;
  for (int i = 0; i < calls; ++i) alternating.insert(alternating.end(), {"enter", "exit"});
  EXPECT_EQ(trace, alternating);
  // Each update removed its predecessor's reminder before filing its own.
  EXPECT_EQ(env.pendingIdentifiers(), std::vector<std::string>{"discount-" + std::to_string(calls - 1)});
}

TEST(NotificationsConcurrency, TapsFromManyThreadsCompleteOnceWhileTheInterceptorChanges) {
  NotificationEnvironment env;
  auto manager = QzUserNotificationManager::create();
  env.runUntilIdle();

  constexpr int kThreads = 4, kPerThread = 25;
  std::atomic<int> completions{0};
  std::atomic<int> consumed{0};
  std::atomic<bool> done{false};
  std::thread swapper([&] {
    for (bool consume = false; !done; consume = !consume) {
      manager->setUserNotificationCenterDidReceiveResponseHandler(
          consume ? QzUserNotificationManager::ResponseHandler([&](auto&, const auto&) {
            ++consumed;
            return true;
          })
                  : nullptr);
    }
  });
  std::vector<std::thread> tappers;
  for (int t = 0; t < kThreads; ++t) {
    tappers.emplace_back([&] {
      platform::UNMutableNotificationContent content;
      content.categoryIdentifier = "DiscountReminder";
      for (int i = 0; i < kPerThread; ++i) {
        env.userNotificationCenter().openNotification(
            {platform::UNNotification{platform::Clock::current().now(), platform::UNNotificationRequest("tap", content, nullptr)}},
            [&] { ++completions; });
        (void)manager->latestNotificationResponseInfo();
      }
    });
  }
  for (std::thread& thread : tappers) thread.join();
  done = true;
  swapper.join();
  env.runUntilIdle();

  EXPECT_EQ(completions, kThreads * kPerThread);
  EXPECT_EQ(env.broadcasts().size(), std::size_t(kThreads * kPerThread - consumed));
}

}  // namespace
}  // namespace aurimo
