// The `aurimo` command as a person runs it, each process against the floor
// of the same job measured in the same run (bench/side_by_side.h):
//   cache sweep, 100,000 kept files   vs readdir + fstatat (sweep_floor)       goal <= 1.3x
//   cache sweep evicting by size      vs the same walk, sort and unlinks       goal <= 1.5x
//   start-up (`aurimo info`)          vs a minimal dynamic C++ program         goal <= 1.2x
//   run --script, 20,000 events       vs read, parse, write the same answers (run_floor)  goal <= 2.5x
// Files live on tmpfs (/dev/shm) when there is one, so the ratios measure the
// command's own work, not the disk's.

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "scratch_directory.h"
#include "side_by_side.h"

extern char** environ;

namespace aurimo {
namespace {

namespace fs = std::filesystem;

using bench::check;
using bench::ScratchDirectory;

// AURIMO_BENCH_BINARY names another build of the command to measure, say the one before a change.
const std::string& aurimoBinary() {
  static const std::string path = std::getenv("AURIMO_BENCH_BINARY") ? std::getenv("AURIMO_BENCH_BINARY") : AURIMO_BINARY;
  return path;
}

// Runs the program to completion, output to `output`; aborts unless it exits 0.
void spawn(std::vector<std::string> arguments, const std::string& output = "/dev/null") {
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t child = 0;
  check(posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0, argv[0]);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  check(::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0, argv[0]);
}

// `count` files of `size` bytes named like the library's, each dated one
// second later than the last, all in the future.
void fillCache(const std::string& directory, int count, std::size_t size) {
  fs::create_directories(directory);
  const std::string bytes(size, 'x');
  const time_t future = ::time(nullptr) + 365 * 24 * 3600;
  for (int i = 0; i < count; ++i) {
    char name[40];
    std::snprintf(name, sizeof name, "/%032X", i);
    const std::string path = directory + name;
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    check(fd >= 0 && ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "write");
    const struct timespec times[2] = {{0, UTIME_OMIT}, {future + i, 0}};
    check(::futimens(fd, times) == 0 && ::close(fd) == 0, "futimens");
  }
}

void BM_SweepProcess(benchmark::State& state) {
  ScratchDirectory scratch;
  fillCache(scratch.path() + "/Cache", 100'000, 64);
  for (auto _ : state) {
    bench::SideBySide sides(9);
    sides.run([&] { spawn({aurimoBinary(), "cache", "--dir", scratch.path(), "--name", "Cache", "sweep"}); },
              [&] { spawn({SWEEP_FLOOR, scratch.path() + "/Cache"}); });
    sides.report(state, 1.3);
  }
}

// Every batch starts from the same 20,000 files; the limit evicts about 60%.
void BM_EvictionSweepProcess(benchmark::State& state) {
  constexpr int kFiles = 20'000;
  ScratchDirectory scratch;
  const std::string directory = scratch.path() + "/Cache";
  const std::string limit = std::to_string(kFiles * 4096 * 8 / 10);
  for (auto _ : state) {
    bench::SideBySide sides(7);
    sides.prepareEachBatch([&] {
      fs::remove_all(directory);
      fillCache(directory, kFiles, 64);
    });
    sides.run([&] { spawn({aurimoBinary(), "cache", "--dir", scratch.path(), "--name", "Cache", "--max-size", limit, "sweep"}); },
              [&] { spawn({SWEEP_FLOOR, directory, limit}); });
    sides.report(state, 1.5);
  }
}

void BM_Startup(benchmark::State& state) {
  ScratchDirectory scratch;
  for (auto _ : state) {
    bench::SideBySide sides(15);
    sides.run([&] { for (int i = 0; i < 20; ++i) spawn({aurimoBinary(), "--data-dir", scratch.path(), "info"}); },
              [&] { for (int i = 0; i < 20; ++i) spawn({STARTUP_FLOOR}); });
    sides.report(state, 1.2);
  }
}

void BM_RunThroughput(benchmark::State& state) {
  ScratchDirectory scratch;
  const std::string script = scratch.path() + "/events.jsonl";
  const std::string launch = R"({"event":"launch","account":{"firebaseUserIdentifier":null,"isAnonymous":true}})";
  {
    std::ofstream out(script);
    out << launch << '\n';
    for (int i = 0; i < 10'000; ++i) out << R"({"event":"flags"})" << '\n' << R"({"event":"screen"})" << '\n';
  }
  // The answers the floor writes: what the command itself answers to each kind of event.
  const std::string sample = scratch.path() + "/sample.jsonl";
  const std::string answers = scratch.path() + "/answers.jsonl";
  std::ofstream(sample) << launch << '\n' << R"({"event":"flags"})" << '\n' << R"({"event":"screen"})" << '\n';
  spawn({aurimoBinary(), "--data-dir", scratch.path() + "/sample", "run", "--script", sample}, answers);
  for (auto _ : state) {
    bench::SideBySide sides(7);
    sides.run([&] { spawn({aurimoBinary(), "--data-dir", scratch.path(), "run", "--script", script}); },
              [&] { spawn({RUN_FLOOR, script, answers}); });
    sides.report(state, 2.5);
  }
}

BENCHMARK(BM_SweepProcess)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_EvictionSweepProcess)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Startup)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_RunThroughput)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace aurimo

BENCHMARK_MAIN();
