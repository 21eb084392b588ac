#!/usr/bin/env bash
# Sets up, builds the aurimo command and runs its built-in demo.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target aurimo
./build/release/tools/aurimo/aurimo demo "$@"
