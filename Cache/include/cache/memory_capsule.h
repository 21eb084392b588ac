#pragma once
// MemoryCapsule: one object held by a memory storage, type-erased so that
// storages of different value types can share a cache, with the absolute
// expiry resolved when it was written.
//
// Thread contract: read and rewritten only under its cache's lock.
//
//   cache::MemoryCapsule capsule{cache::MemoryObject::of(42), when};
//   const int* answer = capsule.object.get<int>();

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "cache/expiry.h"

namespace aurimo::cache {

// Holds one object of any copyable type. Objects up to 32 bytes (strings,
// vectors, numbers) sit inside it rather than in a heap block of their own,
// which is most of what a cache entry would otherwise cost beyond its bytes.
class MemoryObject {
 public:
  MemoryObject() = default;
  template <class T>
  static MemoryObject of(T value) {
    MemoryObject object;
    if constexpr (fitsInPlace<T>) {
      ::new (static_cast<void*>(object.buffer_)) T(std::move(value));
    } else {
      *reinterpret_cast<T**>(object.buffer_) = new T(std::move(value));
    }
    object.ops_ = &opsFor<T>;
    return object;
  }
  MemoryObject(MemoryObject&& other) noexcept : ops_(other.ops_) {
    if (ops_) ops_->move(other.buffer_, buffer_);
    other.ops_ = nullptr;
  }
  MemoryObject& operator=(MemoryObject&& other) noexcept {
    if (this != &other) {
      reset();
      ops_ = other.ops_;
      if (ops_) ops_->move(other.buffer_, buffer_);
      other.ops_ = nullptr;
    }
    return *this;
  }
  MemoryObject(const MemoryObject&) = delete;
  MemoryObject& operator=(const MemoryObject&) = delete;
  ~MemoryObject() { reset(); }

  // The object when it is a T, else nullptr.
  template <class T>
  T* get() {
    return holds<T>() ? address<T>() : nullptr;
  }
  template <class T>
  const T* get() const {
    return holds<T>() ? const_cast<MemoryObject*>(this)->address<T>() : nullptr;
  }

 private:
  static constexpr std::size_t kInPlaceBytes = 32;
  template <class T>
  static constexpr bool fitsInPlace = sizeof(T) <= kInPlaceBytes && alignof(T) <= alignof(void*) &&
                                      std::is_nothrow_move_constructible_v<T>;

  struct Ops {
    const std::type_info& type;
    void (*destroy)(void* buffer) noexcept;
    void (*move)(void* from, void* to) noexcept;  // leaves `from` destroyed
  };
  template <class T>
  static constexpr Ops opsFor{
      typeid(T),
      [](void* buffer) noexcept {
        if constexpr (fitsInPlace<T>) {
          static_cast<T*>(buffer)->~T();
        } else {
          delete *static_cast<T**>(buffer);
        }
      },
      [](void* from, void* to) noexcept {
        if constexpr (fitsInPlace<T>) {
          ::new (to) T(std::move(*static_cast<T*>(from)));
          static_cast<T*>(from)->~T();
        } else {
          *static_cast<T**>(to) = *static_cast<T**>(from);
        }
      }};

  template <class T>
  bool holds() const {
    // The table's address settles it, except across shared libraries, which
    // may each carry their own copy of the table.
    return ops_ == &opsFor<T> || (ops_ && ops_->type == typeid(T));
  }
  template <class T>
  T* address() {
    if constexpr (fitsInPlace<T>) {
      return std::launder(reinterpret_cast<T*>(buffer_));
    } else {
      return *reinterpret_cast<T**>(buffer_);
    }
  }
  void reset() noexcept {
    if (ops_) ops_->destroy(buffer_);
    ops_ = nullptr;
  }

  const Ops* ops_ = nullptr;
  alignas(void*) unsigned char buffer_[kInPlaceBytes];
};

struct MemoryCapsule {
  // The expiry as storages hand it out: always the `date` kind.
  Expiry expiration() const { return Expiry::date(expiry); }

  MemoryObject object;
  // The absolute date alone, a third of an Expiry, since it is always a date.
  platform::Date expiry;
  // The storage whose written keys include this one; a key that leaves the
  // cache goes back to that storage's own list, so it is stored once.
  std::uint64_t writer = 0;
};

}  // namespace aurimo::cache
