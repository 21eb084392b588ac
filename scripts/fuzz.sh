#!/usr/bin/env bash
# Builds the fuzz preset and runs every libFuzzer target for SECONDS each
# (default 60) on a copy of its seeds in fuzz/corpus/, so the repository's
# corpus stays as committed. Fails on any crash, leak, UB report, memory blow-up
# or timeout, naming the target and the reproducer (kept in build/fuzz/crashes/).
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
bash scripts/setup.sh

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

work=$(mktemp -d "${TMPDIR:-/tmp}/aurimo-fuzz-XXXXXX")
trap 'rm -rf "$work"' EXIT
export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

failed=0
for seeds in fuzz/corpus/*/; do
  target=$(basename "$seeds")
  crashes=build/fuzz/crashes/$target
  mkdir -p "$work/$target/corpus" "$work/$target/tmp" "$crashes"
  cp -R "$seeds." "$work/$target/corpus/"
  options=(-max_total_time="$seconds" -timeout=30 -rss_limit_mb=2048 -close_fd_mask=2 -print_final_stats=1
           -artifact_prefix="$crashes/")
  case $target in
    link_url) options+=(-dict=fuzz/url.dict) ;;
    image_decode) ;;
    *) options+=(-dict=fuzz/json.dict) ;;
  esac
  # The targets' own temporary folders stay inside $work.
  if TMPDIR="$work/$target/tmp" "build/fuzz/fuzz/${target}_fuzzer" "${options[@]}" "$work/$target/corpus" \
       </dev/null >"$work/$target.log" 2>&1; then
    echo "fuzz: $target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$target.log") runs in ${seconds}s, no failure"
  else
    failed=1
    tail -n 80 "$work/$target.log"
    echo "fuzz: $target FAILED; reproducer: $(ls -t "$crashes" | head -n 1 | sed "s|^|$crashes/|")" >&2
  fi
done
exit "$failed"
