#pragma once
// HybridStorage<Key, Value>: a memory storage in front of a disk storage.
// Reads try memory and refill it from disk with the file's expiry; writes go
// to both. It reports changes: storage observers hear every successful
// mutation, and one observer per key hears when that key is written or
// removed (files the disk sweep deletes included, through onRemove).
//
// Thread contract: every operation may be called from any thread. The layers
// lock their own state and the observer maps are guarded by a mutex here, but
// operations are not serialised against each other: Storage runs them on its
// queues. Callbacks run on the thread doing the mutation, never under a lock,
// so they may register or cancel observers (not call back into the same
// Storage synchronously from its sync queue). A registration cancelled while
// a notification is under way may still receive that one notification.
//
//   auto storage = cache::HybridStorage<std::string, int>::create(std::move(memory), std::move(disk));
//   cache::ObservationToken token = storage->addStorageObserver(me, [](Me&, auto&, const auto& change) { ... });

#include <concepts>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cache/disk_storage.h"
#include "cache/entry.h"
#include "cache/expiry.h"
#include "cache/key_change.h"
#include "cache/memory_storage.h"
#include "cache/observation_token.h"
#include "cache/storage_aware.h"
#include "cache/storage_change.h"
#include "cache/storage_error.h"
#include "cache/transformer.h"

namespace aurimo::cache {

template <StorageKey Key, std::copyable Value>
class HybridStorage final : public StorageAware<Key, Value>,
                            public std::enable_shared_from_this<HybridStorage<Key, Value>> {
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  using StorageCallback = std::function<void(HybridStorage&, const StorageChange<Key>&)>;
  using KeyCallback = std::function<void(HybridStorage&, const KeyChange<Value>&)>;

  // Takes over both layers and routes the disk layer's onRemove to the key observers.
  static std::shared_ptr<HybridStorage> create(MemoryStorage<Key, Value> memoryStorage,
                                               DiskStorage<Key, Value> diskStorage) {
    auto storage = std::make_shared<HybridStorage>(Passkey{}, std::move(memoryStorage), std::move(diskStorage));
    storage->diskStorage_.onRemove = [weak = std::weak_ptr<HybridStorage>(storage)](const std::string& path) {
      if (auto self = weak.lock()) self->reportRemovedFile(path);
    };
    return storage;
  }

  HybridStorage(Passkey, MemoryStorage<Key, Value> memoryStorage, DiskStorage<Key, Value> diskStorage)
      : memoryStorage_(std::move(memoryStorage)), diskStorage_(std::move(diskStorage)) {}
  HybridStorage(const HybridStorage&) = delete;
  HybridStorage& operator=(const HybridStorage&) = delete;

  // Memory first, expired or not; on a miss the disk entry (with its file
  // path), after copying it into memory with the file's expiry date.
  Entry<Value> entry(const Key& key) override {
    // Misses are the common case of a cold cache; they cost no exception.
    if (auto held = memoryStorage_.entryIfPresent(key)) return std::move(*held);
    Entry<Value> entry = diskStorage_.entry(key);
    memoryStorage_.setObject(entry.object, key, entry.expiry);
    return entry;
  }

  // entry(key).object; a disk read builds no file path for it.
  Value object(const Key& key) override {
    if (auto held = memoryStorage_.entryIfPresent(key)) return std::move(held->object);
    Entry<Value> entry = diskStorage_.entryWithoutPath(key);
    memoryStorage_.setObject(entry.object, key, entry.expiry);
    return std::move(entry.object);
  }

  // When disk fails the memory copy stays and nobody is told.
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    std::optional<KeyChange<Value>> change;
    if (hasKeyObserver(key)) {
      std::optional<Value> before;
      try {
        before = this->object(key);
      } catch (const std::exception&) {
        // Nothing readable before this write.
      }
      change = KeyChange<Value>::edit(std::move(before), object);
    }
    // Each layer applies its own configured expiry when none is given.
    memoryStorage_.setObject(object, key, expiry);
    diskStorage_.setObject(object, key, expiry);
    if (change) notifyObserver(key, *change);
    notifyStorageObservers(StorageChange<Key>::add(key));
  }

  // The key's observer hears `remove` from the disk layer's onRemove, before
  // the storage observers.
  void removeObject(const Key& key) override {
    memoryStorage_.removeObject(key);
    diskStorage_.removeObject(key);
    notifyStorageObservers(StorageChange<Key>::remove(key));
  }

  void removeAll() override {
    memoryStorage_.removeAll();
    diskStorage_.removeAll();
    notifyStorageObservers(StorageChange<Key>::removeAll());
    notifyKeyObservers(KeyChange<Value>::remove());
  }

  // Key observers hear of each file the sweep deletes as it goes.
  void removeExpiredObjects() override {
    memoryStorage_.removeExpiredObjects();
    diskStorage_.removeExpiredObjects();
    notifyStorageObservers(StorageChange<Key>::removeExpired());
  }

  // A storage of another value type over the same directory, with its own
  // empty memory and no observers.
  template <std::copyable U>
  std::shared_ptr<HybridStorage<Key, U>> transform(Transformer<U> transformer) const {
    return HybridStorage<Key, U>::create(memoryStorage_.template transform<U>(),
                                         diskStorage_.transform(std::move(transformer)));
  }

  // `closure(observer, storage, change)` runs after each successful mutation
  // while `observer` lives; once it is gone, the next notification drops it.
  template <class Observer, class Closure>
    requires std::invocable<const Closure&, Observer&, HybridStorage&, const StorageChange<Key>&>
  ObservationToken addStorageObserver(const std::shared_ptr<Observer>& observer, Closure closure) {
    requireObserver(observer.get());
    std::lock_guard lock(observationMutex_);
    const std::uint64_t id = nextObservationId_++;
    storageObservations_.emplace(
        id, std::make_shared<const StorageCallback>(
                [weakObserver = std::weak_ptr<Observer>(observer), closure = std::move(closure), id](
                    HybridStorage& storage, const StorageChange<Key>& change) {
                  if (const auto alive = weakObserver.lock()) {
                    closure(*alive, storage, change);
                  } else {
                    storage.removeStorageObservation(id);
                  }
                }));
    return ObservationToken([weak = this->weak_from_this(), id] {
      if (const auto self = weak.lock()) self->removeStorageObservation(id);
    });
  }

  void removeAllStorageObservers() {
    std::lock_guard lock(observationMutex_);
    storageObservations_.clear();
  }

  // One observer per key: a new registration replaces the earlier one. The
  // token removes whatever is registered for the key when it is cancelled,
  // so an earlier registration's token also removes a later one.
  template <class Observer, class Closure>
    requires std::invocable<const Closure&, Observer&, HybridStorage&, const KeyChange<Value>&>
  ObservationToken addObserver(const std::shared_ptr<Observer>& observer, const Key& key, Closure closure) {
    requireObserver(observer.get());
    std::string fileName = diskStorage_.fileName(key);
    std::lock_guard lock(observationMutex_);
    const std::uint64_t id = nextObservationId_++;
    keyObservations_.insert_or_assign(
        key, KeyObservation{id, std::move(fileName),
                            std::make_shared<const KeyCallback>(
                                [weakObserver = std::weak_ptr<Observer>(observer), closure = std::move(closure), key,
                                 id](HybridStorage& storage, const KeyChange<Value>& change) {
                                  if (const auto alive = weakObserver.lock()) {
                                    closure(*alive, storage, change);
                                  } else {
                                    storage.removeDeadKeyObservation(key, id);
                                  }
                                })});
    return ObservationToken([weak = this->weak_from_this(), key] {
      if (const auto self = weak.lock()) self->removeObserver(key);
    });
  }

  void removeObserver(const Key& key) {
    std::lock_guard lock(observationMutex_);
    keyObservations_.erase(key);
  }

  void removeAllKeyObservers() {
    std::lock_guard lock(observationMutex_);
    keyObservations_.clear();
  }

  MemoryStorage<Key, Value>& memoryStorage() { return memoryStorage_; }
  DiskStorage<Key, Value>& diskStorage() { return diskStorage_; }

 private:
  struct KeyObservation {
    std::uint64_t id;
    std::string fileName;  // the key's disk file name, matched against removed paths
    std::shared_ptr<const KeyCallback> callback;
  };

  static void requireObserver(const void* observer) {
    if (observer == nullptr) {
      std::fprintf(stderr, "cache::HybridStorage: an observer must not be null\n");
      std::abort();
    }
  }

  bool hasKeyObserver(const Key& key) const {
    std::lock_guard lock(observationMutex_);
    return keyObservations_.contains(key);
  }

  void removeStorageObservation(std::uint64_t id) {
    std::lock_guard lock(observationMutex_);
    storageObservations_.erase(id);
  }

  // Leaves a newer registration for the key alone.
  void removeDeadKeyObservation(const Key& key, std::uint64_t id) {
    std::lock_guard lock(observationMutex_);
    if (auto it = keyObservations_.find(key); it != keyObservations_.end() && it->second.id == id) {
      keyObservations_.erase(it);
    }
  }

  // Callbacks are copied out and called unlocked, so they may add or remove
  // registrations and a dead observer may drop its own entry.
  void notifyStorageObservers(const StorageChange<Key>& change) {
    std::vector<std::shared_ptr<const StorageCallback>> callbacks;
    {
      std::lock_guard lock(observationMutex_);
      if (storageObservations_.empty()) return;
      callbacks.reserve(storageObservations_.size());
      for (const auto& [id, callback] : storageObservations_) callbacks.push_back(callback);
    }
    for (const auto& callback : callbacks) (*callback)(*this, change);
  }

  void notifyObserver(const Key& key, const KeyChange<Value>& change) {
    std::shared_ptr<const KeyCallback> callback;
    {
      std::lock_guard lock(observationMutex_);
      if (auto it = keyObservations_.find(key); it != keyObservations_.end()) callback = it->second.callback;
    }
    if (callback) (*callback)(*this, change);
  }

  void notifyKeyObservers(const KeyChange<Value>& change) {
    std::vector<std::shared_ptr<const KeyCallback>> callbacks;
    {
      std::lock_guard lock(observationMutex_);
      callbacks.reserve(keyObservations_.size());
      for (const auto& [key, observation] : keyObservations_) callbacks.push_back(observation.callback);
    }
    for (const auto& callback : callbacks) (*callback)(*this, change);
  }

  // Tells only the first key observer whose file name occurs in `path`.
  void reportRemovedFile(const std::string& path) {
    std::shared_ptr<const KeyCallback> callback;
    {
      std::lock_guard lock(observationMutex_);
      for (const auto& [key, observation] : keyObservations_) {
        if (path.find(observation.fileName) != std::string::npos) {
          callback = observation.callback;
          break;
        }
      }
    }
    if (callback) (*callback)(*this, KeyChange<Value>::remove());
  }

  MemoryStorage<Key, Value> memoryStorage_;  // locks its own state
  DiskStorage<Key, Value> diskStorage_;      // stateless but for the directory; onRemove is set once, in create()

  mutable std::mutex observationMutex_;
  // Ordered by registration, so storage observers are told in the order they registered.
  std::map<std::uint64_t, std::shared_ptr<const StorageCallback>> storageObservations_;  // guarded by observationMutex_
  std::unordered_map<Key, KeyObservation> keyObservations_;                              // guarded by observationMutex_
  std::uint64_t nextObservationId_ = 0;                                                  // guarded by observationMutex_
};

}  // namespace aurimo::cache
