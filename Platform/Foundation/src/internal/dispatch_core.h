#pragma once
// Private machinery behind DispatchQueue, DispatchGroup and RunLoop: the
// queue state shared with queued work, the worker pool, the delayed-block
// timer and the main loop.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/dispatch_queue.h"

namespace aurimo::platform::internal {

[[noreturn]] void fail(const char* format, const std::string& detail);

// The queues the calling thread is running blocks of: a stack, because sync()
// runs the target queue's block on the caller's thread.
struct QueueFrame {
  const QueueCore* queue;
  QueueFrame* previous;
};
inline thread_local QueueFrame* currentFrame = nullptr;

class ScopedQueueFrame {
 public:
  explicit ScopedQueueFrame(const QueueCore* queue) : frame_{queue, currentFrame} { currentFrame = &frame_; }
  ~ScopedQueueFrame() { currentFrame = frame_.previous; }
  ScopedQueueFrame(const ScopedQueueFrame&) = delete;
  ScopedQueueFrame& operator=(const ScopedQueueFrame&) = delete;

 private:
  QueueFrame frame_;
};

enum class QueueKind { serial, concurrent, main };

// The part of a queue that queued work keeps alive.
class QueueCore : public std::enable_shared_from_this<QueueCore> {
 public:
  QueueCore(QueueKind kind, std::string label, QualityOfService qos)
      : kind_(kind), label_(std::move(label)), qos_(qos) {}

  const std::string& label() const { return label_; }
  QualityOfService qos() const { return qos_; }
  QueueKind kind() const { return kind_; }

  void async(std::function<void()> block);
  void asyncAfter(TimeInterval delay, std::function<void()> block);
  void syncInvoke(BlockRef block);
  bool isCurrent() const;

  // Runs a block on this queue's behalf, turning an escaping exception into an abort.
  void runBlock(std::function<void()>& block) const;
  // Serial queues: runs queued blocks; the caller owns the queue.
  void drain();

 private:
  // Hands queue ownership to a thread waiting in sync().
  struct SyncWaiter {
    std::mutex mutex;
    std::condition_variable turn;
    bool ready = false;  // guarded by mutex
    void handOff();
    void wait();
  };
  struct Item {
    std::function<void()> block;
    SyncWaiter* waiter = nullptr;
  };

  void syncSerial(BlockRef block);
  void syncMain(BlockRef block);
  // Waits until the calling thread owns the serial queue.
  void waitForTurn();
  void releaseOwnership();

  static constexpr std::uint64_t kOwned = 1;
  static constexpr std::uint64_t kOneItem = 2;

  const QueueKind kind_;
  const std::string label_;
  const QualityOfService qos_;
  // Serial queues: bit 0 is set while a drainer or a sync() caller owns the queue, the
  // rest counts queued items. The count only changes under mutex_; ownership is taken
  // and dropped without it, which is only allowed while the count is zero.
  std::atomic<std::uint64_t> state_{0};
  std::mutex mutex_;
  std::deque<Item> items_;  // guarded by mutex_
};

// Threads that run global-queue blocks and drain serial queues.
class WorkerPool {
 public:
  static WorkerPool& shared();

  // An empty block means: drain `queue`.
  void submit(QualityOfService qos, std::shared_ptr<QueueCore> queue, std::function<void()> block);
  // True when submitted work waits for a worker: a busy serial queue then hands its worker over.
  bool hasWaitingJobs();
  // Brackets a wait that may stall a worker until other pool work runs.
  void willBlock();
  void didUnblock();

  static bool onWorkerThread();

 private:
  WorkerPool();
  struct Job {
    std::shared_ptr<QueueCore> queue;
    std::function<void()> block;
  };
  void workerMain();
  void monitorMain();
  void growIfStarvedLocked();
  void spawnLocked();

  const std::size_t maxActive_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable monitorWake_;
  bool monitorWatching_ = false;  // guarded by mutex_: the monitor is in a stall check
  std::deque<Job> jobs_[5];     // guarded by mutex_; index = QualityOfService, most urgent first
  std::size_t pending_ = 0;     // guarded by mutex_
  std::size_t threads_ = 0;     // guarded by mutex_
  std::size_t idle_ = 0;        // guarded by mutex_
  std::size_t blocked_ = 0;     // guarded by mutex_
  std::uint64_t taken_ = 0;     // guarded by mutex_; jobs started, to tell a stalled pool
};

// Marks the calling worker as blocked for the pool while it waits.
class ScopedBlockingWait {
 public:
  ScopedBlockingWait() : worker_(WorkerPool::onWorkerThread()) {
    if (worker_) WorkerPool::shared().willBlock();
  }
  ~ScopedBlockingWait() {
    if (worker_) WorkerPool::shared().didUnblock();
  }
  ScopedBlockingWait(const ScopedBlockingWait&) = delete;
  ScopedBlockingWait& operator=(const ScopedBlockingWait&) = delete;

 private:
  bool worker_;
};

// Delayed blocks of queues other than the main queue, timed on Clock::current()
// like the main queue's, so one fake clock drives every delayed block.
class DelayedBlocks {
 public:
  static DelayedBlocks& shared();
  void schedule(Date deadline, std::shared_ptr<QueueCore> queue, std::function<void()> block);
  // Hands every block whose deadline has passed to its queue, in deadline order.
  void fireDue();
  bool hasDue();
  // The clock jumped: look at it again.
  void wake();

 private:
  DelayedBlocks() = default;
  void timerMain();
  void fireDueLocked(Date now);

  struct Entry {
    std::shared_ptr<QueueCore> queue;
    std::function<void()> block;
  };
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::pair<Date, std::uint64_t>, Entry> entries_;  // guarded by mutex_
  std::uint64_t sequence_ = 0;  // guarded by mutex_
  bool started_ = false;        // guarded by mutex_
};

// Counts the blocks queued or running on queues other than the main queue, so
// the main thread can wait until the whole process is idle.
class Activity {
 public:
  static Activity& shared();

  void blockQueued() { outstanding_.fetch_add(1); }
  void blockFinished() {
    if (outstanding_.fetch_sub(1) == 1) wake();
  }
  // Something a waiter looks at changed (a main-queue block, a due delayed block).
  void wake();
  // Waits until the main queue has runnable work (true) or nothing else is
  // queued, running or due (false).
  bool waitForOtherQueues();

 private:
  Activity() = default;

  // Sequentially consistent with waiters_, so a finishing block either sees the
  // waiter or the waiter sees the count drop.
  std::atomic<long> outstanding_{0};
  std::atomic<int> waiters_{0};
  std::mutex mutex_;
  std::condition_variable changed_;
};

// The main run loop's queue and timers.
class MainLoop {
 public:
  static MainLoop& shared();

  void post(std::function<void()> block);
  void postAfter(TimeInterval delay, std::function<void()> block);
  void run();
  void runUntilIdle();
  void stop();

  void setQueue(const QueueCore* queue) { queue_ = queue; }
  // True when a block is queued or a timer is due.
  bool hasRunnable();
  // The clock jumped: look at the timers again.
  void wake();

 private:
  MainLoop() = default;
  class Runner;
  // Moves due timers to the queue and takes the first block, if any.
  bool takeLocked(std::function<void()>& block);
  void runTaken(std::function<void()>& block);

  const QueueCore* queue_ = nullptr;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> blocks_;                                  // guarded by mutex_
  std::map<std::pair<Date, std::uint64_t>, std::function<void()>> timers_;   // guarded by mutex_
  std::uint64_t sequence_ = 0;                                                // guarded by mutex_
  bool stopRequested_ = false;                                                // guarded by mutex_
  std::thread::id runner_;                                                    // guarded by mutex_
  int depth_ = 0;                                                             // guarded by mutex_
};

void setMainThread(std::thread::id id);

class GroupState {
 public:
  void enter();
  void leave();
  // Waits until empty or until `deadline`; true when empty.
  bool waitUntil(const std::chrono::steady_clock::time_point* deadline);
  void notify(std::shared_ptr<QueueCore> queue, std::function<void()> block);

 private:
  std::mutex mutex_;
  std::condition_variable empty_;
  long count_ = 0;                                                                   // guarded by mutex_
  std::vector<std::pair<std::shared_ptr<QueueCore>, std::function<void()>>> waiting_;  // guarded by mutex_
};

}  // namespace aurimo::platform::internal
