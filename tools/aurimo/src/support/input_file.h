#pragma once
// The bytes of a file an event names ("file": PATH), read with care because
// the path comes from outside: only a regular file is read, opened so that a
// FIFO cannot block the run, and never more than a cap, so /dev/zero or a
// growing file cannot exhaust memory.
//
// Thread contract: a free function, safe from any thread.
//
//   platform::Data bytes = readInputFile(path, kInputFileLimit, "savePhoto");

#include <cstddef>
#include <string>

#include "platform/data.h"

namespace aurimo::tool {

// 64 MiB: well above any photo or cached image the app handles.
inline constexpr std::size_t kInputFileLimit = std::size_t(64) << 20;

// Throws EventError naming `event`: "open PATH: <reason>", "PATH is not a
// regular file" or "PATH is larger than 64 MiB".
platform::Data readInputFile(const std::string& path, std::size_t limit, const std::string& event);

}  // namespace aurimo::tool
