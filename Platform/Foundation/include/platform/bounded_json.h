#pragma once
// parseBoundedJson: JSON from outside (a file, a line, an argument) parsed
// with a cap on nesting, so a hostile document cannot exhaust the stack in
// whatever walks the value afterwards (copies, conversions, dumps).
//
// Thread contract: a pure function; any thread.
//
//   std::optional<nlohmann::json> value = platform::parseBoundedJson(text);
//   if (!value) reportUnusable();

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace aurimo::platform {

inline constexpr std::size_t kMaxJsonDepth = 256;

// The value, or nullopt with `problem` (when given) saying why: not JSON, a
// number beyond the double range, or nesting deeper than kMaxJsonDepth.
std::optional<nlohmann::json> parseBoundedJson(std::string_view text, std::string* problem = nullptr);

// `message` without nlohmann's "[json.exception.parse_error.101] " prefix, for people to read.
std::string withoutJsonExceptionId(std::string message);

}  // namespace aurimo::platform
