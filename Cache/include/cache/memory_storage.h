#pragma once
// MemoryStorage<Key, Value>: the fast layer: a bounded, least-recently-used
// cache of objects with an expiry each, plus the set of keys written through
// this storage, which is what lets it sweep expired objects.
//
// The bounded cache drops objects on its own; their keys stay in `keys` on
// purpose and only leave through removeObject() and removeAll(). A key whose
// object the cache holds is stored once, in the cache, marked with the
// storage that wrote it; when the object leaves, the cache hands the key back
// to that storage's own set of keys without objects.
//
// Thread contract: every operation may be called from any thread. `keys` is
// guarded by the cache's mutex, so each operation takes exactly one lock and
// keys and objects always change together.
//
//   cache::MemoryStorage<std::string, int> storage(cache::MemoryConfig(cache::Expiry::never, 100, 0));
//   storage.setObject(42, "answer");  int answer = storage.object("answer");

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cache/entry.h"
#include "cache/expiry.h"
#include "cache/internal/bounded_cache.h"
#include "cache/memory_capsule.h"
#include "cache/memory_config.h"
#include "cache/storage_aware.h"
#include "cache/storage_error.h"

namespace aurimo::cache {

// The cache behind memory storages of one key type, whatever their values.
namespace internal {
// Never 0, never reused within the process.
inline std::uint64_t nextMemoryStorageId() {
  static std::atomic<std::uint64_t> next{1};
  return next.fetch_add(1, std::memory_order_relaxed);
}

// Takes the keys of objects leaving a memory cache back into the set of the
// storage that wrote them, for every storage sharing the cache.
template <class Key>
struct MemoryKeyOwners {
  void operator()(Key&& key, const MemoryCapsule& capsule) { handBack(std::move(key), capsule.writer); }
  template <class K>
  void handBack(K&& key, std::uint64_t writer) {
    if (writer == 0 || writer == removing) return;
    if (auto it = keysAway.find(writer); it != keysAway.end()) it->second->insert(std::forward<K>(key));
  }

  std::unordered_map<std::uint64_t, std::unordered_set<Key>*> keysAway;  // by storage id
  std::uint64_t removing = 0;  // the storage dropping keys it forgets anyway
};
}  // namespace internal

template <class Key>
using MemoryCache = internal::BoundedCache<Key, MemoryCapsule, std::hash<Key>, internal::MemoryKeyOwners<Key>>;

template <StorageKey Key, std::copyable Value>
class MemoryStorage final : public StorageAware<Key, Value> {
 public:
  explicit MemoryStorage(MemoryConfig config) : MemoryStorage(config, std::make_shared<MemoryCache<Key>>()) {}

  // Shares `cache` with other storages of the same key type; reading an
  // object another value type wrote fails with typeNotMatch. The cache's
  // limits become this config's.
  MemoryStorage(MemoryConfig config, std::shared_ptr<MemoryCache<Key>> cache)
      : config_(config), cache_(std::move(cache)), keysAway_(std::make_unique<std::unordered_set<Key>>()) {
    cache_->setCountLimit(signedLimit(config_.countLimit, "countLimit"));
    cache_->setTotalCostLimit(signedLimit(config_.totalCostLimit, "totalCostLimit"));
    cache_->withLock([&](Locked& cache) { cache.onDrop().keysAway[id_] = keysAway_.get(); });
  }

  // The id and the set move along, so the cache's entry for them stays right.
  MemoryStorage(MemoryStorage&& other) noexcept
      : config_(other.config_), id_(other.id_), cache_(std::move(other.cache_)), keysAway_(std::move(other.keysAway_)) {}
  MemoryStorage& operator=(MemoryStorage&& other) noexcept {
    if (this != &other) {
      unregister();
      config_ = other.config_;
      id_ = other.id_;
      cache_ = std::move(other.cache_);
      keysAway_ = std::move(other.keysAway_);
    }
    return *this;
  }
  ~MemoryStorage() override { unregister(); }

  // Returns expired objects too; throws notFound or typeNotMatch.
  Entry<Value> entry(const Key& key) override {
    std::optional<Entry<Value>> found;
    bool typeMatches = true;
    const bool held = cache_->read(key, [&](const MemoryCapsule& capsule) {
      if (const Value* object = capsule.object.template get<Value>()) {
        found.emplace(Entry<Value>{*object, capsule.expiration(), std::nullopt});
      } else {
        typeMatches = false;
      }
    });
    if (!held) throw StorageError(StorageError::notFound);
    if (!typeMatches) throw StorageError(StorageError::typeNotMatch);
    return std::move(*found);
  }

  // entry() without the exception, for read paths where misses are common:
  // absent when no object of this value type is held under the key.
  std::optional<Entry<Value>> entryIfPresent(const Key& key) {
    std::optional<Entry<Value>> found;
    cache_->read(key, [&](const MemoryCapsule& capsule) {
      if (const Value* object = capsule.object.template get<Value>()) {
        found.emplace(Entry<Value>{*object, capsule.expiration(), std::nullopt});
      }
    });
    return found;
  }

  void removeObject(const Key& key) override {
    cache_->withLock([&](Locked& cache) {
      removingOwn(cache, [&] { cache.removeObject(key); });
      keysAway_->erase(key);
    });
  }

  // The expiry is resolved to an absolute date now, at the write.
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    const platform::Date resolved = expiry.value_or(config_.expiry).date();
    cache_->withLock([&](Locked& cache) {
      // Rewriting a key with a value of the same type copies into the held
      // object instead of allocating a new one; readers copy under the same
      // lock, so they never see it half-written. Taking over another
      // storage's object hands its key back to that storage.
      cache.setObjectReusing(
          key, 0,
          [&](MemoryCapsule& held) {
            if (held.writer != id_) {
              cache.onDrop().handBack(key, held.writer);
              held.writer = id_;
              takeKeyBack(key);
            }
            Value* current = held.object.template get<Value>();
            if (!current) return false;
            *current = object;
            held.expiry = resolved;
            return true;
          },
          [&] {
            takeKeyBack(key);
            return MemoryCapsule{MemoryObject::of<Value>(object), resolved, id_};
          });
    });
  }

  void removeAll() override {
    cache_->withLock([&](Locked& cache) {
      removingOwn(cache, [&] { cache.removeAllObjects(); });
      keysAway_->clear();
    });
  }

  // Removes every held object that has expired, in one pass under the lock.
  void removeExpiredObjects() override {
    cache_->withLock([&](Locked& cache) {
      removingOwn(cache, [&] {
        cache.removeIf([&](const MemoryCapsule& capsule) { return capsule.writer == id_ && capsule.expiration().isExpired(); });
      });
      for (auto it = keysAway_->begin(); it != keysAway_->end();) it = removeIfExpired(cache, it);
    });
  }

  // Removes the object when the cache still holds it and it has expired.
  // A key whose object the cache dropped on its own stays in `keys`.
  void removeObjectIfExpired(const Key& key) {
    cache_->withLock([&](Locked& cache) {
      bool expired = false, mine = false;
      cache.peek(key, [&](const MemoryCapsule& capsule) {
        expired = capsule.expiration().isExpired();
        mine = capsule.writer == id_;
      });
      if (!expired) return;
      if (mine) {
        removingOwn(cache, [&] { cache.removeObject(key); });
      } else if (auto it = keysAway_->find(key); it != keysAway_->end()) {
        removeIfExpired(cache, it);
      }
    });
  }

  // A storage of another value type with the same config and its own, empty cache.
  template <std::copyable U>
  MemoryStorage<Key, U> transform() const {
    return MemoryStorage<Key, U>(config_);
  }

  const MemoryConfig& config() const { return config_; }

  // A copy of the keys written and not removed through this storage.
  std::vector<Key> keysSnapshot() const {
    return cache_->withLock([&](Locked& cache) {
      std::vector<Key> keys(keysAway_->begin(), keysAway_->end());
      cache.forEach([&](const Key& key, const MemoryCapsule& capsule) {
        if (capsule.writer == id_) keys.push_back(key);
      });
      return keys;
    });
  }

 private:
  using Locked = typename MemoryCache<Key>::Locked;
  using KeyIterator = typename std::unordered_set<Key>::iterator;

  void unregister() noexcept {
    if (cache_) cache_->withLock([&](Locked& cache) { cache.onDrop().keysAway.erase(id_); });
  }

  // A key this storage marks in the cache is not also kept among its keys away.
  void takeKeyBack(const Key& key) {
    if (!keysAway_->empty()) keysAway_->erase(key);
  }

  // Runs `remove` without handing this storage's own keys back to it.
  template <class F>
  void removingOwn(Locked& cache, F&& remove) {
    struct Restore {
      std::uint64_t& removing;
      ~Restore() { removing = 0; }
    } restore{cache.onDrop().removing};
    restore.removing = id_;
    std::forward<F>(remove)();
  }

  static std::size_t signedLimit(std::uint64_t limit, const char* name) {
    if (limit > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      std::fprintf(stderr, "cache::MemoryStorage: %s %llu is above the signed maximum\n", name,
                   static_cast<unsigned long long>(limit));
      std::abort();
    }
    return static_cast<std::size_t>(limit);
  }

  // Returns the iterator past `it`, a key away from its object here, erasing
  // it when another storage's object under it has expired, as the object does.
  KeyIterator removeIfExpired(Locked& cache, KeyIterator it) {
    bool expired = false;
    cache.peek(*it, [&](const MemoryCapsule& capsule) { expired = capsule.expiration().isExpired(); });
    if (!expired) return std::next(it);
    cache.removeObject(*it);
    return keysAway_->erase(it);
  }

  MemoryConfig config_;
  std::uint64_t id_ = internal::nextMemoryStorageId();  // tags the capsules this storage writes
  std::shared_ptr<MemoryCache<Key>> cache_;  // thread-safe; its mutex also guards keysAway_
  // Keys written here whose objects are not in the cache under this storage's
  // mark. Behind a pointer so the storage can move; guarded by cache_'s mutex.
  std::unique_ptr<std::unordered_set<Key>> keysAway_;
};

}  // namespace aurimo::cache
