#!/bin/bash
# Runs every benchmark and prints one table: metric, goal, measured ratio,
# pass/fail. Each Google Benchmark program writes its runs to a JSON file
# (--benchmark_out; stdout carries its console table and summaries) and
# reports each figure with a goal as the counters `ratio` and `goal`
# (`lower_is_better` 0 when higher is better; a goal of 0 marks a ratio
# without a goal; `is_count` 1 a plain number, whose goal of 0 is a goal):
# bench/side_by_side.h sets them on a run, bench/figures.h adds a run per
# figure read off several. The python side-by-side prints its rows itself.
# A program that fails, or whose JSON does not parse, fails the whole run.
#
#   bash bench/run_all.sh [BUILD_DIR]   # default build/release; extra: BENCH_FILTER=regex
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/release}
bench=$build/bench
[ -d "$bench" ] || { echo "run_all: no $bench; build the release preset first" >&2; exit 2; }
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

# Debian's python3-diskcache lives in the system python, not in a user's own one.
python=/usr/bin/python3
[ -x "$python" ] || python=python3
status=0
programs=()
for program in "$bench"/*_bench; do
  [ -x "$program" ] || continue
  name=$(basename "$program")
  echo "running $name..." >&2
  if ! "$program" --benchmark_out="$results/$name.json" --benchmark_out_format=json \
      --benchmark_filter="${BENCH_FILTER:-.}" >"$results/$name.log" 2>&1; then
    echo "run_all: $name failed:" >&2
    tail -5 "$results/$name.log" >&2
    status=1
  fi
  programs+=("$name")
done
if "$python" -c "import diskcache" 2>/dev/null && [ -x "$bench/diskcache_driver" ]; then
  echo "running diskcache_side_by_side.py..." >&2
  "$python" "$root/bench/diskcache_side_by_side.py" --driver "$bench/diskcache_driver" --rows >"$results/rows.txt" || status=1
fi

"$python" - "$results" "${BENCH_FILTER:+filtered}" "${programs[@]}" <<'PY' || status=1
import json, os, sys

def row(metric, goal, value, lower_is_better, is_count=False):
    # The same format as row() in bench/diskcache_side_by_side.py; a count has no "x".
    measured = f"{value:>10g}" if is_count else f"{value:>9.2f}x"
    if goal == 0 and not is_count:
        return f"{metric:<56}{'-':>10}{measured}  info"
    passed = value <= goal if lower_is_better else value >= goal
    goal_text = ("<= " if lower_is_better else ">= ") + f"{goal:g}" + ("" if is_count else "x")
    return f"{metric:<56}{goal_text:>10}{measured}  {'pass' if passed else 'FAIL'}"

results, filtered, programs = sys.argv[1], sys.argv[2] == "filtered", sys.argv[3:]
failed = False
print(f"{'metric':<56}{'goal':>10}{'measured':>10}  result")
for program in programs:
    path = os.path.join(results, program + ".json")
    # Google Benchmark leaves the file empty when the filter matches none of a program's benchmarks.
    if filtered and os.path.exists(path) and os.path.getsize(path) == 0:
        continue
    try:
        with open(path) as file:
            runs = json.load(file)["benchmarks"]
    except (OSError, ValueError, KeyError, TypeError) as error:
        print(f"run_all: {program}: no readable results in {os.path.basename(path)} ({error})", file=sys.stderr)
        failed = True
        continue
    for run in runs:
        name = run["name"].split("/")[0]
        if run.get("error_occurred"):
            print(f"run_all: {program}: {name} failed: {run.get('error_message', '')}", file=sys.stderr)
            failed = True
            continue
        if run.get("run_type", "iteration") != "iteration" or "ratio" not in run or "goal" not in run:
            continue
        label = f" ({run['label']})" if run.get("label") else ""
        print(row(f"{program}: {name}{label}", run["goal"], run["ratio"], run.get("lower_is_better", 1) != 0,
                  run.get("is_count", 0) != 0))
rows = os.path.join(results, "rows.txt")
if os.path.exists(rows):
    print(open(rows).read(), end="")
sys.exit(1 if failed else 0)
PY
exit $status
