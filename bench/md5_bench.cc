// MD5 throughput against OpenSSL's, the floor, on the same inputs.
// Each size runs both; the summary prints our time as a ratio to OpenSSL's
// (goals: <= 1.3x on short keys, >= 90% of the throughput on 64 KiB).

#include <openssl/md5.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "cache/md5.h"

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

// Collects per-iteration times so the ratios can be printed after the run.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      // The fastest repetition: the machine's other load only ever adds time.
      auto [it, inserted] = times_.emplace(run.benchmark_name(), run.GetAdjustedRealTime());
      if (!inserted) it->second = std::min(it->second, run.GetAdjustedRealTime());
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\nMD5 time as a ratio to OpenSSL (lower is better):\n");
    for (const char* size : {"16", "40", "65536"}) {
      const double ours = times_[std::string("BM_Ours/") + size];
      const double floor = times_[std::string("BM_OpenSsl/") + size];
      if (floor > 0) std::printf("  %6s B: %.2fx  (throughput %.0f%% of OpenSSL)\n", size, ours / floor,
                                 100.0 * floor / ours);
    }
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

}  // namespace aurimo

int main(int argc, char** argv) {
  using namespace aurimo;
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
}
