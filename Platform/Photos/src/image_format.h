#pragma once
// The file extension for image bytes, from their leading signature.

#include <cstdint>
#include <span>
#include <string_view>

namespace aurimo::platform::internal {

// "jpg", "png", "heic", or "" when the bytes are of no known format.
std::string_view imageFileExtension(std::span<const std::uint8_t> bytes);

}  // namespace aurimo::platform::internal
