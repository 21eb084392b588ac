#pragma once
// MD5 (RFC 1321): the digest that names cache files. Not for security.
//
// Thread contract: pure functions, callable from any thread.
//
//   std::string name = cache::MD5("photo.jpg");   // 32 upper-case hex digits
//   cache::MD5Digest raw = cache::md5Digest(bytes.data(), bytes.size());

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace aurimo::cache {

using MD5Digest = std::array<std::uint8_t, 16>;

// Length of the hex text of a digest.
inline constexpr std::size_t kMD5HexLength = 32;

MD5Digest md5Digest(const void* bytes, std::size_t size);
inline MD5Digest md5Digest(std::span<const std::uint8_t> bytes) {
  return md5Digest(bytes.data(), bytes.size());
}
inline MD5Digest md5Digest(std::string_view text) { return md5Digest(text.data(), text.size()); }

// Writes the 32 upper-case hex digits, high nibble first, to `out` (no terminator).
void md5HexDigits(const MD5Digest& digest, char* out);

std::string md5HexString(const MD5Digest& digest);

// The digest of the text's bytes as 32 upper-case hex digits.
std::string MD5(std::string_view text);

}  // namespace aurimo::cache
