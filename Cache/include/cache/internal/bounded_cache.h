#pragma once
// BoundedCache<K, V>: a thread-safe map that drops its least recently used
// entries once it holds more than `countLimit` objects or more than
// `totalCostLimit` total cost (0 = no limit). It plays the role NSCache plays
// on the phone: callers must expect any entry to vanish between calls.
// get and set are O(1).
//
// Thread contract: every operation takes the cache's own mutex. withLock()
// runs a function under it with unlocked access, so callers can keep state of
// their own consistent with the cache under the same lock; functions given to
// read() and withLock() must not call back into the cache.
//
// Every entry that leaves (evicted, removed, cleared) is handed to `OnDrop`
// with its key moved out, under the lock; the memory storages use it to keep
// the keys they wrote without storing them a second time.
//
//   cache::internal::BoundedCache<std::string, int> cache(/*countLimit=*/2, /*totalCostLimit=*/0);
//   cache.setObject("a", 1);  int a = 0; cache.read("a", [&](const int& v) { a = v; });

#include <cstddef>
#include <functional>
#include <iterator>
#include <mutex>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace aurimo::cache::internal {

// Ignores dropped entries.
struct IgnoreDrops {
  template <class K, class V>
  void operator()(K&&, V&) {}
};

template <class K, class V, class Hash = std::hash<K>, class OnDrop = IgnoreDrops>
class BoundedCache {
 public:
  // The cache's operations without locking, handed out by withLock().
  class Locked {
   public:
    // Stores `value`, replacing an earlier one, and makes it the most recent,
    // evicting older entries as the limits require. An object whose cost alone
    // exceeds the cost limit is not kept, rather than flushing everything else.
    void setObject(const K& key, V value, std::size_t cost = 0) { cache_.setLocked(key, std::move(value), cost); }
    // Like setObject, but when `key` already holds a value, `reuse` may
    // overwrite it in place and return true, which spares building a new
    // value with `make`.
    template <class Reuse, class Make>
    void setObjectReusing(const K& key, std::size_t cost, Reuse&& reuse, Make&& make) {
      cache_.setReusingLocked(key, cost, std::forward<Reuse>(reuse), std::forward<Make>(make));
    }
    // Calls `reader` with the value under `key` and marks it most recent;
    // false when there is none.
    template <class F>
    bool read(const K& key, F&& reader) {
      return cache_.readLocked(key, std::forward<F>(reader));
    }
    // Like read, but leaves the recency order alone (for sweeps).
    template <class F>
    bool peek(const K& key, F&& reader) const {
      auto it = cache_.slots_.find(key);
      if (it == cache_.slots_.end()) return false;
      std::forward<F>(reader)(std::as_const(it->second.value));
      return true;
    }
    // Calls `visit(key, value)` for every entry, in no particular order.
    template <class F>
    void forEach(F&& visit) const {
      for (const auto& [key, slot] : cache_.slots_) visit(key, slot.value);
    }
    // Removes every entry for which `pred(value)` holds.
    template <class P>
    void removeIf(P&& pred) {
      for (auto it = cache_.slots_.begin(); it != cache_.slots_.end();) {
        it = pred(std::as_const(it->second.value)) ? cache_.eraseLocked(it) : std::next(it);
      }
    }
    void removeObject(const K& key) { cache_.removeLocked(key); }
    void removeAllObjects() { cache_.removeAllLocked(); }
    OnDrop& onDrop() { return cache_.onDrop_; }

   private:
    friend class BoundedCache;
    explicit Locked(BoundedCache& cache) : cache_(cache) {}
    BoundedCache& cache_;
  };

  explicit BoundedCache(std::size_t countLimit = 0, std::size_t totalCostLimit = 0)
      : countLimit_(countLimit), totalCostLimit_(totalCostLimit) {}
  BoundedCache(const BoundedCache&) = delete;
  BoundedCache& operator=(const BoundedCache&) = delete;

  template <class F>
  decltype(auto) withLock(F&& f) {
    std::lock_guard lock(mutex_);
    Locked locked(*this);
    return std::forward<F>(f)(locked);
  }

  void setObject(const K& key, V value, std::size_t cost = 0) {
    withLock([&](Locked& cache) { cache.setObject(key, std::move(value), cost); });
  }
  template <class F>
  bool read(const K& key, F&& reader) {
    return withLock([&](Locked& cache) { return cache.read(key, std::forward<F>(reader)); });
  }
  void removeObject(const K& key) {
    withLock([&](Locked& cache) { cache.removeObject(key); });
  }
  void removeAllObjects() {
    withLock([](Locked& cache) { cache.removeAllObjects(); });
  }

  void setCountLimit(std::size_t limit) {
    std::lock_guard lock(mutex_);
    countLimit_ = limit;
    evictOverLimits();
  }
  void setTotalCostLimit(std::size_t limit) {
    std::lock_guard lock(mutex_);
    totalCostLimit_ = limit;
    evictOverLimits();
  }
  std::size_t count() const {
    std::lock_guard lock(mutex_);
    return slots_.size();
  }
  std::size_t totalCost() const {
    std::lock_guard lock(mutex_);
    return totalCost_;
  }

 private:
  // Slots live in the map's nodes, whose addresses survive rehashing, so the
  // recency list links them directly instead of keeping a second container.
  struct Slot {
    Slot(V v, std::size_t c) : value(std::move(v)), cost(c) {}
    V value;
    std::size_t cost;
    const K* key = nullptr;  // the map node's own key
    Slot* newer = nullptr;
    Slot* older = nullptr;
  };

  void setLocked(const K& key, V value, std::size_t cost) {
    if (totalCostLimit_ && cost > totalCostLimit_) {
      removeLocked(key);
      return;
    }
    auto [it, inserted] = slots_.try_emplace(key, std::move(value), cost);
    Slot& slot = it->second;
    if (inserted) {
      slot.key = &it->first;
    } else {
      slot.value = std::move(value);  // try_emplace leaves `value` alone when the key exists
      totalCost_ -= slot.cost;
      slot.cost = cost;
      unlink(slot);
    }
    totalCost_ += cost;
    pushFront(slot);
    evictOverLimits();
  }

  template <class Reuse, class Make>
  void setReusingLocked(const K& key, std::size_t cost, Reuse&& reuse, Make&& make) {
    if (!(totalCostLimit_ && cost > totalCostLimit_)) {
      auto it = slots_.find(key);
      if (it != slots_.end() && std::forward<Reuse>(reuse)(it->second.value)) {
        Slot& slot = it->second;
        totalCost_ = totalCost_ - slot.cost + cost;
        slot.cost = cost;
        touch(slot);
        evictOverLimits();
        return;
      }
    }
    setLocked(key, std::forward<Make>(make)(), cost);
  }

  template <class F>
  bool readLocked(const K& key, F&& reader) {
    auto it = slots_.find(key);
    if (it == slots_.end()) return false;
    touch(it->second);
    std::forward<F>(reader)(std::as_const(it->second.value));
    return true;
  }

  using SlotIterator = typename std::unordered_map<K, Slot, Hash>::iterator;

  void removeLocked(const K& key) {
    if (auto it = slots_.find(key); it != slots_.end()) eraseLocked(it);
  }

  SlotIterator eraseLocked(SlotIterator it) {
    unlink(it->second);
    totalCost_ -= it->second.cost;
    auto next = std::next(it);
    auto node = slots_.extract(it);
    onDrop_(std::move(node.key()), node.mapped().value);
    return next;
  }

  void removeAllLocked() {
    if constexpr (std::is_same_v<OnDrop, IgnoreDrops>) slots_.clear();
    for (auto it = slots_.begin(); it != slots_.end();) {
      auto next = std::next(it);
      auto node = slots_.extract(it);
      onDrop_(std::move(node.key()), node.mapped().value);
      it = next;
    }
    head_ = tail_ = nullptr;
    totalCost_ = 0;
  }

  void touch(Slot& slot) {
    if (head_ == &slot) return;
    unlink(slot);
    pushFront(slot);
  }
  void unlink(Slot& slot) {
    (slot.newer ? slot.newer->older : head_) = slot.older;
    (slot.older ? slot.older->newer : tail_) = slot.newer;
    slot.newer = slot.older = nullptr;
  }
  void pushFront(Slot& slot) {
    slot.older = head_;
    slot.newer = nullptr;
    (head_ ? head_->newer : tail_) = &slot;
    head_ = &slot;
  }
  void evictOverLimits() {
    while (tail_ && ((countLimit_ && slots_.size() > countLimit_) || (totalCostLimit_ && totalCost_ > totalCostLimit_))) {
      removeLocked(*tail_->key);
    }
  }

  mutable std::mutex mutex_;
  std::unordered_map<K, Slot, Hash> slots_;  // guarded by mutex_
  Slot* head_ = nullptr;                      // most recent; guarded by mutex_
  Slot* tail_ = nullptr;                      // least recent; guarded by mutex_
  std::size_t countLimit_;                    // guarded by mutex_
  std::size_t totalCostLimit_;                // guarded by mutex_
  std::size_t totalCost_ = 0;                 // guarded by mutex_
  [[no_unique_address]] OnDrop onDrop_;       // guarded by mutex_
};

}  // namespace aurimo::cache::internal
