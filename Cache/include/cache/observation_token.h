#pragma once
// ObservationToken: what registering an observer returns; cancel() removes
// the registration. Dropping the token does not cancel it, and cancelling
// more than once is harmless. ScopedObservation is the opt-in RAII holder
// that does cancel when it goes out of scope.
//
// Thread contract: cancel() may be called from any thread; the registries it
// reaches lock their own state. A ScopedObservation is not itself shared
// between threads; its destructor cancels on the thread that destroys it.
//
//   cache::ObservationToken token = storage->addStorageObserver(me, onChange);
//   token.cancel();
//   cache::ScopedObservation scoped(storage->addObserver(me, "k", onKeyChange));  // cancels at scope end

#include <functional>
#include <utility>

namespace aurimo::cache {

class ObservationToken {
 public:
  explicit ObservationToken(std::function<void()> cancellationClosure)
      : cancellationClosure_(std::move(cancellationClosure)) {}

  void cancel() const {
    if (cancellationClosure_) cancellationClosure_();
  }

 private:
  std::function<void()> cancellationClosure_;
};

// Holds at most one token and cancels it when destroyed, reset or assigned
// over. Move-only: a moved-from holder is empty and cancels nothing.
class ScopedObservation {
 public:
  ScopedObservation() = default;
  explicit ScopedObservation(ObservationToken token) : token_(std::move(token)) {}
  ScopedObservation(ScopedObservation&& other) noexcept : token_(other.release()) {}
  ScopedObservation& operator=(ScopedObservation&& other) noexcept {
    if (this != &other) {
      reset();
      token_ = other.release();
    }
    return *this;
  }
  ScopedObservation(const ScopedObservation&) = delete;
  ScopedObservation& operator=(const ScopedObservation&) = delete;
  ~ScopedObservation() { reset(); }

  // Cancels the held token now, if any, and leaves this holder empty.
  void reset() { release().cancel(); }

 private:
  ObservationToken release() { return std::exchange(token_, ObservationToken(nullptr)); }

  ObservationToken token_{nullptr};  // a token without a closure cancels nothing
};

}  // namespace aurimo::cache
