#include "cache/md5.h"

#include <bit>
#include <cstring>

namespace aurimo::cache {
namespace {

static_assert(std::endian::native == std::endian::little,
              "md5 loads message words in host order");

inline std::uint32_t load32(const unsigned char* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

inline void store32(std::uint32_t word, unsigned char* p) { std::memcpy(p, &word, sizeof word); }

// The round functions in their cheapest equivalent forms: F as a bit-select
// without the NOT; G is folded into its step below.
#define MD5_F(x, y, z) ((z) ^ ((x) & ((y) ^ (z))))
#define MD5_H(x, y, z) ((x) ^ (y) ^ (z))
#define MD5_I(x, y, z) ((y) ^ ((x) | ~(z)))

// The message word and constant are added first: they do not depend on the
// previous step, so the adds overlap with its latency.
#define MD5_STEP(f, a, b, c, d, word, constant, shift) \
  do {                                                 \
    (a) += (word) + (constant);                        \
    (a) += f((b), (c), (d));                           \
    (a) = std::rotl((a), (shift)) + (b);               \
  } while (0)

// G as two disjoint terms added separately: (c & ~d) does not wait on b,
// which the previous step has only just produced.
#define MD5_G_STEP(a, b, c, d, word, constant, shift) \
  do {                                                \
    (a) += (word) + (constant) + ((c) & ~(d));        \
    (a) += (b) & (d);                                 \
    (a) = std::rotl((a), (shift)) + (b);              \
  } while (0)

// Processes `blocks` consecutive 64-byte blocks in place.
void transform(std::uint32_t state[4], const unsigned char* p, std::size_t blocks) {
  std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
  for (; blocks > 0; --blocks, p += 64) {
    const std::uint32_t x0 = load32(p), x1 = load32(p + 4), x2 = load32(p + 8),
                        x3 = load32(p + 12), x4 = load32(p + 16), x5 = load32(p + 20),
                        x6 = load32(p + 24), x7 = load32(p + 28), x8 = load32(p + 32),
                        x9 = load32(p + 36), x10 = load32(p + 40), x11 = load32(p + 44),
                        x12 = load32(p + 48), x13 = load32(p + 52), x14 = load32(p + 56),
                        x15 = load32(p + 60);
    const std::uint32_t aa = a, bb = b, cc = c, dd = d;

    MD5_STEP(MD5_F, a, b, c, d, x0, 0xd76aa478u, 7);
    MD5_STEP(MD5_F, d, a, b, c, x1, 0xe8c7b756u, 12);
    MD5_STEP(MD5_F, c, d, a, b, x2, 0x242070dbu, 17);
    MD5_STEP(MD5_F, b, c, d, a, x3, 0xc1bdceeeu, 22);
    MD5_STEP(MD5_F, a, b, c, d, x4, 0xf57c0fafu, 7);
    MD5_STEP(MD5_F, d, a, b, c, x5, 0x4787c62au, 12);
    MD5_STEP(MD5_F, c, d, a, b, x6, 0xa8304613u, 17);
    MD5_STEP(MD5_F, b, c, d, a, x7, 0xfd469501u, 22);
    MD5_STEP(MD5_F, a, b, c, d, x8, 0x698098d8u, 7);
    MD5_STEP(MD5_F, d, a, b, c, x9, 0x8b44f7afu, 12);
    MD5_STEP(MD5_F, c, d, a, b, x10, 0xffff5bb1u, 17);
    MD5_STEP(MD5_F, b, c, d, a, x11, 0x895cd7beu, 22);
    MD5_STEP(MD5_F, a, b, c, d, x12, 0x6b901122u, 7);
    MD5_STEP(MD5_F, d, a, b, c, x13, 0xfd987193u, 12);
    MD5_STEP(MD5_F, c, d, a, b, x14, 0xa679438eu, 17);
    MD5_STEP(MD5_F, b, c, d, a, x15, 0x49b40821u, 22);

    MD5_G_STEP(a, b, c, d, x1, 0xf61e2562u, 5);
    MD5_G_STEP(d, a, b, c, x6, 0xc040b340u, 9);
    MD5_G_STEP(c, d, a, b, x11, 0x265e5a51u, 14);
    MD5_G_STEP(b, c, d, a, x0, 0xe9b6c7aau, 20);
    MD5_G_STEP(a, b, c, d, x5, 0xd62f105du, 5);
    MD5_G_STEP(d, a, b, c, x10, 0x02441453u, 9);
    MD5_G_STEP(c, d, a, b, x15, 0xd8a1e681u, 14);
    MD5_G_STEP(b, c, d, a, x4, 0xe7d3fbc8u, 20);
    MD5_G_STEP(a, b, c, d, x9, 0x21e1cde6u, 5);
    MD5_G_STEP(d, a, b, c, x14, 0xc33707d6u, 9);
    MD5_G_STEP(c, d, a, b, x3, 0xf4d50d87u, 14);
    MD5_G_STEP(b, c, d, a, x8, 0x455a14edu, 20);
    MD5_G_STEP(a, b, c, d, x13, 0xa9e3e905u, 5);
    MD5_G_STEP(d, a, b, c, x2, 0xfcefa3f8u, 9);
    MD5_G_STEP(c, d, a, b, x7, 0x676f02d9u, 14);
    MD5_G_STEP(b, c, d, a, x12, 0x8d2a4c8au, 20);

    MD5_STEP(MD5_H, a, b, c, d, x5, 0xfffa3942u, 4);
    MD5_STEP(MD5_H, d, a, b, c, x8, 0x8771f681u, 11);
    MD5_STEP(MD5_H, c, d, a, b, x11, 0x6d9d6122u, 16);
    MD5_STEP(MD5_H, b, c, d, a, x14, 0xfde5380cu, 23);
    MD5_STEP(MD5_H, a, b, c, d, x1, 0xa4beea44u, 4);
    MD5_STEP(MD5_H, d, a, b, c, x4, 0x4bdecfa9u, 11);
    MD5_STEP(MD5_H, c, d, a, b, x7, 0xf6bb4b60u, 16);
    MD5_STEP(MD5_H, b, c, d, a, x10, 0xbebfbc70u, 23);
    MD5_STEP(MD5_H, a, b, c, d, x13, 0x289b7ec6u, 4);
    MD5_STEP(MD5_H, d, a, b, c, x0, 0xeaa127fau, 11);
    MD5_STEP(MD5_H, c, d, a, b, x3, 0xd4ef3085u, 16);
    MD5_STEP(MD5_H, b, c, d, a, x6, 0x04881d05u, 23);
    MD5_STEP(MD5_H, a, b, c, d, x9, 0xd9d4d039u, 4);
    MD5_STEP(MD5_H, d, a, b, c, x12, 0xe6db99e5u, 11);
    MD5_STEP(MD5_H, c, d, a, b, x15, 0x1fa27cf8u, 16);
    MD5_STEP(MD5_H, b, c, d, a, x2, 0xc4ac5665u, 23);

    MD5_STEP(MD5_I, a, b, c, d, x0, 0xf4292244u, 6);
    MD5_STEP(MD5_I, d, a, b, c, x7, 0x432aff97u, 10);
    MD5_STEP(MD5_I, c, d, a, b, x14, 0xab9423a7u, 15);
    MD5_STEP(MD5_I, b, c, d, a, x5, 0xfc93a039u, 21);
    MD5_STEP(MD5_I, a, b, c, d, x12, 0x655b59c3u, 6);
    MD5_STEP(MD5_I, d, a, b, c, x3, 0x8f0ccc92u, 10);
    MD5_STEP(MD5_I, c, d, a, b, x10, 0xffeff47du, 15);
    MD5_STEP(MD5_I, b, c, d, a, x1, 0x85845dd1u, 21);
    MD5_STEP(MD5_I, a, b, c, d, x8, 0x6fa87e4fu, 6);
    MD5_STEP(MD5_I, d, a, b, c, x15, 0xfe2ce6e0u, 10);
    MD5_STEP(MD5_I, c, d, a, b, x6, 0xa3014314u, 15);
    MD5_STEP(MD5_I, b, c, d, a, x13, 0x4e0811a1u, 21);
    MD5_STEP(MD5_I, a, b, c, d, x4, 0xf7537e82u, 6);
    MD5_STEP(MD5_I, d, a, b, c, x11, 0xbd3af235u, 10);
    MD5_STEP(MD5_I, c, d, a, b, x2, 0x2ad7d2bbu, 15);
    MD5_STEP(MD5_I, b, c, d, a, x9, 0xeb86d391u, 21);

    a += aa;
    b += bb;
    c += cc;
    d += dd;
  }
  state[0] = a;
  state[1] = b;
  state[2] = c;
  state[3] = d;
}

#undef MD5_STEP
#undef MD5_F
#undef MD5_G_STEP
#undef MD5_H
#undef MD5_I

}  // namespace

MD5Digest md5Digest(const void* bytes, std::size_t size) {
  std::uint32_t state[4] = {0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u};
  const auto* p = static_cast<const unsigned char*>(bytes);

  // Whole blocks straight from the caller's buffer; only the tail is copied.
  const std::size_t whole = size / 64;
  if (whole > 0) transform(state, p, whole);
  const std::size_t rest = size % 64;

  unsigned char tail[128];
  if (rest > 0) std::memcpy(tail, p + whole * 64, rest);
  tail[rest] = 0x80;
  const std::size_t tailLength = rest < 56 ? 64 : 128;
  std::memset(tail + rest + 1, 0, tailLength - rest - 1 - 8);
  const std::uint64_t bits = static_cast<std::uint64_t>(size) << 3;
  store32(static_cast<std::uint32_t>(bits), tail + tailLength - 8);
  store32(static_cast<std::uint32_t>(bits >> 32), tail + tailLength - 4);
  transform(state, tail, tailLength / 64);

  MD5Digest digest;
  for (int i = 0; i < 4; ++i) store32(state[i], digest.data() + 4 * i);
  return digest;
}

void md5HexDigits(const MD5Digest& digest, char* out) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (std::uint8_t byte : digest) {
    *out++ = kDigits[byte >> 4];
    *out++ = kDigits[byte & 0x0f];
  }
}

std::string md5HexString(const MD5Digest& digest) {
  std::string text(kMD5HexLength, '\0');
  md5HexDigits(digest, text.data());
  return text;
}

std::string MD5(std::string_view text) { return md5HexString(md5Digest(text)); }

}  // namespace aurimo::cache
