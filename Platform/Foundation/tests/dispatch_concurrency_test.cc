#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"
#include "platform/run_loop.h"

namespace aurimo::platform {
namespace {

// Holds a queue busy until open() is called.
class Gate {
 public:
  void close(DispatchQueue& queue) {
    queue.async([future = opened_.get_future().share()] { future.wait(); });
  }
  void open() { opened_.set_value(); }

 private:
  std::promise<void> opened_;
};

TEST(DispatchConcurrencyTest, SerialQueueKeepsEachProducersOrderAndNeverOverlaps) {
  constexpr int kProducers = 8;
  constexpr int kPerProducer = 500;
  DispatchQueue queue("test.fifo");
  std::vector<std::vector<int>> seen(kProducers);  // touched only on the queue
  int running = 0;                                 // touched only on the queue
  bool overlapped = false;

  std::vector<std::thread> producers;
  for (int p = 0; p < kProducers; ++p) {
    producers.emplace_back([&, p] {
      for (int i = 0; i < kPerProducer; ++i) {
        auto append = [&, p, i] {
          overlapped |= ++running != 1;
          seen[p].push_back(i);
          --running;
        };
        // Mix both entry points: sync work must be serialised with queued async work.
        if (i % 50 == 0) queue.sync(append); else queue.async(append);
      }
    });
  }
  for (auto& producer : producers) producer.join();
  queue.sync([] {});

  EXPECT_FALSE(overlapped);
  for (int p = 0; p < kProducers; ++p) {
    ASSERT_EQ(seen[p].size(), static_cast<size_t>(kPerProducer)) << "producer " << p;
    for (int i = 0; i < kPerProducer; ++i) ASSERT_EQ(seen[p][i], i) << "producer " << p;
  }
}

TEST(DispatchConcurrencyTest, SyncOnBusyQueueRunsAfterQueuedWorkOnTheCallingThread) {
  DispatchQueue queue("test.busy");
  Gate gate;
  std::vector<int> log;
  gate.close(queue);
  queue.async([&] { log.push_back(1); });

  auto value = std::async(std::launch::async, [&] {
    return queue.sync([&] { return std::pair{log.size(), std::this_thread::get_id()}; });
  });
  auto thrown = std::async(std::launch::async, [&] {
    queue.sync([]() -> int { throw std::logic_error("late"); });
  });
  queue.async([&] { log.push_back(2); });
  gate.open();

  auto [sizeSeen, thread] = value.get();
  EXPECT_GE(sizeSeen, 1u);
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_THROW(thrown.get(), std::logic_error);
  EXPECT_EQ(queue.sync([&] { return log; }), (std::vector{1, 2}));
}

TEST(DispatchConcurrencyTest, MainQueueSyncFromAWorkerRunsOnTheMainThread) {
  std::atomic<bool> ranOnMain{false};
  std::atomic<bool> rethrown{false};
  DispatchQueue::global().async([&] {
    ranOnMain = DispatchQueue::main().sync([] { return DispatchQueue::isMainThread(); });
    try {
      DispatchQueue::main().sync([] { throw std::runtime_error("main"); });
    } catch (const std::runtime_error&) {
      rethrown = true;
    }
    RunLoop::main().stop();
  });
  RunLoop::main().run();
  EXPECT_TRUE(ranOnMain);
  EXPECT_TRUE(rethrown);
}

TEST(DispatchConcurrencyTest, GroupWaitsForWorkOnManyQueuesAndThenNotifies) {
  DispatchGroup group;
  std::atomic<int> done{0};
  std::vector<std::unique_ptr<DispatchQueue>> queues;
  for (int i = 0; i < 2000; ++i) {
    queues.push_back(std::make_unique<DispatchQueue>("test.many"));
    queues.back()->async(group, [&] { ++done; });
    DispatchQueue::global(static_cast<QualityOfService>(i % 5)).async(group, [&] { ++done; });
  }
  std::promise<int> notified;
  DispatchQueue serial("test.notify");
  group.notify(serial, [&] { notified.set_value(done.load()); });
  group.wait();
  EXPECT_EQ(done.load(), 4000);
  EXPECT_EQ(notified.get_future().get(), 4000);
}

TEST(DispatchConcurrencyTest, GlobalBlocksWaitingOnOtherGlobalBlocksMakeProgress) {
  DispatchGroup all;
  // Blocks waiting on something the pool cannot see (a latch) still get extra workers.
  const int foreign = static_cast<int>(std::max(2u, std::thread::hardware_concurrency())) + 2;
  std::latch everyoneArrived(foreign);
  for (int i = 0; i < foreign; ++i) {
    DispatchQueue::global(QualityOfService::utility).async(all, [&] { everyoneArrived.arrive_and_wait(); });
  }
  all.wait();

  // Each block waits, as the notification scheduler does, for an answer delivered by
  // another global block; far more of them than cores must not starve the pool.
  const int blocks = 8 * static_cast<int>(std::max(2u, std::thread::hardware_concurrency()));
  std::atomic<int> answered{0};
  for (int i = 0; i < blocks; ++i) {
    DispatchQueue::global().async(all, [&answered] {
      DispatchGroup answer;
      answer.enter();
      DispatchQueue::global().async([&] { answer.leave(); });
      answer.wait();
      ++answered;
    });
  }
  EXPECT_TRUE(all.wait(60)) << "the pool starved: " << answered << " of " << blocks << " answered";
  EXPECT_EQ(answered, blocks);
  all.wait();
}

TEST(DispatchConcurrencyTest, SerialQueuesSyncOnEachOtherWhileBusy) {
  DispatchQueue a("test.a");
  DispatchQueue b("test.b");
  DispatchGroup group;
  std::atomic<int> total{0};
  for (int i = 0; i < 200; ++i) {
    a.async(group, [&] { total += b.sync([] { return 1; }); });
    b.async(group, [&] { ++total; });
  }
  group.wait();
  EXPECT_EQ(total.load(), 400);
}

TEST(DispatchConcurrencyTest, DestroyedQueueStillRunsItsPendingBlocksInOrder) {
  auto queue = std::make_unique<DispatchQueue>("test.doomed");
  Gate gate;
  DispatchGroup group;
  std::vector<int> order;
  gate.close(*queue);
  for (int i = 0; i < 100; ++i) queue->async(group, [&order, i] { order.push_back(i); });
  group.enter();
  queue->asyncAfter(0, [&group] { group.leave(); });
  queue.reset();
  gate.open();
  group.wait();
  ASSERT_EQ(order.size(), 100u);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(order[i], i);
}

}  // namespace
}  // namespace aurimo::platform
