#include "platform/dispatch_queue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "internal/dispatch_core.h"
#include "platform/dispatch_group.h"

namespace aurimo::platform {
namespace internal {
namespace {

// Initialised before main() runs, hence on the process's initial thread.
std::atomic<std::thread::id> mainThread{std::this_thread::get_id()};

const char* qosName(QualityOfService qos) {
  switch (qos) {
    case QualityOfService::userInteractive: return "userInteractive";
    case QualityOfService::userInitiated: return "userInitiated";
    case QualityOfService::defaultQoS: return "default";
    case QualityOfService::utility: return "utility";
    case QualityOfService::background: return "background";
  }
  return "unknown";
}

}  // namespace

void setMainThread(std::thread::id id) { mainThread.store(id, std::memory_order_release); }

void fail(const char* format, const std::string& detail) {
  std::fprintf(stderr, format, detail.c_str());
  std::fputc('\n', stderr);
  std::abort();
}

void failPrecondition(const char* what, const std::source_location& where) {
  std::fprintf(stderr, "dispatch precondition failed: %s (%s:%u in %s)\n", what, where.file_name(),
               static_cast<unsigned>(where.line()), where.function_name());
  std::abort();
}

void QueueCore::runBlock(std::function<void()>& block) const {
  try {
    block();
  } catch (const std::exception& error) {
    fail("uncaught exception in a block on queue %s", label_ + ": " + error.what());
  } catch (...) {
    fail("uncaught exception in a block on queue %s", label_);
  }
}

void QueueCore::async(std::function<void()> block) {
  if (!block) fail("empty block submitted to queue %s", label_);
  switch (kind_) {
    case QueueKind::main:
      MainLoop::shared().post(std::move(block));
      return;
    case QueueKind::concurrent:
      Activity::shared().blockQueued();
      WorkerPool::shared().submit(qos_, shared_from_this(), std::move(block));
      return;
    case QueueKind::serial:
      break;
  }
  Activity::shared().blockQueued();
  bool mustSchedule;
  {
    std::lock_guard lock(mutex_);
    items_.push_back(Item{std::move(block), nullptr});
    std::uint64_t state = state_.load(std::memory_order_relaxed);
    while (!state_.compare_exchange_weak(state, (state + kOneItem) | kOwned, std::memory_order_relaxed)) {
    }
    mustSchedule = (state & kOwned) == 0;
  }
  if (mustSchedule) WorkerPool::shared().submit(qos_, shared_from_this(), {});
}

void QueueCore::asyncAfter(TimeInterval delay, std::function<void()> block) {
  if (!block) fail("empty block submitted to queue %s", label_);
  if (kind_ == QueueKind::main) {
    MainLoop::shared().postAfter(delay, std::move(block));
    return;
  }
  DelayedBlocks::shared().schedule(Clock::current().now() + seconds(std::max(delay, 0.0)), shared_from_this(),
                                   std::move(block));
}

bool QueueCore::isCurrent() const {
  if (kind_ == QueueKind::main) return DispatchQueue::isMainThread();
  for (const QueueFrame* frame = currentFrame; frame != nullptr; frame = frame->previous) {
    if (frame->queue == this) return true;
  }
  return false;
}

void QueueCore::syncInvoke(BlockRef block) {
  switch (kind_) {
    case QueueKind::serial:
      syncSerial(block);
      return;
    case QueueKind::main:
      syncMain(block);
      return;
    case QueueKind::concurrent: {
      ScopedQueueFrame frame(this);
      block();
      return;
    }
  }
}

void QueueCore::syncSerial(BlockRef block) {
  std::uint64_t idle = 0;
  if (!state_.compare_exchange_strong(idle, kOwned, std::memory_order_acquire, std::memory_order_relaxed)) {
    waitForTurn();
  }
  struct Release {
    QueueCore* queue;
    ~Release() {
      std::uint64_t owned = kOwned;
      if (!queue->state_.compare_exchange_strong(owned, 0, std::memory_order_release, std::memory_order_relaxed)) {
        queue->releaseOwnership();
      }
    }
  } release{this};
  ScopedQueueFrame frame(this);
  block();
}

void QueueCore::waitForTurn() {
  if (isCurrent()) fail("sync on queue %s from a block running on it would deadlock", label_);
  SyncWaiter waiter;
  {
    std::lock_guard lock(mutex_);
    std::uint64_t state = state_.load(std::memory_order_relaxed);
    for (;;) {
      if (state == 0) {
        if (state_.compare_exchange_weak(state, kOwned, std::memory_order_acquire, std::memory_order_relaxed)) {
          return;
        }
      } else if (state_.compare_exchange_weak(state, state + kOneItem, std::memory_order_relaxed)) {
        break;
      }
    }
    items_.push_back(Item{{}, &waiter});
  }
  ScopedBlockingWait blocking;
  waiter.wait();
}

void QueueCore::releaseOwnership() {
  std::uint64_t owned = kOwned;
  if (!state_.compare_exchange_strong(owned, 0, std::memory_order_release, std::memory_order_relaxed)) {
    // Work arrived while the caller held the queue: keep ownership and let a worker drain it.
    WorkerPool::shared().submit(qos_, shared_from_this(), {});
  }
}

void QueueCore::drain() {
  // Every so often, hand the worker over if other work waits for one, so one
  // busy queue cannot starve the others; with none waiting, keep draining:
  // handing over would only wake another thread for this same queue.
  constexpr int kBatch = 32;
  ScopedQueueFrame frame(this);
  for (int ran = 0;;) {
    Item item;
    {
      std::lock_guard lock(mutex_);
      if (!items_.empty()) {
        item = std::move(items_.front());
        items_.pop_front();
        state_.fetch_sub(kOneItem, std::memory_order_relaxed);
      }
    }
    if (item.waiter != nullptr) {
      item.waiter->handOff();
      return;
    }
    if (!item.block) {
      std::uint64_t owned = kOwned;
      if (state_.compare_exchange_strong(owned, 0, std::memory_order_release, std::memory_order_relaxed)) return;
      continue;
    }
    runBlock(item.block);
    item.block = nullptr;  // the block's captures die on the queue, as its code expects
    Activity::shared().blockFinished();
    if (++ran == kBatch) {
      ran = 0;
      if (WorkerPool::shared().hasWaitingJobs()) {
        WorkerPool::shared().submit(qos_, shared_from_this(), {});
        return;
      }
    }
  }
}

void QueueCore::SyncWaiter::handOff() {
  std::lock_guard lock(mutex);
  ready = true;
  turn.notify_one();
}

void QueueCore::SyncWaiter::wait() {
  std::unique_lock lock(mutex);
  turn.wait(lock, [this] { return ready; });
}

void QueueCore::syncMain(BlockRef block) {
  if (DispatchQueue::isMainThread()) fail("sync on the %s queue from the main thread would deadlock", label_);
  struct Waiter {
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;           // guarded by mutex
    std::exception_ptr error;    // written before done is set
  } waiter;
  MainLoop::shared().post([&waiter, block] {
    try {
      block();
    } catch (...) {
      waiter.error = std::current_exception();
    }
    std::lock_guard lock(waiter.mutex);
    waiter.done = true;
    waiter.finished.notify_one();
  });
  {
    ScopedBlockingWait blocking;
    std::unique_lock lock(waiter.mutex);
    waiter.finished.wait(lock, [&] { return waiter.done; });
  }
  if (waiter.error) std::rethrow_exception(waiter.error);
}

}  // namespace internal

DispatchQueue::DispatchQueue(std::string label, QualityOfService qos)
    : core_(std::make_shared<internal::QueueCore>(internal::QueueKind::serial, std::move(label), qos)) {}

DispatchQueue::DispatchQueue(std::shared_ptr<internal::QueueCore> core) : core_(std::move(core)) {}

DispatchQueue::~DispatchQueue() = default;

DispatchQueue& DispatchQueue::main() {
  // Never destroyed: work may still reach it while the process exits.
  static DispatchQueue& queue = [] () -> DispatchQueue& {
    auto core = std::make_shared<internal::QueueCore>(internal::QueueKind::main, "platform.main-thread",
                                                      QualityOfService::userInteractive);
    internal::MainLoop::shared().setQueue(core.get());
    return *new DispatchQueue(std::move(core));
  }();
  return queue;
}

DispatchQueue& DispatchQueue::global(QualityOfService qos) {
  // Never destroyed, as main().
  static DispatchQueue* const queues[5] = {
#define PLATFORM_GLOBAL_QUEUE(qos)                                                                 \
  new DispatchQueue(std::make_shared<internal::QueueCore>(                                         \
      internal::QueueKind::concurrent, std::string("platform.global.") + internal::qosName(qos), qos))
      PLATFORM_GLOBAL_QUEUE(QualityOfService::userInteractive),
      PLATFORM_GLOBAL_QUEUE(QualityOfService::userInitiated),
      PLATFORM_GLOBAL_QUEUE(QualityOfService::defaultQoS),
      PLATFORM_GLOBAL_QUEUE(QualityOfService::utility),
      PLATFORM_GLOBAL_QUEUE(QualityOfService::background),
#undef PLATFORM_GLOBAL_QUEUE
  };
  return *queues[static_cast<int>(qos)];
}

bool DispatchQueue::isMainThread() {
  return internal::mainThread.load(std::memory_order_acquire) == std::this_thread::get_id();
}

const std::string& DispatchQueue::label() const { return core_->label(); }

QualityOfService DispatchQueue::qos() const { return core_->qos(); }

void DispatchQueue::async(std::function<void()> block) { core_->async(std::move(block)); }

void DispatchQueue::async(DispatchGroup& group, std::function<void()> block) {
  if (!block) internal::fail("empty block submitted to queue %s", label());
  std::shared_ptr<internal::GroupState> state = group.state_;
  state->enter();
  core_->async([state, block = std::move(block)] {
    block();
    state->leave();
  });
}

void DispatchQueue::asyncAfter(TimeInterval delay, std::function<void()> block) {
  core_->asyncAfter(delay, std::move(block));
}

bool DispatchQueue::isCurrent() const { return core_->isCurrent(); }

void DispatchQueue::syncInvoke(internal::BlockRef block) { core_->syncInvoke(block); }

}  // namespace aurimo::platform
