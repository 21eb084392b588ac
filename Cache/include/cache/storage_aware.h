#pragma once
// StorageAware<Key, Value>: the interface every storage implements. Keys are
// any type std::hash accepts; values any copyable type. Reads and writes throw
// StorageError or the platform's own errors.
//
// Thread contract: set by each implementation.
//
//   void warm(cache::StorageAware<std::string, int>& storage) { storage.setObject(1, "one"); }
//   bool fresh = !storage.isExpiredObject("one");

#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>

#include "cache/entry.h"
#include "cache/expiry.h"

namespace aurimo::cache {

template <class K>
concept StorageKey = std::copyable<K> && std::equality_comparable<K> && requires(const K& key) {
  { std::hash<K>{}(key) } -> std::convertible_to<std::size_t>;
};

template <StorageKey K, std::copyable V>
class StorageAware {
 public:
  using Key = K;
  using Value = V;

  virtual ~StorageAware() = default;

  // The stored object, expired or not; throws what entry() throws.
  virtual Value object(const Key& key) { return entry(key).object; }
  virtual Entry<Value> entry(const Key& key) = 0;
  virtual void removeObject(const Key& key) = 0;
  // An absent expiry means the storage's configured one. Overrides repeat the default.
  virtual void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) = 0;
  // Never throws: a failed read counts as "does not exist".
  virtual bool existsObject(const Key& key) {
    try {
      (void)object(key);
      return true;
    } catch (...) {
      return false;
    }
  }
  virtual void removeAll() = 0;
  virtual void removeExpiredObjects() = 0;
  // Never throws: a missing or unreadable object counts as expired.
  virtual bool isExpiredObject(const Key& key) {
    try {
      return entry(key).expiry.isExpired();
    } catch (...) {
      return true;
    }
  }

 protected:
  StorageAware() = default;
  StorageAware(const StorageAware&) = default;
  StorageAware(StorageAware&&) = default;
  StorageAware& operator=(const StorageAware&) = default;
  StorageAware& operator=(StorageAware&&) = default;
};

}  // namespace aurimo::cache
