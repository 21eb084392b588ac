#include "platform/run_loop.h"

#include <algorithm>
#include <sstream>

#include "internal/dispatch_core.h"

namespace aurimo::platform {
namespace internal {
namespace {

// How long run() sleeps at most while a delayed block is pending, so that a
// wall clock that jumps without telling is noticed.
constexpr auto kClockRecheck = std::chrono::seconds(1);

}  // namespace

MainLoop& MainLoop::shared() {
  // Never destroyed: other threads may post to the main queue while the process exits.
  static MainLoop& loop = *new MainLoop();
  return loop;
}

// Claims the loop for the calling thread for the duration of a run, which
// makes it the main thread.
class MainLoop::Runner {
 public:
  explicit Runner(MainLoop& loop) : loop_(loop) {
    std::lock_guard lock(loop_.mutex_);
    std::thread::id self = std::this_thread::get_id();
    if (loop_.depth_ > 0 && loop_.runner_ != self) {
      std::ostringstream other;
      other << loop_.runner_;
      fail("the main run loop is already running on thread %s", other.str());
    }
    loop_.runner_ = self;
    ++loop_.depth_;
    setMainThread(self);
  }
  ~Runner() {
    std::lock_guard lock(loop_.mutex_);
    --loop_.depth_;
  }
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

 private:
  MainLoop& loop_;
};

void MainLoop::post(std::function<void()> block) {
  {
    std::lock_guard lock(mutex_);
    blocks_.push_back(std::move(block));
    changed_.notify_one();
  }
  Activity::shared().wake();
}

void MainLoop::postAfter(TimeInterval delay, std::function<void()> block) {
  Date deadline = Clock::current().now() + seconds(std::max(delay, 0.0));
  {
    std::lock_guard lock(mutex_);
    timers_.emplace(std::make_pair(deadline, sequence_++), std::move(block));
    changed_.notify_one();
  }
  Activity::shared().wake();
}

bool MainLoop::hasRunnable() {
  std::lock_guard lock(mutex_);
  return !blocks_.empty() || (!timers_.empty() && timers_.begin()->first.first <= Clock::current().now());
}

void MainLoop::wake() {
  std::lock_guard lock(mutex_);
  changed_.notify_all();
}

bool MainLoop::takeLocked(std::function<void()>& block) {
  if (!timers_.empty()) {
    Date now = Clock::current().now();
    while (!timers_.empty() && timers_.begin()->first.first <= now) {
      blocks_.push_back(std::move(timers_.begin()->second));
      timers_.erase(timers_.begin());
    }
  }
  if (blocks_.empty()) return false;
  block = std::move(blocks_.front());
  blocks_.pop_front();
  return true;
}

void MainLoop::runTaken(std::function<void()>& block) {
  ScopedQueueFrame frame(queue_);
  if (queue_ != nullptr) {
    queue_->runBlock(block);
  } else {
    block();
  }
  block = nullptr;
}

void MainLoop::runUntilIdle() {
  Runner runner(*this);
  for (;;) {
    std::function<void()> block;
    {
      std::lock_guard lock(mutex_);
      if (!takeLocked(block)) return;
    }
    runTaken(block);
  }
}

void MainLoop::run() {
  Runner runner(*this);
  std::unique_lock lock(mutex_);
  for (;;) {
    if (stopRequested_) {
      stopRequested_ = false;
      return;
    }
    std::function<void()> block;
    if (takeLocked(block)) {
      lock.unlock();
      runTaken(block);
      lock.lock();
      continue;
    }
    if (timers_.empty()) {
      changed_.wait(lock);
    } else {
      auto untilDue = timers_.begin()->first.first - Clock::current().now();
      changed_.wait_for(lock, std::min<std::chrono::nanoseconds>(untilDue, kClockRecheck));
    }
  }
}

void MainLoop::stop() {
  std::lock_guard lock(mutex_);
  stopRequested_ = true;
  changed_.notify_one();
}

}  // namespace internal

RunLoop& RunLoop::main() {
  DispatchQueue::main();  // the loop runs its blocks as the main queue's
  static RunLoop& loop = *new RunLoop(internal::MainLoop::shared());
  return loop;
}

void RunLoop::run() { loop_.run(); }

void RunLoop::runUntilIdle() { loop_.runUntilIdle(); }

void RunLoop::runUntilAllQueuesIdle() {
  do {
    loop_.runUntilIdle();
  } while (internal::Activity::shared().waitForOtherQueues());
}

void RunLoop::stop() { loop_.stop(); }

}  // namespace aurimo::platform
