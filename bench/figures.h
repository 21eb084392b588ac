#pragma once
// Figures: the numbers a benchmark program is judged by, read off its runs
// once they are all in (ours over the floor, the fastest repetition of each,
// say). They reach bench/run_all.sh as one more run per figure in the
// --benchmark_out JSON, named after the figure, with the counters `ratio`,
// `goal` and `lower_is_better` (as bench/side_by_side.h sets them; a goal of
// 0 marks a ratio to read, not to pass or fail) and `is_count` 1 on a plain
// number, whose goal of 0 is a goal. The console gets the same rows, and those
// a run carries itself, as a block after its table, where a summary would go.
// Main thread only, as Google Benchmark's reporters are.
//
//   bench::Figures figures;
//   figures.add({"hit read vs locked map, CPU", 2}, bench::timeRatio("BM_StorageHit", "BM_MapHit", bench::Time::cpu));
//   return bench::runBenchmarks(argc, argv, figures);

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace aurimo::bench {

using Run = benchmark::BenchmarkReporter::Run;

// The name a figure asks for: the function's, with its arguments ("BM_Ours/16").
inline std::string nameOf(const Run& run) {
  return run.run_name.args.empty() ? run.run_name.function_name
                                   : run.run_name.function_name + "/" + run.run_name.args;
}

// Google Benchmark 1.8 replaced error_occurred with skipped.
template <class R>
bool failed(const R& run) {
  if constexpr (requires { run.error_occurred; }) {
    return run.error_occurred;
  } else {
    return static_cast<bool>(run.skipped);
  }
}

// Every finished iteration run so far, by name.
class Runs {
 public:
  void add(const Run& run) {
    if (run.run_type == Run::RT_Iteration && !failed(run) && run.iterations > 0) runs_[nameOf(run)].push_back(run);
  }
  const std::vector<Run>* find(const std::string& name) const {
    const auto found = runs_.find(name);
    return found == runs_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::string, std::vector<Run>> runs_;
};

enum class Time { real, cpu };

// A figure's value, or nothing while the runs it reads are not all in.
using Reading = std::function<std::optional<double>(const Runs&)>;

// Seconds per iteration of the fastest repetition: the machine's other load
// only ever adds time. Seconds, so benchmarks in different units compare.
inline std::optional<double> fastest(const std::vector<Run>* found, Time time) {
  if (!found) return std::nullopt;
  std::optional<double> best;
  for (const Run& run : *found) {
    const double total = time == Time::real ? run.real_accumulated_time : run.cpu_accumulated_time;
    const double each = total / static_cast<double>(run.iterations);
    if (!best || each < *best) best = each;
  }
  return best;
}

// The largest value a counter took: the worst repetition.
inline std::optional<double> largest(const std::vector<Run>* found, const std::string& counter) {
  if (!found) return std::nullopt;
  std::optional<double> worst;
  for (const Run& run : *found) {
    const auto value = run.counters.find(counter);
    if (value != run.counters.end() && (!worst || value->second.value > *worst)) worst = value->second.value;
  }
  return worst;
}

inline std::optional<double> quotient(std::optional<double> ours, std::optional<double> floor) {
  if (!ours || !floor || *floor <= 0) return std::nullopt;
  return *ours / *floor;
}

inline Reading timeRatio(std::string ours, std::string floor, Time time) {
  return [ours = std::move(ours), floor = std::move(floor), time](const Runs& runs) {
    return quotient(fastest(runs.find(ours), time), fastest(runs.find(floor), time));
  };
}

inline Reading counterRatio(std::string ours, std::string floor, std::string counter) {
  return [ours = std::move(ours), floor = std::move(floor), counter = std::move(counter)](const Runs& runs) {
    return quotient(largest(runs.find(ours), counter), largest(runs.find(floor), counter));
  };
}

inline Reading counter(std::string name, std::string counter) {
  return [name = std::move(name), counter = std::move(counter)](const Runs& runs) {
    return largest(runs.find(name), counter);
  };
}

struct Goal {
  std::string name;  // no '/': bench/run_all.sh cuts a run's name there
  double goal = 0;
  bool lowerIsBetter = true;
  bool isCount = false;
};

struct Figure {
  Goal goal;
  double value = 0;
};

class Figures {
 public:
  void add(Goal goal, Reading reading) { figures_.emplace_back(std::move(goal), std::move(reading)); }

  // The figures whose runs are all in; the others were filtered out or failed.
  std::vector<Figure> read(const Runs& runs) const {
    std::vector<Figure> result;
    for (const auto& [goal, reading] : figures_) {
      if (const std::optional<double> value = reading(runs)) result.push_back(Figure{goal, *value});
    }
    return result;
  }

 private:
  std::vector<std::pair<Goal, Reading>> figures_;
};

// The runs' counters as run_all.sh reads them, for rows a run carries itself.
inline std::optional<Figure> carriedFigure(const Run& run) {
  const auto ratio = run.counters.find("ratio");
  const auto goal = run.counters.find("goal");
  if (ratio == run.counters.end() || goal == run.counters.end()) return std::nullopt;
  const auto lower = run.counters.find("lower_is_better");
  const auto count = run.counters.find("is_count");
  std::string name = run.run_name.function_name;
  if (!run.report_label.empty()) name += " (" + run.report_label + ")";
  return Figure{Goal{name, goal->second.value, lower == run.counters.end() || lower->second.value != 0,
                     count != run.counters.end() && count->second.value != 0},
                ratio->second.value};
}

// A run that only carries a figure: a real run's fields, so every one the
// JSON prints is set, with no time of its own.
inline Run figureRun(const Figure& figure, Run run) {
  run.run_name = benchmark::BenchmarkName();
  run.run_name.function_name = figure.goal.name;
  run.report_label.clear();
  run.run_type = Run::RT_Iteration;
  run.aggregate_name.clear();
  run.iterations = 1;
  run.repetitions = 1;
  run.repetition_index = 0;
  run.threads = 1;
  run.real_accumulated_time = 0;
  run.cpu_accumulated_time = 0;
  run.counters = {{"ratio", figure.value}, {"goal", figure.goal.goal},
                  {"lower_is_better", figure.goal.lowerIsBetter ? 1 : 0}};
  if (figure.goal.isCount) run.counters["is_count"] = 1;
  return run;
}

class FigureFileReporter final : public benchmark::JSONReporter {
 public:
  explicit FigureFileReporter(const Figures& figures) : figures_(figures) {}

  void ReportRuns(const std::vector<Run>& reports) override {
    for (const Run& run : reports) runs_.add(run);
    if (!reports.empty()) last_ = reports.back();
    JSONReporter::ReportRuns(reports);
  }
  void Finalize() override {
    std::vector<Run> rows;
    if (last_) {
      for (const Figure& figure : figures_.read(runs_)) rows.push_back(figureRun(figure, *last_));
    }
    if (!rows.empty()) JSONReporter::ReportRuns(rows);
    JSONReporter::Finalize();
  }

 private:
  const Figures& figures_;
  Runs runs_;
  std::optional<Run> last_;
};

class FigureConsoleReporter final : public benchmark::ConsoleReporter {
 public:
  explicit FigureConsoleReporter(const Figures& figures) : figures_(figures) {}

  void ReportRuns(const std::vector<Run>& reports) override {
    for (const Run& run : reports) {
      runs_.add(run);
      if (run.run_type != Run::RT_Iteration) continue;
      if (std::optional<Figure> figure = carriedFigure(run)) carried_.push_back(std::move(*figure));
    }
    ConsoleReporter::ReportRuns(reports);
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::vector<Figure> rows = carried_;
    for (Figure& figure : figures_.read(runs_)) rows.push_back(std::move(figure));
    if (rows.empty()) return;
    std::ostream& out = GetOutputStream();
    out << "\nfigures, as bench/run_all.sh tabulates them:\n";
    for (const Figure& row : rows) {
      const Goal& goal = row.goal;
      const char* unit = goal.isCount ? "" : "x";
      char line[256];
      if (goal.goal == 0 && !goal.isCount) {
        std::snprintf(line, sizeof line, "  %-44s %9.2fx  info\n", goal.name.c_str(), row.value);
      } else {
        const bool passed = goal.lowerIsBetter ? row.value <= goal.goal : row.value >= goal.goal;
        std::snprintf(line, sizeof line, "  %-44s %9.2f%s  goal %s %g%s  %s\n", goal.name.c_str(), row.value, unit,
                      goal.lowerIsBetter ? "<=" : ">=", goal.goal, unit, passed ? "pass" : "FAIL");
      }
      out << line;
    }
    out.flush();
  }

 private:
  const Figures& figures_;
  Runs runs_;
  std::vector<Figure> carried_;
};

// Whether Google Benchmark will write a JSON file (--benchmark_out, or its
// environment variable, in the default or json format): only then may a file
// reporter of ours be handed in. Read before Initialize() strips the flags.
inline bool writesJsonFile(int argc, char** argv) {
  const char* out = std::getenv("BENCHMARK_OUT");
  const char* format = std::getenv("BENCHMARK_OUT_FORMAT");
  std::string_view file = out ? out : "";
  std::string_view kind = format ? format : "json";
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.starts_with("--benchmark_out=")) file = argument.substr(16);
    if (argument.starts_with("--benchmark_out_format=")) kind = argument.substr(23);
  }
  return !file.empty() && kind == "json";
}

// Runs the benchmarks the command line selects with the figures on the
// console and in the JSON file; returns main's exit status.
inline int runBenchmarks(int argc, char** argv, const Figures& figures) {
  const bool jsonFile = writesJsonFile(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  FigureConsoleReporter console(figures);
  std::optional<FigureFileReporter> file;
  if (jsonFile) file.emplace(figures);
  benchmark::RunSpecifiedBenchmarks(&console, file ? &*file : nullptr);
  benchmark::Shutdown();
  return 0;
}

}  // namespace aurimo::bench
