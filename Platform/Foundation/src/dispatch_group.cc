#include "platform/dispatch_group.h"

#include "internal/dispatch_core.h"
#include "platform/dispatch_queue.h"

namespace aurimo::platform {
namespace internal {

void GroupState::enter() {
  std::lock_guard lock(mutex_);
  ++count_;
}

void GroupState::leave() {
  std::vector<std::pair<std::shared_ptr<QueueCore>, std::function<void()>>> ready;
  {
    std::lock_guard lock(mutex_);
    if (count_ == 0) fail("DispatchGroup::leave() %s", "without a matching enter()");
    if (--count_ > 0) return;
    ready.swap(waiting_);
    empty_.notify_all();
  }
  for (auto& [queue, block] : ready) queue->async(std::move(block));
}

bool GroupState::waitUntil(const std::chrono::steady_clock::time_point* deadline) {
  std::unique_lock lock(mutex_);
  if (count_ == 0) return true;
  ScopedBlockingWait blocking;
  if (deadline == nullptr) {
    empty_.wait(lock, [this] { return count_ == 0; });
    return true;
  }
  return empty_.wait_until(lock, *deadline, [this] { return count_ == 0; });
}

void GroupState::notify(std::shared_ptr<QueueCore> queue, std::function<void()> block) {
  {
    std::lock_guard lock(mutex_);
    if (count_ > 0) {
      waiting_.emplace_back(std::move(queue), std::move(block));
      return;
    }
  }
  queue->async(std::move(block));
}

}  // namespace internal

DispatchGroup::DispatchGroup() : state_(std::make_shared<internal::GroupState>()) {}

DispatchGroup::~DispatchGroup() = default;

void DispatchGroup::enter() { state_->enter(); }

void DispatchGroup::leave() { state_->leave(); }

void DispatchGroup::wait() { state_->waitUntil(nullptr); }

bool DispatchGroup::wait(TimeInterval timeout) {
  auto deadline = std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                      std::chrono::duration<double>(timeout > 0 ? timeout : 0));
  return state_->waitUntil(&deadline);
}

void DispatchGroup::notify(DispatchQueue& queue, std::function<void()> block) {
  if (!block) internal::fail("empty block passed to DispatchGroup::notify on queue %s", queue.label());
  state_->notify(queue.core_, std::move(block));
}

}  // namespace aurimo::platform
