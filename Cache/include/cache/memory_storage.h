#pragma once
// MemoryStorage<Key, Value>: the fast layer: a bounded, least-recently-used
// cache of objects with an expiry each, plus the set of keys written through
// this storage, which is what lets it sweep expired objects.
//
// The bounded cache drops objects on its own; their keys stay in `keys` on
// purpose and only leave through removeObject() and removeAll().
//
// Thread contract: every operation may be called from any thread. `keys` is
// guarded by the storage's mutex and the cache by its own; the storage's
// mutex is always taken first.
//
//   cache::MemoryStorage<std::string, int> storage(cache::MemoryConfig(cache::Expiry::never, 100, 0));
//   storage.setObject(42, "answer");  int answer = storage.object("answer");

#include <any>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
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

namespace cache {

// The cache behind memory storages of one key type, whatever their values.
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
      : config_(config), cache_(std::move(cache)), state_(std::make_unique<KeysState>()) {
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

  void removeObject(const Key& key) override {
    std::lock_guard lock(state_->mutex);
    removeLocked(key);
  }

  // The expiry is resolved to an absolute date now, at the write.
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    MemoryCapsule capsule{std::any(object), Expiry::date(expiry.value_or(config_.expiry).date())};
    std::lock_guard lock(state_->mutex);
    cache_->setObject(key, std::move(capsule));
    state_->keys.insert(key);
  }

  void removeAll() override {
    std::lock_guard lock(state_->mutex);
    cache_->removeAllObjects();
    state_->keys.clear();
  }

  void removeExpiredObjects() override {
    for (const Key& key : keysSnapshot()) removeObjectIfExpired(key);
  }

  // Removes the object when the cache still holds it and it has expired.
  // A key whose object the cache dropped on its own stays in `keys`.
  void removeObjectIfExpired(const Key& key) {
    std::lock_guard lock(state_->mutex);
    bool expired = false;
    cache_->read(key, [&](const MemoryCapsule& capsule) { expired = capsule.expiry.isExpired(); });
    if (expired) removeLocked(key);
  }

  // A storage of another value type with the same config and its own, empty cache.
  template <std::copyable U>
  MemoryStorage<Key, U> transform() const {
    return MemoryStorage<Key, U>(config_);
  }

  const MemoryConfig& config() const { return config_; }

  // A copy of the keys written and not removed through this storage.
  std::vector<Key> keysSnapshot() const {
    std::lock_guard lock(state_->mutex);
    return std::vector<Key>(state_->keys.begin(), state_->keys.end());
  }

 private:
  struct KeysState {
    std::mutex mutex;
    std::unordered_set<Key> keys;  // guarded by mutex
  };

  static std::size_t signedLimit(std::uint64_t limit, const char* name) {
    if (limit > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      std::fprintf(stderr, "cache::MemoryStorage: %s %llu is above the signed maximum\n", name,
                   static_cast<unsigned long long>(limit));
      std::abort();
    }
    return static_cast<std::size_t>(limit);
  }

  void removeLocked(const Key& key) {
    cache_->removeObject(key);
    state_->keys.erase(key);
  }

  MemoryConfig config_;
  std::shared_ptr<MemoryCache<Key>> cache_;  // thread-safe on its own
  std::unique_ptr<KeysState> state_;         // behind a pointer so the storage can move
};

}  // namespace cache
