#pragma once
// AsyncStorage<Key, Value>: a hybrid storage whose operations return at once
// and report through a completion handler with a Result. Each operation is a
// block on a serial queue that holds the AsyncStorage weakly: a block that
// runs after the storage is gone completes with StorageError::deallocated.
//
// Thread contract: callable from any thread. Blocks run one at a time in
// submission order; completions run on the queue, not on the caller's thread.
// Always owned by a std::shared_ptr (create() makes one).
//
//   storage->async().setObject(1, "one", [](cache::Result<void> done) { ... });
//   storage->async().object("one", [](cache::Result<int> one) { ... });

#include <concepts>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "cache/entry.h"
#include "cache/expiry.h"
#include "cache/hybrid_storage.h"
#include "cache/result.h"
#include "cache/storage_aware.h"
#include "cache/storage_error.h"
#include "cache/transformer.h"
#include "platform/dispatch_queue.h"

namespace aurimo::cache {

template <StorageKey Key, std::copyable Value>
class AsyncStorage final : public std::enable_shared_from_this<AsyncStorage<Key, Value>> {
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  template <class T>
  using Completion = std::function<void(Result<T>)>;
  // Any callable a Completion<T> could hold. The operations take one as it
  // is, so it rides inside the queued block: one allocation per operation.
  template <class F, class T>
  static constexpr bool isCompletion = std::is_invocable_v<std::decay_t<F>&, Result<T>> &&
                                       std::is_constructible_v<std::decay_t<F>, F> &&
                                       std::is_move_constructible_v<std::decay_t<F>>;

  static std::shared_ptr<AsyncStorage> create(std::shared_ptr<HybridStorage<Key, Value>> storage,
                                              std::shared_ptr<platform::DispatchQueue> serialQueue) {
    return std::make_shared<AsyncStorage>(Passkey{}, std::move(storage), std::move(serialQueue));
  }

  AsyncStorage(Passkey, std::shared_ptr<HybridStorage<Key, Value>> storage,
               std::shared_ptr<platform::DispatchQueue> serialQueue)
      : innerStorage_(std::move(storage)), serialQueue_(std::move(serialQueue)) {
    if (!innerStorage_ || !serialQueue_) {
      std::fprintf(stderr, "cache::AsyncStorage: needs a storage and a queue\n");
      std::abort();
    }
  }
  AsyncStorage(const AsyncStorage&) = delete;
  AsyncStorage& operator=(const AsyncStorage&) = delete;

  void entry(const Key& key, Completion<Entry<Value>> completion) { entry<Completion<Entry<Value>>>(key, std::move(completion)); }
  template <class F>
    requires isCompletion<F, Entry<Value>>
  void entry(const Key& key, F&& completion) {
    submit<Entry<Value>>(std::forward<F>(completion),
                         [key](HybridStorage<Key, Value>& storage) { return storage.entry(key); });
  }

  void object(const Key& key, Completion<Value> completion) { object<Completion<Value>>(key, std::move(completion)); }
  template <class F>
    requires isCompletion<F, Value>
  void object(const Key& key, F&& completion) {
    requireCompletion(completion);
    // The entry is the block's own, so its object moves out rather than being copied.
    entry(key, [completion = std::forward<F>(completion)](Result<Entry<Value>> result) mutable {
      if (result.isError()) {
        completion(Result<Value>::error(result.error()));
      } else {
        completion(Result<Value>::value(std::move(result).get().object));
      }
    });
  }

  // Unlike the blocking existsObject, a failed read is passed on as an error
  // rather than answered with false.
  void existsObject(const Key& key, Completion<bool> completion) {
    requireCompletion(completion);
    entry(key, [completion = std::move(completion)](Result<Entry<Value>> result) {
      completion(result.map([](const Entry<Value>&) { return true; }));
    });
  }

  void removeObject(const Key& key, Completion<void> completion) {
    submit<void>(std::move(completion), [key](HybridStorage<Key, Value>& storage) { storage.removeObject(key); });
  }

  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry, Completion<void> completion) {
    setObject<Completion<void>>(Value(object), Key(key), expiry, std::move(completion));
  }
  // With the configured expiries.
  void setObject(const Value& object, const Key& key, Completion<void> completion) {
    setObject(object, key, std::nullopt, std::move(completion));
  }
  template <class F>
    requires isCompletion<F, void>
  void setObject(const Value& object, const Key& key, F&& completion) {
    setObject(Value(object), Key(key), std::nullopt, std::forward<F>(completion));
  }
  template <class F>
    requires isCompletion<F, void>
  void setObject(Value&& object, const Key& key, F&& completion) {
    setObject(std::move(object), Key(key), std::nullopt, std::forward<F>(completion));
  }
  // The object and key move into the queued block.
  template <class F>
    requires isCompletion<F, void>
  void setObject(Value&& object, Key&& key, std::optional<Expiry> expiry, F&& completion) {
    submit<void>(std::forward<F>(completion),
                 [object = std::move(object), key = std::move(key), expiry](HybridStorage<Key, Value>& storage) {
                   storage.setObject(object, key, expiry);
                 });
  }
  template <class F>
    requires isCompletion<F, void>
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry, F&& completion) {
    setObject(Value(object), Key(key), expiry, std::forward<F>(completion));
  }
  template <class F>
    requires isCompletion<F, void>
  void setObject(Value&& object, const Key& key, std::optional<Expiry> expiry, F&& completion) {
    setObject(std::move(object), Key(key), expiry, std::forward<F>(completion));
  }

  void removeAll(Completion<void> completion) {
    submit<void>(std::move(completion), [](HybridStorage<Key, Value>& storage) { storage.removeAll(); });
  }

  void removeExpiredObjects(Completion<void> completion) {
    submit<void>(std::move(completion), [](HybridStorage<Key, Value>& storage) { storage.removeExpiredObjects(); });
  }

  // A storage of another value type over the same directory, on the same queue.
  template <std::copyable U>
  std::shared_ptr<AsyncStorage<Key, U>> transform(Transformer<U> transformer) const {
    return AsyncStorage<Key, U>::create(innerStorage_->transform(std::move(transformer)), serialQueue_);
  }

  HybridStorage<Key, Value>& innerStorage() const { return *innerStorage_; }
  platform::DispatchQueue& serialQueue() const { return *serialQueue_; }

 private:
  template <class F>
  static void requireCompletion(const F& completion) {
    bool empty = false;
    if constexpr (std::is_constructible_v<bool, const F&>) empty = !static_cast<bool>(completion);
    if (empty) {
      std::fprintf(stderr, "cache::AsyncStorage: a completion handler is required\n");
      std::abort();
    }
  }

  // Runs `operation` on the queue and hands its outcome to `completion`
  // there. The block keeps only a weak reference, so queued work does not
  // keep a released storage alive.
  template <class T, class F, class Operation>
  void submit(F&& completion, Operation operation) {
    requireCompletion(completion);
    serialQueue_->async([weak = this->weak_from_this(), completion = std::forward<F>(completion),
                         operation = std::move(operation)]() mutable {
      std::optional<Result<T>> result;
      if (const auto self = weak.lock()) {
        try {
          if constexpr (std::is_void_v<T>) {
            operation(*self->innerStorage_);
            result.emplace(Result<T>::value());
          } else {
            result.emplace(Result<T>::value(operation(*self->innerStorage_)));
          }
        } catch (...) {
          result.emplace(Result<T>::error(std::current_exception()));
        }
      } else {
        result.emplace(Result<T>::error(StorageError(StorageError::deallocated)));
      }
      completion(std::move(*result));
    });
  }

  std::shared_ptr<HybridStorage<Key, Value>> innerStorage_;  // shared with the sync side
  std::shared_ptr<platform::DispatchQueue> serialQueue_;     // shared with transformed copies
};

}  // namespace aurimo::cache
