#pragma once
// Replaceable<T>: a process-wide service (clock, time zone, user defaults, ...)
// that is a real object by default and can be swapped for a fake in tests.
//
// Thread contract: get() is safe from any thread. replace() is meant for test
// fixtures and must not race with users of the old instance, which stays
// alive until the next replace() hands it back.
//
//   static Replaceable<Clock> clock([] { return std::make_shared<SystemClock>(); });
//   ScopedReplacement fake(clock, std::make_shared<FakeClock>());

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace aurimo::platform {

template <class T>
class Replaceable {
 public:
  explicit Replaceable(std::function<std::shared_ptr<T>()> makeDefault)
      : makeDefault_(std::move(makeDefault)) {}

  Replaceable(const Replaceable&) = delete;
  Replaceable& operator=(const Replaceable&) = delete;

  T& get() {
    if (T* current = current_.load(std::memory_order_acquire)) return *current;
    std::lock_guard lock(mutex_);
    if (!owner_) {
      owner_ = makeDefault_();
      current_.store(owner_.get(), std::memory_order_release);
    }
    return *owner_;
  }

  // The current instance, shared, for whoever keeps it beyond a replace().
  std::shared_ptr<T> shared() {
    get();
    std::lock_guard lock(mutex_);
    return owner_;
  }

  // The current instance, or null while none was made: for work that only
  // matters when it exists, such as a flush at exit.
  std::shared_ptr<T> existing() {
    std::lock_guard lock(mutex_);
    return owner_;
  }

  // Installs `next` (the default again when null) and returns the previous instance.
  std::shared_ptr<T> replace(std::shared_ptr<T> next) {
    std::lock_guard lock(mutex_);
    if (!next) next = makeDefault_();
    std::shared_ptr<T> previous = std::exchange(owner_, std::move(next));
    current_.store(owner_.get(), std::memory_order_release);
    return previous;
  }

 private:
  std::function<std::shared_ptr<T>()> makeDefault_;
  std::mutex mutex_;
  std::shared_ptr<T> owner_;  // guarded by mutex_
  std::atomic<T*> current_{nullptr};
};

// Installs a replacement for the lifetime of the scope, then puts back what was there.
template <class T>
class ScopedReplacement {
 public:
  ScopedReplacement(Replaceable<T>& slot, std::shared_ptr<T> replacement)
      : slot_(slot), previous_(slot.replace(std::move(replacement))) {}
  ~ScopedReplacement() { slot_.replace(std::move(previous_)); }
  ScopedReplacement(const ScopedReplacement&) = delete;
  ScopedReplacement& operator=(const ScopedReplacement&) = delete;

 private:
  Replaceable<T>& slot_;
  std::shared_ptr<T> previous_;
};

}  // namespace aurimo::platform
