#pragma once
// KeyChange<Value>: what the observer of one key is told when the key is
// written or removed.
//
// Thread contract: a plain value.
//
//   auto change = cache::KeyChange<int>::edit(std::nullopt, 1);  // first write
//   if (change.kind() == cache::KeyChange<int>::Kind::remove) ...

#include <concepts>
#include <optional>
#include <utility>

namespace aurimo::cache {

template <class Value>
class KeyChange {
 public:
  enum class Kind { edit, remove };

  // `before` is absent when the key had no readable value before the write.
  static KeyChange edit(std::optional<Value> before, Value after) {
    return KeyChange(Kind::edit, std::move(before), std::move(after));
  }
  static KeyChange remove() { return KeyChange(Kind::remove); }

  Kind kind() const { return kind_; }
  const std::optional<Value>& before() const { return before_; }
  // The written value of an `edit`; absent for `remove`.
  const std::optional<Value>& after() const { return after_; }

  friend bool operator==(const KeyChange& a, const KeyChange& b)
    requires std::equality_comparable<Value>
  {
    return a.kind_ == b.kind_ && a.before_ == b.before_ && a.after_ == b.after_;
  }

 private:
  // Builds both optionals empty in place: moving disengaged ones trips GCC 12's
  // -Wmaybe-uninitialized under the sanitizers.
  explicit KeyChange(Kind kind) : kind_(kind) {}
  KeyChange(Kind kind, std::optional<Value> before, std::optional<Value> after)
      : kind_(kind), before_(std::move(before)), after_(std::move(after)) {}

  Kind kind_;
  std::optional<Value> before_;
  std::optional<Value> after_;
};

}  // namespace aurimo::cache
