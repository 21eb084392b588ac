#pragma once
// DispatchGroup: counts outstanding work so a caller can wait for all of it,
// or be told on a queue when it is done.
//
// Thread contract: every member may be called from any thread. Blocks queued
// through the group keep its state alive, so the group object may go away
// before they run. Share the object itself (e.g. in a std::shared_ptr) when
// a completion handler calls leave() after the waiter might have given up.
//
//   platform::DispatchGroup group;
//   queue.async(group, [] { work(); });
//   group.wait();

#include <functional>
#include <memory>

#include "platform/clock.h"

namespace aurimo::platform {

class DispatchQueue;

namespace internal {
class GroupState;
}

class DispatchGroup {
 public:
  DispatchGroup();
  ~DispatchGroup();
  DispatchGroup(const DispatchGroup&) = delete;
  DispatchGroup& operator=(const DispatchGroup&) = delete;

  void enter();
  // Aborts when it is not balanced by an earlier enter().
  void leave();

  // Blocks until every enter() has been balanced.
  void wait();
  // As wait(), for at most `timeout` seconds of real (monotonic) time; true when the
  // group finished, false on time-out.
  [[nodiscard]] bool wait(TimeInterval timeout);

  // Queues `block` on `queue` once the group is (or becomes) empty; at once if it is empty now.
  void notify(DispatchQueue& queue, std::function<void()> block);

 private:
  friend class DispatchQueue;
  std::shared_ptr<internal::GroupState> state_;
};

}  // namespace aurimo::platform
