// CacheHelper reads against the cache library's own Storage doing the same
// reads, measured in the same run; CacheHelper only adds routing, so the goal
// is at most 1.1x for both:
//   4 KiB read served from memory
//   4 KiB read served from disk (memory emptied before each batch)
// A batch issues one async read per key and waits for all of them.
// The caches directory is a temporary folder, removed at the end.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app_context/media/cache_helper.h"
#include "cache/storage.h"
#include "platform/directories.h"
#include "platform/dispatch_group.h"
#include "testing/environment.h"

#include "figures.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Store = aurimo::CacheHelper::DataStorage;

constexpr std::size_t kValueSize = 4096;
constexpr int kKeys = 256;

[[noreturn]] void die(const char* what) {
  std::fprintf(stderr, "cache_helper_bench: %s\n", what);
  std::abort();
}

std::vector<std::string> keys() {
  std::vector<std::string> result;
  for (int i = 0; i < kKeys; ++i) result.push_back("https://cdn.example.com/images/" + std::to_string(i) + ".jpg");
  return result;
}

// Configured as CacheHelper's "ImageCache", under another name in the same caches directory.
std::shared_ptr<Store> baselineStorage() {
  static const std::shared_ptr<Store> storage = Store::create(
      cache::DiskConfig("BaselineCache", cache::Expiry::never, aurimo::CacheHelper::kImageCacheMaxSize, std::nullopt,
                        std::nullopt),
      cache::MemoryConfig(cache::Expiry::never, 0, 0), cache::TransformerFactory::forData());
  return storage;
}

void fill(const std::vector<std::string>& names) {
  aurimo::CacheHelper helper;
  const platform::Data value(kValueSize, 7);
  for (const std::string& name : names) {
    helper.write(value, name);
    baselineStorage()->setObject(value, name);
  }
  // A read queued behind the writes waits them out.
  platform::DispatchGroup group;
  group.enter();
  helper.read(names.back(), [&group](std::optional<platform::Data>) { group.leave(); });
  group.wait();
}

void readAll(aurimo::CacheHelper& helper, const std::vector<std::string>& names) {
  platform::DispatchGroup group;
  for (const std::string& name : names) {
    group.enter();
    helper.read(name, [&group](std::optional<platform::Data> data) {
      if (!data || data->size() != kValueSize) die("CacheHelper missed");
      group.leave();
    });
  }
  group.wait();
}

void readAll(Store& storage, const std::vector<std::string>& names) {
  platform::DispatchGroup group;
  for (const std::string& name : names) {
    group.enter();
    // What CacheHelper::read does: the entry, its bytes moved out.
    storage.async().entry(name, [&group](cache::Result<cache::Entry<platform::Data>> result) {
      if (!result.isValue()) die("Storage missed");
      const platform::Data data = std::move(result).get().object;
      if (data.size() != kValueSize) die("Storage missed");
      group.leave();
    });
  }
  group.wait();
}

Store& storageOf(aurimo::CacheHelper&, const std::vector<std::string>& names) {
  return aurimo::CacheHelper::storage(names.front());
}
Store& storageOf(Store& storage, const std::vector<std::string>&) { return storage; }

// Times one batch of reads of every key; the memory layer is emptied first
// (untimed) when the batch must come from disk.
template <class Reader>
double timedBatch(Reader& reader, const std::vector<std::string>& names, bool fromDisk) {
  if (fromDisk) storageOf(reader, names).hybridStorage().memoryStorage().removeAll();
  const auto start = std::chrono::steady_clock::now();
  readAll(reader, names);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The two sides take turns, batch by batch, and each keeps its fastest batch:
// the machine's other load only ever adds time, and taking turns spreads it
// over both sides alike.
void pairedReads(benchmark::State& state, bool fromDisk) {
  const std::vector<std::string> names = keys();
  aurimo::CacheHelper helper;
  Store& storage = *baselineStorage();
  double fastestStorage = 1e9;
  double fastestHelper = 1e9;
  bool helperFirst = false;
  for (auto _ : state) {
    if (helperFirst) fastestHelper = std::min(fastestHelper, timedBatch(helper, names, fromDisk));
    fastestStorage = std::min(fastestStorage, timedBatch(storage, names, fromDisk));
    if (!helperFirst) fastestHelper = std::min(fastestHelper, timedBatch(helper, names, fromDisk));
    helperFirst = !helperFirst;
  }
  state.counters["storage_us_per_read"] = fastestStorage / kKeys * 1e6;
  state.counters["helper_us_per_read"] = fastestHelper / kKeys * 1e6;
  state.counters["ratio"] = fastestHelper / fastestStorage;
  state.counters["goal"] = 1.1;
}

void BM_MemoryRead(benchmark::State& state) { pairedReads(state, false); }
void BM_DiskRead(benchmark::State& state) { pairedReads(state, true); }

BENCHMARK(BM_MemoryRead)->Iterations(400)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DiskRead)->Iterations(400)->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace aurimo

int main(int argc, char** argv) {
  using namespace aurimo;
  // Before anything touches a storage, so nothing lands in the real caches folder.
  test::Environment environment;
  fill(keys());

  // Each benchmark carries its ratio itself: no figures to add.
  const int status = bench::runBenchmarks(argc, argv, bench::Figures());
  CacheHelper::resetStoragesForTesting();
  return status;
}
