#pragma once
// Data: a byte buffer, as the platform's Data value type.
//
//   platform::Data bytes = platform::dataFromString("{\"object\":5}");
//   std::string_view text = platform::stringView(bytes);

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace aurimo::platform {

using Data = std::vector<std::uint8_t>;

inline Data dataFromString(std::string_view text) { return Data(text.begin(), text.end()); }

inline std::string_view stringView(const Data& data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace aurimo::platform
