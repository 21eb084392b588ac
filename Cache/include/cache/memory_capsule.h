#pragma once
// MemoryCapsule: one object held by a memory storage, type-erased so that
// storages of different value types can share a cache, with the absolute
// expiry resolved when it was written.
//
// Thread contract: read and rewritten only under its cache's lock.
//
//   cache::MemoryCapsule capsule{std::any(42), cache::Expiry::date(when)};
//   const int* answer = std::any_cast<int>(&capsule.object);

#include <any>
#include <cstdint>

#include "cache/expiry.h"

namespace aurimo::cache {

struct MemoryCapsule {
  std::any object;
  Expiry expiry;  // always the `date` kind
  // Identifies the storage that wrote it, which lets a rewrite by the same
  // storage skip re-inserting a key it is known to hold already.
  std::uint64_t writer = 0;
};

}  // namespace aurimo::cache
