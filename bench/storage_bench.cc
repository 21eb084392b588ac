// The Storage facade against the floor of each operation, measured in the
// same run; the summary prints our time as a ratio to it:
//   memory hit (sync)   vs a mutex-guarded std::unordered_map     goal <= 3x
//   100,000 async writes vs 100,000 sync writes, CPU time         goal <= 1.05x
//   4 KiB setObject     vs open, write, futimens, close, rename   goal <= 1.3x
//   memory-miss read    vs open, fstat, read, close               goal <= 1.3x

#include <fcntl.h>
#include <time.h>
#include <sys/stat.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "cache/storage.h"
#include "platform/dispatch_group.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Store = cache::Storage<std::string, platform::Data>;

constexpr std::size_t kValueSize = 4096;
constexpr std::size_t kSmallValueSize = 64;
constexpr int kKeys = 256;
constexpr int kManyWrites = 100'000;

void check(bool ok, const char* what) {
  if (!ok) {
    std::perror(what);
    std::abort();
  }
}

class ScratchDirectory {
 public:
  explicit ScratchDirectory(const fs::path& parent = fs::temp_directory_path()) {
    std::string pattern = (parent / "storage_bench.XXXXXX").string();
    check(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
    path_ = pattern;
  }
  ~ScratchDirectory() { fs::remove_all(path_); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

std::shared_ptr<Store> makeStorage(const std::string& parent, std::uint64_t memoryCountLimit = 0) {
  return Store::create(cache::DiskConfig("Cache", cache::Expiry::never, 0, fs::path(parent), std::nullopt),
                       cache::MemoryConfig(cache::Expiry::never, memoryCountLimit, 0),
                       cache::TransformerFactory::forData());
}

std::vector<std::string> keys(int count) {
  std::vector<std::string> result;
  for (int i = 0; i < count; ++i) result.push_back("https://cdn.example.com/images/" + std::to_string(i) + ".jpg");
  return result;
}

void BM_MutexMapHit(benchmark::State& state) {
  std::mutex mutex;
  std::unordered_map<std::string, platform::Data> map;
  const auto names = keys(kKeys);
  for (const auto& name : names) map.emplace(name, platform::Data(kSmallValueSize, 7));
  std::size_t i = 0;
  for (auto _ : state) {
    std::lock_guard lock(mutex);
    platform::Data copy = map.find(names[i++ % names.size()])->second;
    benchmark::DoNotOptimize(copy);
  }
}

void BM_StorageMemoryHit(benchmark::State& state) {
  ScratchDirectory scratch;
  auto storage = makeStorage(scratch.path());
  const auto names = keys(kKeys);
  for (const auto& name : names) storage->setObject(platform::Data(kSmallValueSize, 7), name);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(storage->object(names[i++ % names.size()]));
}

struct Cost {
  double cpu;   // the process's CPU seconds: the queue's worker counts too
  double wall;  // seconds
};

double processCpuSeconds() {
  struct timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Writes kManyWrites new 256-byte values into an empty directory.
Cost manyWrites(bool async) {
  const platform::Data value(256, 7);
  std::vector<std::string> names;
  for (int i = 0; i < kManyWrites; ++i) names.push_back("key-" + std::to_string(i));
  ScratchDirectory scratch(fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path());
  auto storage = makeStorage(scratch.path(), 1000);
  const double cpuStart = processCpuSeconds();
  const auto start = std::chrono::steady_clock::now();
  if (async) {
    platform::DispatchGroup group;
    for (const auto& name : names) {
      group.enter();
      storage->async().setObject(value, name, [&group](cache::Result<void> result) {
        if (result.isError()) std::abort();
        group.leave();
      });
    }
    group.wait();
  } else {
    for (const auto& name : names) storage->setObject(value, name);
  }
  return {processCpuSeconds() - cpuStart, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()};
}

// On tmpfs when there is one: writes cost least there, so the queue's own
// overhead shows most, and ext4's slower inode allocation after mass deletes
// cannot favour whichever batch ran first. The two kinds alternate, the order
// flipped each round; `ratio` is the median async/sync ratio of CPU time,
// `wall_ratio` of wall time. sync_s and async_s keep each kind's fastest run.
void BM_ManyWrites(benchmark::State& state) {
  double sync = 1e9, async = 1e9;
  std::vector<double> cpuRatios, wallRatios;
  for (auto _ : state) {
    Cost cost[2];
    const bool asyncFirst = cpuRatios.size() % 2 == 1;
    for (const bool asyncRun : {asyncFirst, !asyncFirst}) {
      cost[asyncRun] = manyWrites(asyncRun);
      double& best = asyncRun ? async : sync;
      best = std::min(best, cost[asyncRun].wall);
    }
    cpuRatios.push_back(cost[1].cpu / cost[0].cpu);
    wallRatios.push_back(cost[1].wall / cost[0].wall);
  }
  state.counters["sync_s"] = sync;
  state.counters["async_s"] = async;
  state.counters["ratio"] = median(cpuRatios);
  state.counters["wall_ratio"] = median(wallRatios);
  state.counters["goal"] = 1.05;
}

void BM_StorageSet(benchmark::State& state) {
  ScratchDirectory scratch;
  auto storage = makeStorage(scratch.path(), kKeys);
  const platform::Data value(kValueSize, 7);
  const auto names = keys(kKeys);
  std::size_t i = 0;
  for (auto _ : state) storage->setObject(value, names[i++ % names.size()]);
}

// What a write cannot avoid, over the same file names.
void BM_RawSet(benchmark::State& state) {
  ScratchDirectory scratch;
  auto storage = makeStorage(scratch.path());
  const platform::Data value(kValueSize, 7);
  std::vector<std::string> targets;
  for (const auto& name : keys(kKeys)) targets.push_back(storage->hybridStorage().diskStorage().filePath(name));
  const std::string temporary = storage->hybridStorage().diskStorage().path() + "/.tmp";
  struct timespec times[2] = {{0, UTIME_OMIT}, {2'144'448'000, 0}};
  std::size_t i = 0;
  for (auto _ : state) {
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    check(fd >= 0, "open");
    check(::write(fd, value.data(), value.size()) == static_cast<ssize_t>(value.size()), "write");
    check(::futimens(fd, times) == 0, "futimens");
    check(::close(fd) == 0, "close");
    check(::rename(temporary.c_str(), targets[i++ % targets.size()].c_str()) == 0, "rename");
  }
}

// Memory holds one object, so cycling over 256 keys always reads the disk
// (and refills memory, as a real miss does).
void BM_StorageMemoryMiss(benchmark::State& state) {
  ScratchDirectory scratch;
  auto storage = makeStorage(scratch.path(), 1);
  const auto names = keys(kKeys);
  for (const auto& name : names) storage->setObject(platform::Data(kValueSize, 7), name);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(storage->entry(names[i++ % names.size()]));
}

void BM_RawRead(benchmark::State& state) {
  ScratchDirectory scratch;
  auto storage = makeStorage(scratch.path());
  std::vector<std::string> paths;
  for (const auto& name : keys(kKeys)) {
    storage->setObject(platform::Data(kValueSize, 7), name);
    paths.push_back(storage->hybridStorage().diskStorage().filePath(name));
  }
  std::vector<std::uint8_t> buffer(kValueSize);
  std::size_t i = 0;
  for (auto _ : state) {
    const int fd = ::open(paths[i++ % paths.size()].c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    check(fd >= 0 && ::fstat(fd, &status) == 0, "open");
    check(::read(fd, buffer.data(), static_cast<std::size_t>(status.st_size)) == status.st_size, "read");
    ::close(fd);
    benchmark::DoNotOptimize(buffer.data());
  }
}

BENCHMARK(BM_MutexMapHit);
BENCHMARK(BM_StorageMemoryHit);
BENCHMARK(BM_RawSet);
BENCHMARK(BM_StorageSet);
BENCHMARK(BM_RawRead);
BENCHMARK(BM_StorageMemoryMiss);
BENCHMARK(BM_ManyWrites)->Unit(benchmark::kSecond)->Iterations(5);

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      for (const char* counter : {"sync_s", "async_s"}) {
        if (auto it = run.counters.find(counter); it != run.counters.end()) times_[counter] = it->second;
      }
      // The fastest repetition: the machine's other load only ever adds time.
      auto [it, inserted] = times_.emplace(run.run_name.function_name, run.GetAdjustedRealTime());
      if (!inserted && run.GetAdjustedRealTime() < it->second) it->second = run.GetAdjustedRealTime();
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\nStorage time as a ratio to its floor (lower is better):\n");
    printRatio("memory hit, sync (goal <= 3x)", "BM_StorageMemoryHit", "BM_MutexMapHit");
    printRatio("100,000 async vs sync writes, wall (best runs)", "async_s", "sync_s");
    printRatio("setObject, 4 KiB (goal <= 1.3x)", "BM_StorageSet", "BM_RawSet");
    printRatio("memory-miss read, 4 KiB (goal <= 1.3x)", "BM_StorageMemoryMiss", "BM_RawRead");
  }

 private:
  void printRatio(const char* label, const std::string& ours, const std::string& floor) {
    if (times_.count(ours) && times_[floor] > 0) std::printf("  %-46s %.2fx\n", label, times_[ours] / times_[floor]);
  }
  std::map<std::string, double> times_;  // wall time per iteration
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
