#pragma once
// Entry: what a storage read returns: the object, its absolute expiry and, for
// objects read from disk, the backing file's path.
//
// Thread contract: a plain value.
//
//   cache::Entry<int> entry = storage.entry("answer");
//   if (entry.expiry.isExpired()) storage.removeObject("answer");

#include <optional>
#include <string>

#include "cache/expiry.h"

namespace aurimo::cache {

template <class Value>
struct Entry {
  Value object;
  // Always the `date` kind: storages resolve expiries when they write.
  Expiry expiry;
  // Absent for entries served from memory.
  std::optional<std::string> filePath;
};

}  // namespace aurimo::cache
