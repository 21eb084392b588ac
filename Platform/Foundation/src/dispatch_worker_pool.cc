// The worker pool behind the global queues and serial queues, and the timer
// thread of delayed blocks.
//
// The pool keeps about one running worker per core. A worker that waits in
// sync() or DispatchGroup::wait() stops counting, so the pool may start
// another one; a monitor adds a worker when queued work makes no progress at
// all, which covers blocks that wait on something the pool cannot see (a
// plain mutex, a future). Idle workers exit after a while.

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include "internal/dispatch_core.h"

namespace aurimo::platform::internal {
namespace {

constexpr std::size_t kThreadLimit = 256;
constexpr auto kIdleExit = std::chrono::seconds(15);
constexpr auto kStallCheck = std::chrono::milliseconds(50);
constexpr auto kClockRecheck = std::chrono::seconds(1);

thread_local bool isWorker = false;
// Set once exit() starts: workers stop taking new work so none starts while
// statics are being destroyed.
std::atomic<bool> exiting{false};

}  // namespace

WorkerPool& WorkerPool::shared() {
  // Never destroyed: detached workers may still be running at exit.
  static WorkerPool& pool = *new WorkerPool();
  return pool;
}

WorkerPool::WorkerPool() : maxActive_(std::max(2u, std::thread::hardware_concurrency())) {
  std::atexit([] { exiting.store(true, std::memory_order_release); });
  std::thread([this] { monitorMain(); }).detach();
}

bool WorkerPool::onWorkerThread() { return isWorker; }

void WorkerPool::submit(QualityOfService qos, std::shared_ptr<QueueCore> queue, std::function<void()> block) {
  bool wakeWorker = false;
  bool wakeMonitor = false;
  {
    std::lock_guard lock(mutex_);
    jobs_[static_cast<int>(qos)].push_back(Job{std::move(queue), std::move(block)});
    ++pending_;
    if (idle_ >= pending_) {
      // An idle worker takes it; nothing can stall, so the monitor sleeps on.
      wakeWorker = true;
    } else {
      growIfStarvedLocked();
      wakeWorker = idle_ > 0;
      wakeMonitor = !monitorWatching_;
    }
  }
  // Signalled after unlocking, so a woken thread does not wait for the lock we hold.
  if (wakeWorker) wake_.notify_one();
  if (wakeMonitor) monitorWake_.notify_one();
}

bool WorkerPool::hasWaitingJobs() {
  std::lock_guard lock(mutex_);
  return pending_ > idle_;
}

void WorkerPool::willBlock() {
  std::lock_guard lock(mutex_);
  ++blocked_;
  growIfStarvedLocked();
}

void WorkerPool::didUnblock() {
  std::lock_guard lock(mutex_);
  --blocked_;
}

void WorkerPool::growIfStarvedLocked() {
  if (pending_ > idle_ && threads_ - blocked_ < maxActive_ && threads_ < kThreadLimit) spawnLocked();
}

void WorkerPool::spawnLocked() {
  try {
    std::thread([this] { workerMain(); }).detach();
    ++threads_;
  } catch (const std::system_error&) {
    // Out of threads: the existing workers carry on; the monitor tries again later.
  }
}

void WorkerPool::workerMain() {
  isWorker = true;
  std::unique_lock lock(mutex_);
  for (;;) {
    if (exiting.load(std::memory_order_acquire)) {
      --threads_;
      return;
    }
    if (pending_ == 0) {
      ++idle_;
      bool woken = wake_.wait_for(lock, kIdleExit, [this] { return pending_ > 0; });
      --idle_;
      if (!woken) {
        --threads_;
        return;
      }
      continue;
    }
    auto queue = std::find_if(std::begin(jobs_), std::end(jobs_), [](const auto& jobs) { return !jobs.empty(); });
    Job job = std::move(queue->front());
    queue->pop_front();
    --pending_;
    ++taken_;
    lock.unlock();
    if (job.block) {
      {
        ScopedQueueFrame frame(job.queue.get());
        job.queue->runBlock(job.block);
      }
      job = {};
      Activity::shared().blockFinished();
    } else {
      job.queue->drain();
      job = {};
    }
    lock.lock();
  }
}

void WorkerPool::monitorMain() {
  std::unique_lock lock(mutex_);
  for (;;) {
    monitorWake_.wait(lock, [this] { return pending_ > 0; });
    std::uint64_t takenBefore = taken_;
    // Submissions do not cut a stall check short.
    monitorWatching_ = true;
    monitorWake_.wait_for(lock, kStallCheck);
    monitorWatching_ = false;
    if (exiting.load(std::memory_order_acquire)) return;
    if (pending_ > 0 && taken_ == takenBefore && idle_ == 0 && threads_ < kThreadLimit) spawnLocked();
  }
}

DelayedBlocks& DelayedBlocks::shared() {
  // Never destroyed, as the pool.
  static DelayedBlocks& timers = *new DelayedBlocks();
  return timers;
}

void DelayedBlocks::schedule(Date deadline, std::shared_ptr<QueueCore> queue, std::function<void()> block) {
  {
    std::lock_guard lock(mutex_);
    entries_.emplace(std::make_pair(deadline, sequence_++), Entry{std::move(queue), std::move(block)});
    if (!started_) {
      started_ = true;
      std::thread([this] { timerMain(); }).detach();
    }
    changed_.notify_one();
  }
  Activity::shared().wake();
}

void DelayedBlocks::fireDueLocked(Date now) {
  // Queued under the lock so blocks due together reach their queues in deadline order.
  while (!entries_.empty() && entries_.begin()->first.first <= now) {
    Entry entry = std::move(entries_.begin()->second);
    entries_.erase(entries_.begin());
    entry.queue->async(std::move(entry.block));
  }
}

void DelayedBlocks::fireDue() {
  std::lock_guard lock(mutex_);
  if (!entries_.empty()) fireDueLocked(Clock::current().now());
}

bool DelayedBlocks::hasDue() {
  std::lock_guard lock(mutex_);
  return !entries_.empty() && entries_.begin()->first.first <= Clock::current().now();
}

void DelayedBlocks::wake() {
  std::lock_guard lock(mutex_);
  changed_.notify_one();
}

void DelayedBlocks::timerMain() {
  std::unique_lock lock(mutex_);
  for (;;) {
    if (exiting.load(std::memory_order_acquire)) return;
    if (entries_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const Date now = Clock::current().now();
    const Date first = entries_.begin()->first.first;
    if (first > now) {
      // Capped, so a wall clock that jumps without telling is noticed too.
      changed_.wait_for(lock, std::min<std::chrono::nanoseconds>(first - now, kClockRecheck));
      continue;
    }
    fireDueLocked(now);
  }
}

Activity& Activity::shared() {
  // Never destroyed, as the pool.
  static Activity& activity = *new Activity();
  return activity;
}

void Activity::wake() {
  if (waiters_.load() == 0) return;
  std::lock_guard lock(mutex_);
  changed_.notify_all();
}

bool Activity::waitForOtherQueues() {
  waiters_.fetch_add(1);
  bool mainHasWork = false;
  for (;;) {
    DelayedBlocks::shared().fireDue();
    std::unique_lock lock(mutex_);
    if (MainLoop::shared().hasRunnable()) {
      mainHasWork = true;
      break;
    }
    if (outstanding_.load() == 0) {
      if (!DelayedBlocks::shared().hasDue()) break;
      continue;
    }
    changed_.wait(lock);
  }
  waiters_.fetch_sub(1);
  return mainHasWork;
}

}  // namespace aurimo::platform::internal
