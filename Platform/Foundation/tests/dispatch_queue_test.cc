#include "platform/dispatch_queue.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/dispatch_group.h"
#include "platform/run_loop.h"
#include "testing/fake_clock.h"

namespace aurimo::platform {
namespace {

using Log = std::vector<std::string>;

TEST(MainRunLoopTest, RunUntilIdleRunsNestedPostsAfterEarlierOnes) {
  Log log;
  DispatchQueue::main().async([&] {
    log.push_back("a");
    DispatchQueue::main().async([&] {
      log.push_back("c");
      DispatchQueue::main().async([&] { log.push_back("d"); });
    });
  });
  DispatchQueue::main().async([&] { log.push_back("b"); });
  RunLoop::main().runUntilIdle();
  EXPECT_EQ(log, (Log{"a", "b", "c", "d"}));
}

TEST(MainRunLoopTest, DelayedBlocksOfEveryQueueRunWhenTheFakeClockPassesTheirDeadline) {
  auto clock = std::make_shared<test::FakeClock>();
  ScopedReplacement<Clock> pin(Clock::slot(), clock);
  DispatchQueue serial("test.delayed");
  for (DispatchQueue* queue : {&DispatchQueue::main(), &serial}) {
    SCOPED_TRACE(queue->label());
    Log log;
    for (auto [delay, name] : {std::pair{5.0, "5"}, {1.0, "1"}, {3.0, "3a"}, {3.0, "3b"}, {-2.0, "now"}}) {
      queue->asyncAfter(delay, [&log, name = std::string(name)] { log.push_back(name); });
    }
    queue->asyncAfter(1, [&] { queue->asyncAfter(0, [&] { log.push_back("chained"); }); });

    struct Step {
      double advance;
      Log expected;
    };
    for (const Step& step : {Step{0, {"now"}}, Step{0.999, {"now"}}, Step{0.001, {"now", "1", "chained"}},
                             Step{2, {"now", "1", "chained", "3a", "3b"}},
                             Step{2, {"now", "1", "chained", "3a", "3b", "5"}}}) {
      clock->advance(step.advance);
      RunLoop::main().runUntilAllQueuesIdle();
      EXPECT_EQ(log, step.expected) << "after advancing " << step.advance;
    }
  }
}

TEST(MainRunLoopTest, RunUntilAllQueuesIdleFollowsWorkAcrossQueuesAndThreads) {
  DispatchQueue serial("test.chain");
  Log log;  // each step is queued by the one before, so no two touch it at once
  DispatchQueue::global().async([&] {
    log.push_back("global");
    serial.async([&] {
      log.push_back("serial");
      DispatchQueue::main().async([&] {
        log.push_back("main");
        DispatchQueue::global(QualityOfService::background).async([&] {
          log.push_back("background waits for main");
          DispatchQueue::main().sync([&] { log.push_back("main again"); });
          serial.async([&] { log.push_back("serial again"); });
        });
      });
    });
  });
  RunLoop::main().runUntilAllQueuesIdle();
  EXPECT_EQ(log, (Log{"global", "serial", "main", "background waits for main", "main again", "serial again"}));
}

TEST(MainRunLoopTest, RunReturnsAfterStop) {
  Log log;
  DispatchQueue::main().async([&] {
    log.push_back("first");
    RunLoop::main().stop();
  });
  DispatchQueue::main().async([&] { log.push_back("second"); });
  RunLoop::main().run();
  EXPECT_EQ(log, Log{"first"});

  // A stop that arrives while nothing runs ends the next run before any block.
  RunLoop::main().stop();
  RunLoop::main().run();
  EXPECT_EQ(log, Log{"first"});
  RunLoop::main().runUntilIdle();
  EXPECT_EQ(log, (Log{"first", "second"}));
}

TEST(DispatchQueueTest, SyncRunsOnTheCallingThreadReturnsOrRethrowsAndIsCurrentAlongTheChain) {
  DispatchQueue outer("test.outer");
  DispatchQueue inner("test.inner");
  DispatchQueue& global = DispatchQueue::global(QualityOfService::utility);
  EXPECT_EQ(outer.label(), "test.outer");
  EXPECT_FALSE(outer.isCurrent());
  auto [thread, seen] = outer.sync([&] {
    return inner.sync([&] {
      return global.sync([&] {
        return std::pair{std::this_thread::get_id(), std::vector{outer.isCurrent(), inner.isCurrent(), global.isCurrent()}};
      });
    });
  });
  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(seen, (std::vector{true, true, true}));
  EXPECT_FALSE(global.isCurrent());
  EXPECT_TRUE(DispatchQueue::main().isCurrent());

  int value = 1;
  EXPECT_EQ(&outer.sync([&]() -> int& { return value; }), &value);
  EXPECT_EQ(*outer.sync([] { return std::make_unique<int>(7); }), 7);
  EXPECT_THROW(outer.sync([]() -> int { throw std::runtime_error("boom"); }), std::runtime_error);
  EXPECT_FALSE(outer.isCurrent());
  EXPECT_EQ(outer.sync([] { return 3; }), 3);  // would hang if ownership leaked
}

TEST(DispatchGroupTest, NotifyWaitsForEveryLeave) {
  DispatchGroup group;
  EXPECT_TRUE(group.wait(0));
  group.enter();
  group.enter();
  bool notified = false;
  group.notify(DispatchQueue::main(), [&] { notified = true; });
  EXPECT_FALSE(group.wait(0));
  group.leave();
  RunLoop::main().runUntilIdle();
  EXPECT_FALSE(notified);
  group.leave();
  EXPECT_TRUE(group.wait(0));
  RunLoop::main().runUntilIdle();
  EXPECT_TRUE(notified);

  // An empty group notifies at once.
  notified = false;
  group.notify(DispatchQueue::main(), [&] { notified = true; });
  RunLoop::main().runUntilIdle();
  EXPECT_TRUE(notified);
}

using DispatchDeathTest = ::testing::Test;

TEST(DispatchDeathTest, ProgrammingErrorsAbortWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  DispatchQueue queue("test.self");
  EXPECT_DEATH(queue.sync([&] { queue.sync([] {}); }), "sync on queue test.self .* would deadlock");
  EXPECT_DEATH(DispatchQueue::main().sync([] {}), "from the main thread would deadlock");
  EXPECT_DEATH(DispatchGroup().leave(), "without a matching enter");
#if AURIMO_DCHECK_IS_ON
  EXPECT_DEATH(std::thread([] { dispatchPreconditionOnMain(); }).join(), "must run on the main thread");
  EXPECT_DEATH(dispatchPreconditionOn(queue), "must run on queue test.self");
#else
  std::thread([] { dispatchPreconditionOnMain(); }).join();  // compiled away
#endif
}

}  // namespace
}  // namespace aurimo::platform
