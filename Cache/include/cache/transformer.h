#pragma once
// Transformer<T>: how a value becomes bytes and back, for the disk layer.
// Either function may throw; storages pass the error on.
//
// Thread contract: immutable once built; the functions it holds must be safe
// to call from any thread (the factory's are).
//
//   cache::Transformer<std::string> text([](const std::string& s) { return platform::dataFromString(s); },
//                                        [](const platform::Data& d) { return std::string(platform::stringView(d)); });

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>

#include "platform/data.h"

namespace aurimo::cache {

template <class T>
class Transformer {
 public:
  using ToData = std::function<platform::Data(const T&)>;
  using FromData = std::function<T(const platform::Data&)>;
  // Optional: builds the value from bytes it may take over, which spares a copy.
  using FromOwnedData = std::function<T(platform::Data&&)>;

  Transformer(ToData toData, FromData fromData, FromOwnedData fromOwnedData = nullptr)
      : toData_(std::move(toData)), fromData_(std::move(fromData)), fromOwnedData_(std::move(fromOwnedData)) {
    if (!toData_ || !fromData_) {
      std::fprintf(stderr, "cache::Transformer: both functions are required\n");
      std::abort();
    }
  }

  platform::Data toData(const T& object) const { return toData_(object); }
  T fromData(const platform::Data& data) const { return fromData_(data); }
  // For bytes nobody needs afterwards, such as a file just read.
  T fromData(platform::Data&& data) const { return fromOwnedData_ ? fromOwnedData_(std::move(data)) : fromData_(data); }

 private:
  ToData toData_;
  FromData fromData_;
  FromOwnedData fromOwnedData_;  // may be empty
};

}  // namespace aurimo::cache
