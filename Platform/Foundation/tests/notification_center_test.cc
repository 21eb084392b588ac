#include "platform/notification_center.h"

#include <gtest/gtest.h>

namespace aurimo {
namespace {

using platform::Notification;
using platform::NotificationCenter;
using platform::NotificationName;
using platform::ObserverToken;

const NotificationName kPing("Test.ping");
const NotificationName kPong("Test.pong");

TEST(NotificationCenter, DeliversByNameInRegistrationOrderFilteredBySender) {
  NotificationCenter center;
  int first = 0, second = 0;
  std::string log;
  auto observe = [&](char tag, const void* sender) {
    return center.addObserver(kPing, sender, [&log, tag](const Notification&) { log += tag; });
  };
  ObserverToken a = observe('a', nullptr), b = observe('b', &first), c = observe('c', &second),
                d = observe('d', nullptr);
  ObserverToken other = center.addObserver(kPong, nullptr, [&](const Notification& n) {
    log += n.userInfo.value("tag", "?");
  });
  const NotificationName ping(std::string("Test.ping"));  // names are equal by their text
  for (const auto& [sender, expected] :
       {std::pair<const void*, std::string>{&first, "abd"}, {&second, "acd"}, {nullptr, "ad"}}) {
    log.clear();
    center.post(ping, sender);
    EXPECT_EQ(log, expected);
  }
  log.clear();
  center.post(kPong, nullptr, {{"tag", "x"}});
  EXPECT_EQ(log, "x");
}

TEST(NotificationCenter, TokenRemovesOnceAndSurvivesMovesAndTheCentre) {
  int calls = 0;
  auto count = [&](const Notification&) { ++calls; };
  auto center = std::make_unique<NotificationCenter>();
  ObserverToken token = center->addObserver(kPing, nullptr, count);
  ObserverToken moved = std::move(token);
  center->post(kPing);
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(token.isActive());
  moved.remove();
  moved.remove();
  center->post(kPing);
  EXPECT_EQ(calls, 1);

  { ObserverToken scoped = center->addObserver(kPing, nullptr, count); }
  ObserverToken reassigned = center->addObserver(kPing, nullptr, count);
  reassigned = center->addObserver(kPing, nullptr, count);  // drops the first registration
  EXPECT_EQ(center->observerCount(), 1u);
  center.reset();
  EXPECT_FALSE(reassigned.isActive());
  reassigned.remove();  // harmless once the centre is gone
}

TEST(NotificationCenter, ToleratesRegistrationChangesDuringDelivery) {
  NotificationCenter center;
  std::string log;
  ObserverToken victim, self, late;
  ObserverToken remover = center.addObserver(kPing, nullptr, [&](const Notification&) {
    log += 'r';
    victim.remove();
    if (!late.isActive()) late = center.addObserver(kPing, nullptr, [&](const Notification&) { log += 'l'; });
  });
  self = center.addObserver(kPing, nullptr, [&](const Notification&) {
    log += 's';
    self.remove();
  });
  victim = center.addObserver(kPing, nullptr, [&](const Notification&) { log += 'v'; });

  center.post(kPing);
  EXPECT_EQ(log, "rs");  // the victim is skipped, the newcomer waits for the next post
  log.clear();
  center.post(kPing);
  EXPECT_EQ(log, "rl");
}

TEST(NotificationCenter, WeakObserverIsSkippedAndPrunedOnceDead) {
  struct Screen { int updates = 0; };
  NotificationCenter center;
  auto screen = std::make_shared<Screen>();
  auto kept = std::make_shared<Screen>();
  center.addObserver(screen, kPing, nullptr, [](Screen& s, const Notification&) { ++s.updates; });
  center.addObserver(kept, kPing, nullptr, [](Screen& s, const Notification&) { ++s.updates; });
  center.post(kPing);
  EXPECT_EQ(screen->updates, 1);

  std::weak_ptr<Screen> watch = screen;
  screen.reset();
  EXPECT_TRUE(watch.expired());  // the centre holds it weakly
  center.post(kPing);
  EXPECT_EQ(center.observerCount(), 1u);
  EXPECT_EQ(kept->updates, 2);

  center.removeObserver(kept.get());
  center.post(kPing);
  EXPECT_EQ(kept->updates, 2);
  EXPECT_EQ(center.observerCount(), 0u);
}

}  // namespace

}  // namespace aurimo
