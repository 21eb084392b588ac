// What three settings changes cost the thread that makes them, as the app does
// at launch: three set() calls on an idle store backed by a file in a
// temporary folder, against the same calls on an in-memory store, measured in
// the same run (CPU time of the calling thread). Between rounds, untimed, the
// queues drain, so each round starts a save of its own. The file-backed store
// saves on its own queue: the goal is no file write on the calling thread;
// the ratio is what handing one save to that queue costs the caller.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <map>
#include <string>
#include <thread>

#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"
#include "platform/run_loop.h"
#include "platform/user_defaults.h"
#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

using platform::UserDefaults;

// Counts atomic writes (each makes one temporary file), and those made on the
// thread that created the wrapper apart.
class CountingFiles : public platform::FileManagerWrapper {
 public:
  CountingFiles() : FileManagerWrapper(platform::FileManager::defaultManager()) {}

  platform::WritableFile createTemporaryFile(const std::string& directory, std::string_view prefix) override {
    ++writes;
    if (std::this_thread::get_id() == caller_) ++callerWrites;
    return FileManagerWrapper::createTemporaryFile(directory, prefix);
  }

  std::atomic<int> writes{0};
  std::atomic<int> callerWrites{0};

 private:
  const std::thread::id caller_ = std::this_thread::get_id();
};

void threeSets(UserDefaults& defaults, std::int64_t launch) {
  defaults.set(true, "Onboarding.shown");
  defaults.set(launch, "Launch.count");
  defaults.set("2.4.1", "App.lastVersion");
}

// Both sides pause alike, so the cost of pausing falls on both.
void rounds(benchmark::State& state, UserDefaults& defaults) {
  std::int64_t launch = 0;
  for (auto _ : state) {
    threeSets(defaults, ++launch);
    state.PauseTiming();
    platform::RunLoop::main().runUntilAllQueuesIdle();
    state.ResumeTiming();
  }
}

void BM_InMemory(benchmark::State& state) {
  UserDefaults defaults;
  rounds(state, defaults);
}

void BM_FileBacked(benchmark::State& state) {
  test::TemporaryDirectory folder;
  CountingFiles files;
  UserDefaults defaults(folder.path() / UserDefaults::kFileName, files);
  rounds(state, defaults);
  state.counters["caller_writes"] = files.callerWrites.load();
  state.counters["writes"] = files.writes.load();
  state.counters["rounds"] = static_cast<double>(state.iterations());
}

// Every file-backed round waits for a durable write: a fixed count keeps the run short.
BENCHMARK(BM_InMemory)->Iterations(500);
BENCHMARK(BM_FileBacked)->Iterations(500);

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      // The fastest repetition: the machine's other load only ever adds time.
      const std::string name = run.run_name.function_name;
      auto [slot, fresh] = times_.try_emplace(name, run.GetAdjustedCPUTime());
      if (!fresh && run.GetAdjustedCPUTime() < slot->second) slot->second = run.GetAdjustedCPUTime();
      for (const auto& [counter, value] : run.counters) counters_[counter] += value.value;
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    const double memory = times_["BM_InMemory"];
    const double file = times_["BM_FileBacked"];
    if (memory <= 0 || file <= 0) return;
    std::printf("\nthree set() on a file-backed store: %.2fx the in-memory store's (calling thread's CPU time)\n",
                file / memory);
    std::printf("file writes on the calling thread: %.0f (goal 0); %.0f writes in all for %.0f rounds\n",
                counters_["caller_writes"], counters_["writes"], counters_["rounds"]);
  }

 private:
  std::map<std::string, double> times_;
  std::map<std::string, double> counters_;
};

}  // namespace
}  // namespace aurimo

int main(int argc, char** argv) {
  using namespace aurimo;
  benchmark::Initialize(&argc, argv);
  // Run with --benchmark_repetitions=N on a loaded machine; the summary keeps the best.
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // Start the worker pool first, so neither side pays for the first thread.
  platform::DispatchGroup started;
  platform::DispatchQueue::global().async(started, [] {});
  started.wait();
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
