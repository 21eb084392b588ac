#!/bin/bash
# Runs every benchmark and prints one table: metric, goal, measured ratio,
# pass/fail. Each Google Benchmark program reports its side-by-sides as the
# counters `ratio` and `goal` (`lower_is_better` 0 when higher is better; a
# goal of 0 marks a figure without a goal); the python side-by-side prints
# its rows itself.
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
for program in "$bench"/*_bench; do
  [ -x "$program" ] || continue
  name=$(basename "$program")
  echo "running $name..." >&2
  if ! "$program" --benchmark_format=json --benchmark_filter="${BENCH_FILTER:-.}" >"$results/$name.json" 2>"$results/$name.err"; then
    echo "run_all: $name failed:" >&2
    tail -5 "$results/$name.err" >&2
    status=1
  fi
done
if "$python" -c "import diskcache" 2>/dev/null && [ -x "$bench/diskcache_driver" ]; then
  echo "running diskcache_side_by_side.py..." >&2
  "$python" "$root/bench/diskcache_side_by_side.py" --driver "$bench/diskcache_driver" --rows >"$results/rows.txt" || status=1
fi

"$python" - "$results" <<'PY'
import glob, json, os, sys

def row(metric, goal, ratio, lower_is_better):
    # The same format as row() in bench/diskcache_side_by_side.py.
    if goal == 0:
        return f"{metric:<56}{'-':>10}{ratio:>9.2f}x  info"
    passed = ratio <= goal if lower_is_better else ratio >= goal
    goal_text = ("<= " if lower_is_better else ">= ") + f"{goal:g}x"
    return f"{metric:<56}{goal_text:>10}{ratio:>9.2f}x  {'pass' if passed else 'FAIL'}"

results = sys.argv[1]
print(f"{'metric':<56}{'goal':>10}{'measured':>10}  result")
for path in sorted(glob.glob(os.path.join(results, "*.json"))):
    program = os.path.basename(path)[:-len(".json")]
    try:
        runs = json.load(open(path)).get("benchmarks", [])
    except ValueError:
        continue
    for run in runs:
        if run.get("run_type", "iteration") != "iteration" or "ratio" not in run or "goal" not in run:
            continue
        name = run["name"].split("/")[0]
        label = f" ({run['label']})" if run.get("label") else ""
        print(row(f"{program}: {name}{label}", run["goal"], run["ratio"], run.get("lower_is_better", 1) != 0))
rows = os.path.join(results, "rows.txt")
if os.path.exists(rows):
    print(open(rows).read(), end="")
PY
exit $status
