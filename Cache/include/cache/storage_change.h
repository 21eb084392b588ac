#pragma once
// StorageChange<Key>: what storage observers are told after a mutation.
//
// Thread contract: a plain value.
//
//   auto change = cache::StorageChange<std::string>::add("k");
//   if (change == cache::StorageChange<std::string>::removeAll()) ...

#include <concepts>
#include <optional>
#include <utility>

namespace aurimo::cache {

template <class Key>
class StorageChange {
 public:
  enum class Kind { add, remove, removeAll, removeExpired };

  static StorageChange add(Key key) { return StorageChange(Kind::add, std::move(key)); }
  static StorageChange remove(Key key) { return StorageChange(Kind::remove, std::move(key)); }
  static StorageChange removeAll() { return StorageChange(Kind::removeAll, std::nullopt); }
  static StorageChange removeExpired() { return StorageChange(Kind::removeExpired, std::nullopt); }

  Kind kind() const { return kind_; }
  // The key of an `add` or `remove`; absent for the other kinds.
  const std::optional<Key>& key() const { return key_; }

  friend bool operator==(const StorageChange& a, const StorageChange& b)
    requires std::equality_comparable<Key>
  {
    return a.kind_ == b.kind_ && a.key_ == b.key_;
  }

 private:
  StorageChange(Kind kind, std::optional<Key> key) : kind_(kind), key_(std::move(key)) {}

  Kind kind_;
  std::optional<Key> key_;
};

}  // namespace aurimo::cache
