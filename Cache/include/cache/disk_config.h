#pragma once
// DiskConfig: how a disk storage names, bounds and places its directory.
//
// Thread contract: a plain value.
//
//   cache::DiskConfig config("ImageCache", cache::Expiry::never, 50'000'000,
//                            std::nullopt, std::nullopt);

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "cache/expiry.h"

namespace aurimo::cache {

struct DiskConfig {
  DiskConfig(std::string name, Expiry expiry, std::uint64_t maxSize,
             std::optional<std::filesystem::path> directory,
             std::optional<std::string> protectionType)
      : name(std::move(name)),
        expiry(expiry),
        maxSize(maxSize),
        directory(std::move(directory)),
        protectionType(std::move(protectionType)) {}

  // Name of the cache directory inside `directory` (or the caches directory).
  std::string name;
  // Applied when a write passes no expiry.
  Expiry expiry;
  // Bytes; 0 means no size limit.
  std::uint64_t maxSize;
  // Parent of the cache directory; absent means the user's caches directory.
  std::optional<std::filesystem::path> directory;
  // File-protection class; Linux has no counterpart, so it is accepted and ignored.
  std::optional<std::string> protectionType;
};

}  // namespace aurimo::cache
