// Cost of DispatchQueue::sync. The idle case (the queue is free, the block
// runs on the caller's thread) is compared with lock+unlock of an
// uncontended std::mutex (goal: at most 3x); the busy case (a block was just
// queued, so sync waits for a worker to hand the queue over) is compared
// with the idle case.

#include <benchmark/benchmark.h>

#include <mutex>

#include "platform/dispatch_group.h"
#include "platform/dispatch_queue.h"

#include "figures.h"

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

}  // namespace

}  // namespace aurimo

int main(int argc, char** argv) {
  using namespace aurimo;
  using bench::Time;
  // Run with --benchmark_repetitions=N on a loaded machine; the figures keep the best.
  // CPU time for the cases that never block, wall time for the one that waits.
  bench::Figures figures;
  figures.add({"idle sync vs mutex lock+unlock, CPU", 3}, bench::timeRatio("BM_SyncIdle", "BM_MutexLockUnlock", Time::cpu));
  figures.add({"busy-queue sync vs idle sync, wall"},
              bench::timeRatio("BM_SyncBehindQueuedBlock", "BM_SyncIdleWall", Time::real));
  // Start the worker pool first: while a process has a single thread, glibc's mutex
  // skips its locked instructions, which no process that uses queues ever sees.
  platform::DispatchGroup started;
  platform::DispatchQueue::global().async(started, [] {});
  started.wait();
  return bench::runBenchmarks(argc, argv, figures);
}
