#include "platform/base64.h"

#include <array>
#include <cstdint>

namespace aurimo::platform {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeDecodeTable() {
  std::array<std::int8_t, 256> table{};
  for (auto& v : table) v = -1;
  for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
  return table;
}
constexpr auto kDecode = makeDecodeTable();

}  // namespace

std::string base64Encode(const Data& data) {
  std::string out;
  out.reserve((data.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= data.size(); i += 3) {
    const std::uint32_t n = (data[i] << 16) | (data[i + 1] << 8) | data[i + 2];
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += kAlphabet[n & 63];
  }
  const std::size_t rest = data.size() - i;
  if (rest > 0) {
    const std::uint32_t n = (data[i] << 16) | (rest == 2 ? data[i + 1] << 8 : 0);
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += rest == 2 ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::optional<Data> base64Decode(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  Data out;
  out.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    int padding = 0;
    std::uint32_t n = 0;
    for (std::size_t j = 0; j < 4; ++j) {
      const char c = text[i + j];
      if (c == '=' && last && j >= 2) {
        ++padding;
        n <<= 6;
        continue;
      }
      const std::int8_t v = kDecode[static_cast<unsigned char>(c)];
      if (v < 0 || padding > 0) return std::nullopt;  // bad character, or data after '='
      n = (n << 6) | static_cast<std::uint32_t>(v);
    }
    out.push_back(static_cast<std::uint8_t>(n >> 16));
    if (padding < 2) out.push_back(static_cast<std::uint8_t>(n >> 8));
    if (padding < 1) out.push_back(static_cast<std::uint8_t>(n));
  }
  return out;
}

}  // namespace aurimo::platform
