#pragma once
// ObservationToken: what registering an observer returns; cancel() removes
// the registration. Dropping the token does not cancel it, and cancelling
// more than once is harmless.
//
// Thread contract: cancel() may be called from any thread; the registries it
// reaches lock their own state.
//
//   cache::ObservationToken token = storage->addStorageObserver(me, onChange);
//   token.cancel();

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

}  // namespace aurimo::cache
