#pragma once
// MemoryConfig: the default expiry and the bounds of a memory storage.
//
// Thread contract: a plain value.
//
//   cache::MemoryConfig config(cache::Expiry::seconds(300), 1000, 0);
//   cache::MemoryStorage<std::string, int> storage(config);

#include <cstdint>

#include "cache/expiry.h"

namespace aurimo::cache {

struct MemoryConfig {
  MemoryConfig(Expiry expiry, std::uint64_t countLimit, std::uint64_t totalCostLimit)
      : expiry(expiry), countLimit(countLimit), totalCostLimit(totalCostLimit) {}

  // Applied when a write passes no expiry.
  Expiry expiry;
  // Most objects held at once; 0 means no limit.
  std::uint64_t countLimit;
  // Most total cost held at once; 0 means no limit. Writes carry no cost, so
  // in practice the count limit is the bound.
  std::uint64_t totalCostLimit;
};

}  // namespace aurimo::cache
