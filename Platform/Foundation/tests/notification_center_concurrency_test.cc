#include "platform/notification_center.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace aurimo {
namespace {

using platform::Notification;
using platform::NotificationCenter;
using platform::NotificationName;
using platform::ObserverToken;

const NotificationName kTick("Concurrency.tick");

TEST(NotificationCenterConcurrency, PostersAndChurningObserversDoNotLoseDeliveries) {
  NotificationCenter center;
  std::atomic<int> steady{0};
  ObserverToken steadyToken = center.addObserver(kTick, nullptr, [&](const Notification&) { ++steady; });

  constexpr int kPosters = 3, kPostsEach = 400;
  std::thread churn([&] {
    for (int round = 0; round < 500; ++round) {
      ObserverToken token = center.addObserver(kTick, nullptr, [](const Notification&) {});
      auto weak = std::make_shared<int>(0);
      center.addObserver(weak, kTick, nullptr, [](int& n, const Notification&) { ++n; });
    }  // the token and the weak observer die each round
  });
  std::vector<std::thread> posters;
  for (int i = 0; i < kPosters; ++i) {
    posters.emplace_back([&] {
      for (int n = 0; n < kPostsEach; ++n) center.post(kTick);
    });
  }
  for (auto& poster : posters) poster.join();
  churn.join();

  EXPECT_EQ(steady.load(), kPosters * kPostsEach);
  center.post(kTick);  // prunes the last dead weak observer
  EXPECT_EQ(center.observerCount(), 1u);
}

TEST(NotificationCenterConcurrency, RemoveWaitsForACallRunningOnAnotherThread) {
  NotificationCenter center;
  std::promise<void> entered, release;
  std::shared_future<void> released = release.get_future().share();
  std::atomic<bool> finished{false};
  ObserverToken token = center.addObserver(kTick, nullptr, [&](const Notification&) {
    entered.set_value();
    released.wait();
    finished = true;
  });

  std::thread poster([&] { center.post(kTick); });
  entered.get_future().wait();
  std::thread releaser([&] { release.set_value(); });
  token.remove();
  EXPECT_TRUE(finished.load());
  poster.join();
  releaser.join();
}

}  // namespace

}  // namespace aurimo
