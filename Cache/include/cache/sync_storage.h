#pragma once
// SyncStorage<Key, Value>: a hybrid storage whose operations block the caller
// while a serial queue runs them; results come back as return values, failures
// as the exceptions the layers threw.
//
// Thread contract: callable from any thread except from a block already
// running on its own queue (that deadlocks; the queue aborts with a message).
//
//   cache::SyncStorage<std::string, int> sync(hybrid, std::make_shared<platform::DispatchQueue>("q"));
//   sync.setObject(1, "one");  int one = sync.object("one");

#include <concepts>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include "cache/entry.h"
#include "cache/expiry.h"
#include "cache/hybrid_storage.h"
#include "cache/storage_aware.h"
#include "cache/transformer.h"
#include "platform/dispatch_queue.h"

namespace aurimo::cache {

template <StorageKey Key, std::copyable Value>
class SyncStorage final : public StorageAware<Key, Value> {
 public:
  SyncStorage(std::shared_ptr<HybridStorage<Key, Value>> storage, std::shared_ptr<platform::DispatchQueue> serialQueue)
      : innerStorage_(std::move(storage)), serialQueue_(std::move(serialQueue)) {
    if (!innerStorage_ || !serialQueue_) {
      std::fprintf(stderr, "cache::SyncStorage: needs a storage and a queue\n");
      std::abort();
    }
  }

  Entry<Value> entry(const Key& key) override {
    return serialQueue_->sync([&] { return innerStorage_->entry(key); });
  }

  void removeObject(const Key& key) override {
    serialQueue_->sync([&] { innerStorage_->removeObject(key); });
  }

  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    serialQueue_->sync([&] { innerStorage_->setObject(object, key, expiry); });
  }

  void removeAll() override {
    serialQueue_->sync([&] { innerStorage_->removeAll(); });
  }

  void removeExpiredObjects() override {
    serialQueue_->sync([&] { innerStorage_->removeExpiredObjects(); });
  }

  // A storage of another value type over the same directory, on the same queue.
  template <std::copyable U>
  SyncStorage<Key, U> transform(Transformer<U> transformer) const {
    return SyncStorage<Key, U>(innerStorage_->transform(std::move(transformer)), serialQueue_);
  }

  HybridStorage<Key, Value>& innerStorage() const { return *innerStorage_; }
  platform::DispatchQueue& serialQueue() const { return *serialQueue_; }

 private:
  std::shared_ptr<HybridStorage<Key, Value>> innerStorage_;  // shared with the async side
  std::shared_ptr<platform::DispatchQueue> serialQueue_;     // shared with transformed copies
};

}  // namespace aurimo::cache
