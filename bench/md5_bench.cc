// MD5 throughput against OpenSSL's, the floor, on the same inputs.
// Each size runs both; the figures are our time as a ratio to OpenSSL's, the
// fastest repetition each (goals: <= 1.3x on short keys, >= 90% of the
// throughput on 64 KiB).

#include <openssl/md5.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "cache/md5.h"

#include "figures.h"

namespace aurimo {
namespace {

std::vector<std::uint8_t> randomBytes(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::vector<std::uint8_t> bytes(size);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

void BM_Ours(benchmark::State& state) {
  const auto bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    cache::MD5Digest digest = cache::md5Digest(bytes.data(), bytes.size());
    benchmark::DoNotOptimize(digest);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

// The low-level one-shot MD5() goes straight to OpenSSL's assembly block
// function without the EVP dispatch, so it is the tightest floor on short keys.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
void BM_OpenSsl(benchmark::State& state) {
  const auto bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
  unsigned char digest[MD5_DIGEST_LENGTH];
  for (auto _ : state) {
    ::MD5(bytes.data(), bytes.size(), digest);
    benchmark::DoNotOptimize(digest);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
#pragma GCC diagnostic pop

BENCHMARK(BM_OpenSsl)->Arg(16)->Arg(40)->Arg(64 * 1024);
BENCHMARK(BM_Ours)->Arg(16)->Arg(40)->Arg(64 * 1024);

}  // namespace

}  // namespace aurimo

int main(int argc, char** argv) {
  namespace bench = aurimo::bench;
  bench::Figures figures;
  figures.add({"16 B key, time vs OpenSSL", 1.3}, bench::timeRatio("BM_Ours/16", "BM_OpenSsl/16", bench::Time::real));
  figures.add({"40 B key, time vs OpenSSL", 1.3}, bench::timeRatio("BM_Ours/40", "BM_OpenSsl/40", bench::Time::real));
  // Throughput: higher is better, so the floor's time over ours.
  figures.add({.name = "64 KiB, throughput vs OpenSSL", .goal = 0.9, .lowerIsBetter = false},
              bench::timeRatio("BM_OpenSsl/65536", "BM_Ours/65536", bench::Time::real));
  return bench::runBenchmarks(argc, argv, figures);
}
