#pragma once
// MemoryStorage<Key, Value>: the fast layer: a bounded, least-recently-used
// cache of objects with an expiry each, plus the set of keys written through
// this storage, which is what lets it sweep expired objects.
//
// The bounded cache drops objects on its own; their keys stay in `keys` on
// purpose and only leave through removeObject() and removeAll().
//
// Thread contract: every operation may be called from any thread. `keys` is
// guarded by the cache's mutex, so each operation takes exactly one lock and
// keys and objects always change together.
//
//   cache::MemoryStorage<std::string, int> storage(cache::MemoryConfig(cache::Expiry::never, 100, 0));
//   storage.setObject(42, "answer");  int answer = storage.object("answer");

#include <any>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
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
}  // namespace internal

template <class Key>
using MemoryCache = internal::BoundedCache<Key, MemoryCapsule>;

template <StorageKey Key, std::copyable Value>
class MemoryStorage final : public StorageAware<Key, Value> {
 public:
  explicit MemoryStorage(MemoryConfig config) : MemoryStorage(config, std::make_shared<MemoryCache<Key>>()) {}

  // Shares `cache` with other storages of the same key type; reading an
  // object another value type wrote fails with typeNotMatch. The cache's
  // limits become this config's.
  MemoryStorage(MemoryConfig config, std::shared_ptr<MemoryCache<Key>> cache)
      : config_(config), cache_(std::move(cache)), keys_(std::make_unique<std::unordered_set<Key>>()) {
    cache_->setCountLimit(signedLimit(config_.countLimit, "countLimit"));
    cache_->setTotalCostLimit(signedLimit(config_.totalCostLimit, "totalCostLimit"));
  }

  MemoryStorage(MemoryStorage&&) noexcept = default;
  MemoryStorage& operator=(MemoryStorage&&) noexcept = default;

  // Returns expired objects too; throws notFound or typeNotMatch.
  Entry<Value> entry(const Key& key) override {
    std::optional<Entry<Value>> found;
    bool typeMatches = true;
    const bool held = cache_->read(key, [&](const MemoryCapsule& capsule) {
      if (const Value* object = std::any_cast<Value>(&capsule.object)) {
        found.emplace(Entry<Value>{*object, capsule.expiry, std::nullopt});
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
      if (const Value* object = std::any_cast<Value>(&capsule.object)) {
        found.emplace(Entry<Value>{*object, capsule.expiry, std::nullopt});
      }
    });
    return found;
  }

  void removeObject(const Key& key) override {
    cache_->withLock([&](typename MemoryCache<Key>::Locked& cache) {
      cache.removeObject(key);
      keys_->erase(key);
    });
  }

  // The expiry is resolved to an absolute date now, at the write.
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    const Expiry resolved = Expiry::date(expiry.value_or(config_.expiry).date());
    cache_->withLock([&](typename MemoryCache<Key>::Locked& cache) {
      // Rewriting a key with a value of the same type copies into the held
      // object instead of allocating a new one; readers copy under the same
      // lock, so they never see it half-written. An object this storage wrote
      // and still holds means its key is in keys_: keys only leave together
      // with their objects.
      bool keyKept = false;
      cache.setObjectReusing(
          key, 0,
          [&](MemoryCapsule& held) {
            Value* current = std::any_cast<Value>(&held.object);
            if (!current) return false;
            *current = object;
            held.expiry = resolved;
            keyKept = held.writer == id_;
            held.writer = id_;
            return true;
          },
          [&] { return MemoryCapsule{std::any(object), resolved, id_}; });
      if (!keyKept) keys_->insert(key);
    });
  }

  void removeAll() override {
    cache_->withLock([&](typename MemoryCache<Key>::Locked& cache) {
      cache.removeAllObjects();
      keys_->clear();
    });
  }

  // Removes every held object that has expired, in one pass under the lock.
  void removeExpiredObjects() override {
    cache_->withLock([&](typename MemoryCache<Key>::Locked& cache) {
      for (auto it = keys_->begin(); it != keys_->end();) {
        it = removeIfExpired(cache, it);
      }
    });
  }

  // Removes the object when the cache still holds it and it has expired.
  // A key whose object the cache dropped on its own stays in `keys`.
  void removeObjectIfExpired(const Key& key) {
    cache_->withLock([&](typename MemoryCache<Key>::Locked& cache) {
      if (auto it = keys_->find(key); it != keys_->end()) removeIfExpired(cache, it);
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
    return cache_->withLock([&](typename MemoryCache<Key>::Locked&) {
      return std::vector<Key>(keys_->begin(), keys_->end());
    });
  }

 private:
  using KeyIterator = typename std::unordered_set<Key>::iterator;

  static std::size_t signedLimit(std::uint64_t limit, const char* name) {
    if (limit > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      std::fprintf(stderr, "cache::MemoryStorage: %s %llu is above the signed maximum\n", name,
                   static_cast<unsigned long long>(limit));
      std::abort();
    }
    return static_cast<std::size_t>(limit);
  }

  // Returns the iterator past `it`, erasing `it` when its object expired.
  KeyIterator removeIfExpired(typename MemoryCache<Key>::Locked& cache, KeyIterator it) {
    bool expired = false;
    cache.peek(*it, [&](const MemoryCapsule& capsule) { expired = capsule.expiry.isExpired(); });
    if (!expired) return std::next(it);
    cache.removeObject(*it);
    return keys_->erase(it);
  }

  MemoryConfig config_;
  std::uint64_t id_ = internal::nextMemoryStorageId();  // tags the capsules this storage writes
  std::shared_ptr<MemoryCache<Key>> cache_;  // thread-safe; its mutex also guards keys_
  // Behind a pointer so the storage can move; guarded by cache_'s mutex.
  std::unique_ptr<std::unordered_set<Key>> keys_;
};

}  // namespace aurimo::cache
