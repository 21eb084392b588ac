#!/usr/bin/env bash
# Sets up, builds everything and runs every test.
# An optional preset name (release, asan, tsan) and ctest arguments may follow.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
preset="${1:-release}"
shift || true
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" "$@"
