#include "image_format.h"

#include <algorithm>
#include <array>

namespace aurimo::platform::internal {
namespace {

bool startsWith(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> prefix) {
  return bytes.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), bytes.begin());
}

std::string_view fourCharacterCode(std::span<const std::uint8_t> bytes, std::size_t offset) {
  return {reinterpret_cast<const char*>(bytes.data()) + offset, 4};
}

// An ISO media file whose "ftyp" box names a HEIF brand. "mif1"/"msf1" only
// count as the major brand: AVIF files list them among their compatible brands.
bool isHeif(std::span<const std::uint8_t> bytes) {
  constexpr std::array<std::string_view, 6> kImageBrands{"heic", "heix", "heim", "heis", "hevc", "hevx"};
  constexpr std::array<std::string_view, 2> kGenericBrands{"mif1", "msf1"};
  if (bytes.size() < 12 || fourCharacterCode(bytes, 4) != "ftyp") return false;
  auto isImageBrand = [&](std::string_view brand) {
    return std::find(kImageBrands.begin(), kImageBrands.end(), brand) != kImageBrands.end();
  };
  std::string_view major = fourCharacterCode(bytes, 8);
  if (isImageBrand(major) || std::find(kGenericBrands.begin(), kGenericBrands.end(), major) != kGenericBrands.end()) {
    return true;
  }
  // Compatible brands follow the minor version, up to the end of the box.
  std::size_t boxSize = (std::size_t{bytes[0]} << 24) | (std::size_t{bytes[1]} << 16) |
                        (std::size_t{bytes[2]} << 8) | std::size_t{bytes[3]};
  std::size_t end = std::min(boxSize, bytes.size());
  for (std::size_t offset = 16; offset + 4 <= end; offset += 4) {
    if (isImageBrand(fourCharacterCode(bytes, offset))) return true;
  }
  return false;
}

}  // namespace

std::string_view imageFileExtension(std::span<const std::uint8_t> bytes) {
  constexpr std::array<std::uint8_t, 3> kJpeg{0xFF, 0xD8, 0xFF};
  constexpr std::array<std::uint8_t, 8> kPng{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  if (startsWith(bytes, kJpeg)) return "jpg";
  if (startsWith(bytes, kPng)) return "png";
  if (isHeif(bytes)) return "heic";
  return "";
}

}  // namespace aurimo::platform::internal
