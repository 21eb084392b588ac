#pragma once
// SideBySide: times our side and its floor batch by batch, alternating which
// goes first each round (AB, BA, AB...), and reports the median of the
// per-round ratios, ours over the floor, in wall and in CPU time. Load from
// the rest of the machine lands on both sides of a round alike, and the
// median drops the rounds it hit unevenly. CPU time counts the process and
// the children it has waited for, so spawned commands are charged too.
//
// report() sets the Google Benchmark counters bench/run_all.sh collects:
// ratio, goal, lower_is_better, cpu_ratio, ours_ms, floor_ms. A goal of 0
// marks a figure to read rather than pass or fail (I/O timings, say).
//
//   bench::SideBySide sides(9);
//   sides.run([&] { ours(); }, [&] { floor(); });
//   sides.report(state, 1.3);

#include <sys/resource.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

namespace aurimo::bench {

class SideBySide {
 public:
  explicit SideBySide(int rounds) : rounds_(rounds) {}

  // Runs untimed before every batch of either side (restoring files a batch removes).
  void prepareEachBatch(std::function<void()> prepare) { prepare_ = std::move(prepare); }

  void run(const std::function<void()>& ours, const std::function<void()>& floor) {
    for (int round = 0; round < rounds_; ++round) {
      Sample mine, base;
      if (round % 2 == 0) {
        mine = time(ours);
        base = time(floor);
      } else {
        base = time(floor);
        mine = time(ours);
      }
      ours_.push_back(mine);
      floor_.push_back(base);
    }
  }

  double ratio() const { return median([](const Sample& a, const Sample& b) { return a.wall / b.wall; }); }
  double cpuRatio() const { return median([](const Sample& a, const Sample& b) { return a.cpu / b.cpu; }); }
  double oursSeconds() const { return median([](const Sample& a, const Sample&) { return a.wall; }); }
  double floorSeconds() const { return median([](const Sample&, const Sample& b) { return b.wall; }); }

  // judgeCpu: the goal is on CPU time (work a queue hands to other threads
  // shows there, not in wall time); `ratio` is then the CPU ratio.
  void report(benchmark::State& state, double goal, bool lowerIsBetter = true, bool judgeCpu = false) const {
    state.counters["ratio"] = judgeCpu ? cpuRatio() : ratio();
    state.counters["wall_ratio"] = ratio();
    state.counters["goal"] = goal;
    state.counters["lower_is_better"] = lowerIsBetter ? 1 : 0;
    state.counters["cpu_ratio"] = cpuRatio();
    state.counters["ours_ms"] = oursSeconds() * 1e3;
    state.counters["floor_ms"] = floorSeconds() * 1e3;
  }

 private:
  struct Sample {
    double wall = 0;
    double cpu = 0;
  };

  static double cpuSeconds() {
    double total = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
      struct rusage usage {};
      getrusage(who, &usage);
      for (const timeval& t : {usage.ru_utime, usage.ru_stime}) total += static_cast<double>(t.tv_sec) + t.tv_usec * 1e-6;
    }
    return total;
  }

  Sample time(const std::function<void()>& batch) const {
    if (prepare_) prepare_();
    const double cpuStart = cpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    batch();
    const auto end = std::chrono::steady_clock::now();
    return Sample{std::chrono::duration<double>(end - start).count(), cpuSeconds() - cpuStart};
  }

  template <class Of>
  double median(Of of) const {
    std::vector<double> values;
    for (std::size_t i = 0; i < ours_.size(); ++i) values.push_back(of(ours_[i], floor_[i]));
    if (values.empty()) return 0;
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
  }

  int rounds_;
  std::function<void()> prepare_;
  std::vector<Sample> ours_;
  std::vector<Sample> floor_;
};

}  // namespace aurimo::bench
