#pragma once
// Base64 (RFC 4648, standard alphabet, padded): how the platform's JSON coder
// writes bytes by default. Decoding is strict, as the platform's is: no line
// breaks, no whitespace, padding required.
//
// Thread contract: pure functions.
//
//   std::string text = platform::base64Encode(platform::dataFromString("hi"));  // "aGk="
//   std::optional<platform::Data> bytes = platform::base64Decode(text);

#include <optional>
#include <string>
#include <string_view>

#include "platform/data.h"

namespace aurimo::platform {

std::string base64Encode(const Data& data);
// Absent when `text` is not valid padded base64.
std::optional<Data> base64Decode(std::string_view text);

}  // namespace aurimo::platform
