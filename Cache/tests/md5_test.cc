#include "cache/md5.h"

#include <openssl/md5.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace aurimo {
namespace {

std::string opensslHex(const std::vector<std::uint8_t>& bytes) {
  unsigned char digest[MD5_DIGEST_LENGTH];
  // The deprecated one-shot call is the simplest reference and still present in OpenSSL 3.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  ::MD5(bytes.data(), bytes.size(), digest);
#pragma GCC diagnostic pop
  cache::MD5Digest copy;
  std::copy(std::begin(digest), std::end(digest), copy.begin());
  return cache::md5HexString(copy);
}

TEST(MD5Test, MatchesTheRfc1321TestSuite) {
  struct Case {
    const char* input;
    const char* digest;
  };
  const Case cases[] = {
      {"", "D41D8CD98F00B204E9800998ECF8427E"},
      {"a", "0CC175B9C0F1B6A831C399E269772661"},
      {"abc", "900150983CD24FB0D6963F7D28E17F72"},
      {"message digest", "F96B697D7CB7938D525A2F31AAF161D0"},
      {"abcdefghijklmnopqrstuvwxyz", "C3FCD3D76192E4007DFB496CCA67E13B"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "D174AB98D277D9F5A5611C2C9F419D9F"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57EDF4A22BE3C955AC49DA2E2107B67A"},
  };
  for (const Case& c : cases) EXPECT_EQ(cache::MD5(c.input), c.digest) << '"' << c.input << '"';
}

// Every length around the one- and two-block padding boundaries (55, 56, 63,
// 64, 119, 120, ...) plus multi-block inputs that are read in place.
TEST(MD5Test, MatchesOpenSslOnRandomInputsOfEveryLength) {
  std::mt19937 random(1321);
  std::vector<std::size_t> lengths;
  for (std::size_t n = 0; n <= 300; ++n) lengths.push_back(n);
  for (std::size_t n : {4095u, 4096u, 65536u, 1000003u}) lengths.push_back(n);

  for (std::size_t length : lengths) {
    std::vector<std::uint8_t> bytes(length);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    EXPECT_EQ(cache::md5HexString(cache::md5Digest(bytes)), opensslHex(bytes)) << "length " << length;
  }
}

TEST(MD5Test, HashesUtf8BytesOfText) {
  const std::string text = "caf\xC3\xA9/\xE2\x82\xAC.png";
  EXPECT_EQ(cache::MD5(text), opensslHex({text.begin(), text.end()}));
}

}  // namespace

}  // namespace aurimo
