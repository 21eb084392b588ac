// What three settings changes cost the thread that makes them, as the app does
// at launch: three set() calls on an idle store backed by a file in a
// temporary folder, against the same calls on an in-memory store, measured in
// the same run (CPU time of the calling thread). Between rounds, untimed, the
// queues drain, so each round starts a save of its own. The file-backed store
// saves on its own queue: the goal is no file write on the calling thread;
// the ratio is what handing one save to that queue costs the caller.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"
#include "platform/run_loop.h"
#include "platform/user_defaults.h"
#include "testing/temporary_directory.h"

#include "figures.h"

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

}  // namespace
}  // namespace aurimo

int main(int argc, char** argv) {
  using namespace aurimo;
  // Run with --benchmark_repetitions=N on a loaded machine; the figures keep the best.
  bench::Figures figures;
  figures.add({"3 sets, file vs memory store, CPU"},
              bench::timeRatio("BM_FileBacked", "BM_InMemory", bench::Time::cpu));
  figures.add({.name = "file writes on the calling thread", .isCount = true}, bench::counter("BM_FileBacked", "caller_writes"));
  // Start the worker pool first, so neither side pays for the first thread.
  platform::DispatchGroup started;
  platform::DispatchQueue::global().async(started, [] {});
  started.wait();
  return bench::runBenchmarks(argc, argv, figures);
}
