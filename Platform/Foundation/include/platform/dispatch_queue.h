#pragma once
// DispatchQueue: FIFO queues of blocks in the style of libdispatch. Three
// kinds exist: the main queue (drained by RunLoop::main() on the main
// thread), the global concurrent queues (one per quality of service, all
// sharing one worker pool) and serial queues that callers create and own.
//
// Thread contract: every member may be called from any thread. A serial
// queue runs one block at a time, in submission order. sync() runs the block
// on the calling thread (except on the main queue, whose blocks always run on
// the main thread). A queue may be destroyed while blocks are queued on it:
// they still run. sync() on a serial queue from a block already running on it
// is a deadlock and aborts.
//
//   platform::DispatchQueue queue("Cache.SyncStorage.SerialQueue");
//   int answer = queue.sync([] { return 42; });

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <source_location>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/clock.h"

namespace aurimo::platform {

class DispatchGroup;

enum class QualityOfService { userInteractive, userInitiated, defaultQoS, utility, background };

namespace internal {
class QueueCore;

// A borrowed, non-owning reference to a callable; valid for one call while
// the caller waits, so sync() needs no allocation.
struct BlockRef {
  void* callable;
  void (*invoke)(void*);
  void operator()() const { invoke(callable); }
};
}  // namespace internal

class DispatchQueue {
 public:
  // A new serial queue. Many thousands may exist; an idle queue holds no thread.
  explicit DispatchQueue(std::string label, QualityOfService qos = QualityOfService::defaultQoS);
  ~DispatchQueue();
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  // The queue drained by RunLoop::main().
  static DispatchQueue& main();
  // The shared concurrent queue of the given quality of service.
  static DispatchQueue& global(QualityOfService qos = QualityOfService::defaultQoS);
  // True on the thread that runs (or, before anyone ran it, will run) the main run loop:
  // the thread that last ran RunLoop::main(), else the process's initial thread.
  static bool isMainThread();

  const std::string& label() const;
  QualityOfService qos() const;

  // Queues `block`; returns at once.
  void async(std::function<void()> block);
  // Queues `block` as work of `group`: the group is entered now and left once the block ran.
  void async(DispatchGroup& group, std::function<void()> block);
  // Queues `block` once `delay` seconds have passed. Deadlines of every queue are
  // measured with platform::Clock::current(), so a test moves one FakeClock and
  // then runs the main run loop until the queues are idle.
  void asyncAfter(TimeInterval delay, std::function<void()> block);

  // Runs `block` after the work queued before it and returns its value; an exception
  // thrown by the block propagates to the caller. On an idle serial queue the block
  // runs at once on the calling thread.
  template <class F>
  std::invoke_result_t<F&> sync(F&& block);

  // True while the calling thread runs a block of this queue, including a block that
  // reached it through nested sync() calls. For the main queue: isMainThread().
  bool isCurrent() const;

 private:
  explicit DispatchQueue(std::shared_ptr<internal::QueueCore> core);
  void syncInvoke(internal::BlockRef block);
  friend class DispatchGroup;

  std::shared_ptr<internal::QueueCore> core_;
};

namespace internal {
[[noreturn]] void failPrecondition(const char* what, const std::source_location& where);
}

// Checks of thread affinity: on in debug builds and wherever the build defines
// AURIMO_DCHECK_IS_ON=1 (the tested release build does); nothing otherwise.
#ifndef AURIMO_DCHECK_IS_ON
#ifdef NDEBUG
#define AURIMO_DCHECK_IS_ON 0
#else
#define AURIMO_DCHECK_IS_ON 1
#endif
#endif

inline void dispatchPreconditionOnMain(
    [[maybe_unused]] const std::source_location& where = std::source_location::current()) {
#if AURIMO_DCHECK_IS_ON
  if (!DispatchQueue::isMainThread()) internal::failPrecondition("must run on the main thread", where);
#endif
}

inline void dispatchPreconditionOn(
    [[maybe_unused]] const DispatchQueue& queue,
    [[maybe_unused]] const std::source_location& where = std::source_location::current()) {
#if AURIMO_DCHECK_IS_ON
  if (!queue.isCurrent()) internal::failPrecondition(("must run on queue " + queue.label()).c_str(), where);
#endif
}

template <class F>
std::invoke_result_t<F&> DispatchQueue::sync(F&& block) {
  using Result = std::invoke_result_t<F&>;
  if constexpr (std::is_void_v<Result>) {
    auto call = [&] { block(); };
    syncInvoke({&call, [](void* self) { (*static_cast<decltype(call)*>(self))(); }});
  } else if constexpr (std::is_reference_v<Result>) {
    std::remove_reference_t<Result>* result = nullptr;
    auto call = [&] { result = &block(); };
    syncInvoke({&call, [](void* self) { (*static_cast<decltype(call)*>(self))(); }});
    return static_cast<Result>(*result);
  } else {
    std::optional<Result> result;
    auto call = [&] { result.emplace(block()); };
    syncInvoke({&call, [](void* self) { (*static_cast<decltype(call)*>(self))(); }});
    return std::move(*result);
  }
}

}  // namespace aurimo::platform
