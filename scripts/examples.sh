#!/usr/bin/env bash
# Installs the release build into a temporary prefix, then configures, builds
# and runs examples/ against it the way an outside project would: a copy of
# the examples, outside the source tree, that finds aurimo only through the
# installed package. Also builds the cache example through pkg-config alone.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

fail() { echo "examples: $*" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

[[ -f build/release/build.ninja ]] || cmake --preset release >/dev/null || fail "configuring the release build failed"
cmake --build --preset release >/dev/null || fail "building the release preset failed"
cmake --install build/release --prefix "$work/prefix" >/dev/null || fail "installing failed"

cp -r examples "$work/src"
cmake -S "$work/src" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
  -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null || fail "configuring the examples failed"
cmake --build "$work/build" >/dev/null || fail "building the examples failed"
if grep -q "$root" "$work/build/compile_commands.json"; then
  fail "an example compiles against the source tree"
fi
# The cache alone links nothing of the image codecs or the application library.
link=$(ninja -C "$work/build" -t commands cache_basics/cache_basics | tail -n 1)
[[ $link == *libaurimo_cache.a* ]] || fail "no link line for the cache example"
if grep -Eo 'libaurimo_(uikit|cache_image|context|links)[^ ]*|libpng[^ ]*|libturbojpeg[^ ]*' <<<"$link"; then
  fail "the cache example links more than the cache"
fi

pc_dir=$(dirname "$(find "$work/prefix" -name aurimo-cache.pc)")
flags=$(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs aurimo-cache) || fail "pkg-config does not know aurimo-cache"
# shellcheck disable=SC2086  # the flags are words
c++ -std=c++20 -o "$work/cache_basics_pc" "$work/src/cache_basics/main.cc" $flags || fail "building through pkg-config failed"

# The examples keep their files in a home of their own.
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/config" XDG_STATE_HOME="$work/home/state" \
  XDG_CACHE_HOME="$work/home/cache" XDG_PICTURES_DIR="$work/home/pictures"
mkdir -p "$HOME"
for example in "$work/build/cache_basics/cache_basics" "$work/build/link_routing/link_routing" \
               "$work/build/app_launch/app_launch" "$work/cache_basics_pc"; do
  status=0
  "$example" || status=$?
  ((status == 0)) || fail "$(basename "$example") exited with $status"
done
echo "examples: all built against the installed package and ran"
