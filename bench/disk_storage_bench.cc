// DiskStorage against the raw system calls each operation needs, measured in
// the same run. The figures are our time as a ratio to that floor, the
// fastest repetition each (goals: write and read <= 1.3x, a sweep of 100,000
// files <= 1.5x, object() <= 1.05x the lowered floor in CPU time).
//
// With --side-by-side <directory> <keys> <gets> it instead runs the workload
// of bench/diskcache_side_by_side.py and prints operations per second as JSON.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "cache/disk_storage.h"
#include "cache/transformer_factory.h"
#include "platform/file_manager.h"

#include "figures.h"
#include "scratch_directory.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Storage = cache::DiskStorage<std::string, platform::Data>;

constexpr std::size_t kValueSize = 4096;
constexpr int kKeys = 256;
constexpr int kSweepFiles = 100'000;

using bench::check;
using bench::ScratchDirectory;

// Where writes and reads are measured: a RAM file system by default, so the
// ratio shows our cost over the system calls rather than the disk's queue
// (ext4 flushes a file renamed over another one). AURIMO_BENCH_DIR overrides.
fs::path syscallBase() {
  if (const char* directory = std::getenv("AURIMO_BENCH_DIR")) return directory;
  if (fs::is_directory("/dev/shm")) return "/dev/shm";
  return fs::temp_directory_path();
}

Storage makeStorage(const std::string& parent, std::uint64_t maxSize = 0) {
  return Storage(cache::DiskConfig("Cache", cache::Expiry::never, maxSize, fs::path(parent), std::nullopt),
                 platform::FileManager::defaultManager(), cache::TransformerFactory::forData());
}

std::vector<std::string> keys(int count, const char* stem) {
  std::vector<std::string> result;
  for (int i = 0; i < count; ++i) result.push_back(std::string(stem) + std::to_string(i) + ".jpg");
  return result;
}

struct timespec expiryTime() {
  struct timespec time{};
  time.tv_sec = 2'144'448'000;
  return time;
}

void BM_StorageSet(benchmark::State& state) {
  ScratchDirectory scratch(syscallBase());
  Storage storage = makeStorage(scratch.path());
  const platform::Data value(kValueSize, 7);
  const auto names = keys(kKeys, "https://cdn.example.com/images/");
  std::size_t i = 0;
  for (auto _ : state) storage.setObject(value, names[i++ % names.size()]);
}

// What a write cannot avoid: create a temporary, write, set the time, close,
// rename over the same file names the storage uses.
void BM_RawSet(benchmark::State& state) {
  ScratchDirectory scratch(syscallBase());
  Storage storage = makeStorage(scratch.path());
  const std::vector<std::uint8_t> value(kValueSize, 7);
  std::vector<std::string> targets;
  for (const auto& name : keys(kKeys, "https://cdn.example.com/images/")) targets.push_back(storage.filePath(name));
  const std::string temporary = storage.path() + "/.tmp";
  const struct timespec times[2] = {{0, UTIME_OMIT}, expiryTime()};
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

void BM_StorageRead(benchmark::State& state) {
  ScratchDirectory scratch(syscallBase());
  Storage storage = makeStorage(scratch.path());
  const auto names = keys(kKeys, "https://cdn.example.com/images/");
  for (const auto& name : names) storage.setObject(platform::Data(kValueSize, 7), name);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(storage.entry(names[i++ % names.size()]));
}

// Reads the files the storage wrote: open, fstat, read, close. O_NOATIME as
// the storage does: without it every read of a future-dated file writes atime.
void BM_RawRead(benchmark::State& state) {
  ScratchDirectory scratch(syscallBase());
  Storage storage = makeStorage(scratch.path());
  std::vector<std::string> paths;
  for (const auto& name : keys(kKeys, "https://cdn.example.com/images/")) {
    storage.setObject(platform::Data(kValueSize, 7), name);
    paths.push_back(storage.filePath(name));
  }
  std::vector<std::uint8_t> buffer(kValueSize);
  std::size_t i = 0;
  for (auto _ : state) {
    const int fd = ::open(paths[i++ % paths.size()].c_str(), O_RDONLY | O_CLOEXEC | O_NOATIME);
    struct stat status;
    check(fd >= 0 && ::fstat(fd, &status) == 0, "open");
    check(::read(fd, buffer.data(), static_cast<std::size_t>(status.st_size)) == status.st_size, "read");
    ::close(fd);
    benchmark::DoNotOptimize(buffer.data());
  }
}

// Thread CPU time: system calls count, other processes' load does not.
double cpuSeconds() {
  struct timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// object() over 10,000 files against the floor a get cannot go below: openat
// relative to the open folder, fstat, read into a reused buffer, close, over
// the same names. The two alternate batch by batch, the order flipped each
// round; the counters are the median ratios (CPU time, and wall time).
void BM_DiskGetVsFloor(benchmark::State& state) {
  constexpr int kGetKeys = 10'000;
  ScratchDirectory scratch(syscallBase());
  Storage storage = makeStorage(scratch.path());
  const auto names = keys(kGetKeys, "https://cdn.example.com/images/");
  std::vector<std::string> fileNames;
  for (const auto& name : names) {
    storage.setObject(platform::Data(kValueSize, 7), name);
    fileNames.push_back(storage.fileName(name));
  }
  const int folder = ::open(storage.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  check(folder >= 0, "open");
  std::vector<std::uint8_t> buffer(kValueSize);
  const auto ours = [&] {
    for (const auto& name : names) benchmark::DoNotOptimize(storage.object(name));
  };
  const auto floor = [&] {
    for (const auto& name : fileNames) {
      const int fd = ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOATIME);
      struct stat status;
      check(fd >= 0 && ::fstat(fd, &status) == 0, "openat");
      check(::read(fd, buffer.data(), static_cast<std::size_t>(status.st_size)) == status.st_size, "read");
      ::close(fd);
      benchmark::DoNotOptimize(buffer.data());
    }
  };
  std::vector<double> cpuRatios, wallRatios;
  for (auto _ : state) {
    double cpu[2], wall[2];
    for (const int side : {cpuRatios.size() % 2, 1 - cpuRatios.size() % 2}) {
      const double cpuStart = cpuSeconds();
      const auto wallStart = std::chrono::steady_clock::now();
      side == 0 ? ours() : floor();
      cpu[side] = cpuSeconds() - cpuStart;
      wall[side] = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
    }
    cpuRatios.push_back(cpu[0] / cpu[1]);
    wallRatios.push_back(wall[0] / wall[1]);
  }
  ::close(folder);
  state.counters["ratio"] = median(cpuRatios);
  state.counters["wall_ratio"] = median(wallRatios);
  state.counters["goal"] = 1.05;
  state.SetLabel("CPU time");
}

// 100,000 unexpired files, shared so both sweeps walk the same tree.
const std::string& sweepDirectory() {
  static ScratchDirectory scratch(fs::temp_directory_path());
  static const std::string path = [] {
    Storage storage = makeStorage(scratch.path());
    const platform::Data value(100, 7);
    for (const auto& name : keys(kSweepFiles, "sweep/")) storage.setObject(value, name);
    return storage.path();
  }();
  return path;
}

void BM_StorageSweep(benchmark::State& state) {
  const std::string& directory = sweepDirectory();
  Storage storage(cache::DiskConfig("Cache", cache::Expiry::never, 0, std::nullopt, std::nullopt),
                  platform::FileManager::defaultManager(), directory, cache::TransformerFactory::forData());
  for (auto _ : state) storage.removeExpiredObjects();
}

void BM_RawSweep(benchmark::State& state) {
  const std::string& directory = sweepDirectory();
  for (auto _ : state) {
    DIR* stream = ::opendir(directory.c_str());
    check(stream != nullptr, "opendir");
    std::uint64_t total = 0;
    struct stat status;
    while (const struct dirent* item = ::readdir(stream)) {
      if (item->d_name[0] == '.') continue;
      check(::fstatat(::dirfd(stream), item->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0, "fstatat");
      total += static_cast<std::uint64_t>(status.st_blocks) * 512;
    }
    ::closedir(stream);
    benchmark::DoNotOptimize(total);
  }
}

BENCHMARK(BM_RawSet);
BENCHMARK(BM_StorageSet);
BENCHMARK(BM_RawRead);
BENCHMARK(BM_StorageRead);
BENCHMARK(BM_DiskGetVsFloor)->Unit(benchmark::kMillisecond)->Iterations(20);
BENCHMARK(BM_RawSweep)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_StorageSweep)->Unit(benchmark::kMillisecond)->Iterations(10);

// The side-by-side workload: `count` writes of new 4 KiB values, then `gets`
// reads cycling over the first `hotKeys` keys.
int sideBySide(const std::string& parent, int count, int gets, int hotKeys) {
  Storage storage = makeStorage(parent);
  const platform::Data value(kValueSize, 7);
  const auto names = keys(count, "key-");
  using Clock = std::chrono::steady_clock;
  auto start = Clock::now();
  for (const auto& name : names) storage.setObject(value, name);
  const double setSeconds = std::chrono::duration<double>(Clock::now() - start).count();
  const int hot = std::max(1, std::min(count, hotKeys));
  start = Clock::now();
  std::size_t bytes = 0;
  for (int i = 0; i < gets; ++i) bytes += storage.object(names[static_cast<std::size_t>(i % hot)]).size();
  const double getSeconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (bytes != static_cast<std::size_t>(gets) * kValueSize) return 1;
  std::printf("{\"set_new_keys_ops_per_s\": %.0f, \"hot_get_ops_per_s\": %.0f}\n", count / setSeconds,
              gets / getSeconds);
  return 0;
}

}  // namespace

}  // namespace aurimo

int main(int argc, char** argv) {
  if ((argc == 5 || argc == 6) && std::strcmp(argv[1], "--side-by-side") == 0) {
    return aurimo::sideBySide(argv[2], std::atoi(argv[3]), std::atoi(argv[4]), argc == 6 ? std::atoi(argv[5]) : 100);
  }
  namespace bench = aurimo::bench;
  using bench::Time;
  bench::Figures figures;
  figures.add({"setObject 4 KiB vs syscalls", 1.3}, bench::timeRatio("BM_StorageSet", "BM_RawSet", Time::real));
  figures.add({"setObject 4 KiB vs syscalls, CPU"}, bench::timeRatio("BM_StorageSet", "BM_RawSet", Time::cpu));
  figures.add({"entry 4 KiB vs syscalls", 1.3}, bench::timeRatio("BM_StorageRead", "BM_RawRead", Time::real));
  figures.add({"entry 4 KiB vs syscalls, CPU"}, bench::timeRatio("BM_StorageRead", "BM_RawRead", Time::cpu));
  figures.add({"sweep of 100,000 files vs syscalls", 1.5},
              bench::timeRatio("BM_StorageSweep", "BM_RawSweep", Time::real));
  return bench::runBenchmarks(argc, argv, figures);
}
