#pragma once
// BoundedCache<K, V>: a thread-safe map that drops its least recently used
// entries once it holds more than `countLimit` objects or more than
// `totalCostLimit` total cost (0 = no limit). It plays the role NSCache plays
// on the phone: callers must expect any entry to vanish between calls.
// get and set are O(1).
//
// Thread contract: every operation takes the cache's own mutex; the
// function given to read() runs under it and must not call back in.
//
//   cache::internal::BoundedCache<std::string, int> cache(/*countLimit=*/2, /*totalCostLimit=*/0);
//   cache.setObject("a", 1);  int a = 0; cache.read("a", [&](const int& v) { a = v; });

#include <cstddef>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace cache::internal {

template <class K, class V, class Hash = std::hash<K>>
class BoundedCache {
 public:
  explicit BoundedCache(std::size_t countLimit = 0, std::size_t totalCostLimit = 0)
      : countLimit_(countLimit), totalCostLimit_(totalCostLimit) {}
  BoundedCache(const BoundedCache&) = delete;
  BoundedCache& operator=(const BoundedCache&) = delete;

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

  // Stores `value`, replacing an earlier one, and makes it the most recent.
  // May evict older entries, or this one when its cost alone exceeds the limit.
  void setObject(const K& key, V value, std::size_t cost = 0) {
    std::lock_guard lock(mutex_);
    auto [it, inserted] = slots_.try_emplace(key, std::move(value), cost);
    Slot& slot = it->second;
    if (inserted) {
      slot.key = &it->first;
    } else {
      slot.value = std::move(value);
      totalCost_ -= slot.cost;
      slot.cost = cost;
      unlink(slot);
    }
    totalCost_ += cost;
    pushFront(slot);
    evictOverLimits();
  }

  // Calls `reader` with the value under `key` and marks it most recent;
  // false when there is none.
  template <class F>
  bool read(const K& key, F&& reader) {
    std::lock_guard lock(mutex_);
    auto it = slots_.find(key);
    if (it == slots_.end()) return false;
    Slot& slot = it->second;
    if (head_ != &slot) {
      unlink(slot);
      pushFront(slot);
    }
    std::forward<F>(reader)(std::as_const(slot.value));
    return true;
  }

  void removeObject(const K& key) {
    std::lock_guard lock(mutex_);
    auto it = slots_.find(key);
    if (it == slots_.end()) return;
    unlink(it->second);
    totalCost_ -= it->second.cost;
    slots_.erase(it);
  }

  void removeAllObjects() {
    std::lock_guard lock(mutex_);
    slots_.clear();
    head_ = tail_ = nullptr;
    totalCost_ = 0;
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
      Slot& victim = *tail_;
      unlink(victim);
      totalCost_ -= victim.cost;
      slots_.erase(slots_.find(*victim.key));
    }
  }

  mutable std::mutex mutex_;
  std::unordered_map<K, Slot, Hash> slots_;  // guarded by mutex_
  Slot* head_ = nullptr;                      // most recent; guarded by mutex_
  Slot* tail_ = nullptr;                      // least recent; guarded by mutex_
  std::size_t countLimit_;                    // guarded by mutex_
  std::size_t totalCostLimit_;                // guarded by mutex_
  std::size_t totalCost_ = 0;                 // guarded by mutex_
};

}  // namespace cache::internal
