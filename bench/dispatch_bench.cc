// Cost of DispatchQueue::sync. The idle case (the queue is free, the block
// runs on the caller's thread) is compared with lock+unlock of an
// uncontended std::mutex (goal: at most 3x); the busy case (a block was just
// queued, so sync waits for a worker to hand the queue over) is compared
// with the idle case.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <string>

#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"

namespace aurimo {
namespace {

void BM_MutexLockUnlock(benchmark::State& state) {
  std::mutex mutex;
  int value = 0;
  for (auto _ : state) {
    mutex.lock();
    benchmark::DoNotOptimize(++value);
    mutex.unlock();
  }
}

void BM_SyncIdle(benchmark::State& state) {
  platform::DispatchQueue queue("bench.idle");
  int value = 0;
  for (auto _ : state) {
    queue.sync([&] { benchmark::DoNotOptimize(++value); });
  }
}

void BM_SyncBehindQueuedBlock(benchmark::State& state) {
  platform::DispatchQueue queue("bench.busy");
  int value = 0;
  for (auto _ : state) {
    queue.async([&] { benchmark::DoNotOptimize(++value); });
    queue.sync([&] { benchmark::DoNotOptimize(++value); });
  }
}

BENCHMARK(BM_MutexLockUnlock);
BENCHMARK(BM_SyncIdle);
BENCHMARK(BM_SyncIdle)->Name("BM_SyncIdleWall")->UseRealTime();
BENCHMARK(BM_SyncBehindQueuedBlock)->UseRealTime();

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      // The fastest repetition: the machine's other load only ever adds time.
      // CPU time for the non-blocking cases, wall time for the one that waits.
      const std::string name = run.benchmark_name();
      const double time = name.ends_with("real_time") ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
      auto [slot, fresh] = times_.try_emplace(name, time);
      if (!fresh && time < slot->second) slot->second = time;
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    const double mutex = times_["BM_MutexLockUnlock"];
    const double idle = times_["BM_SyncIdle"];
    const double idleWall = times_["BM_SyncIdleWall/real_time"];
    const double busy = times_["BM_SyncBehindQueuedBlock/real_time"];
    if (mutex <= 0 || idle <= 0) return;
    std::printf("\nsync on an idle serial queue: %.2fx mutex lock+unlock (goal <= 3x)\n", idle / mutex);
    if (busy > 0 && idleWall > 0) {
      std::printf("sync handed over by a busy queue: %.0f ns, %.0fx the idle sync (wall time)\n", busy,
                  busy / idleWall);
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
  // Run with --benchmark_repetitions=N on a loaded machine; the summary keeps the best.
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // Start the worker pool first: while a process has a single thread, glibc's mutex
  // skips its locked instructions, which no process that uses queues ever sees.
  platform::DispatchGroup started;
  platform::DispatchQueue::global().async(started, [] {});
  started.wait();
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
