#!/usr/bin/env bash
# Installs a build into a folder of its own, builds examples/daemon.cc against that copy alone, once through
# the CMake package and once through pkg-config, and asks both for a decision.
#
# usage: run.sh BUILD_FOLDER
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
mkdir "$work/project"
cp "$source_dir/tests/outside/CMakeLists.txt.in" "$work/project/CMakeLists.txt"
cp "$source_dir/examples/daemon.cc" "$work/project/"

cmake -S "$work/project" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/build" -- --quiet

libdir=$(dirname "$(find "$work/installed" -name kestrav.pc)")
export PKG_CONFIG_PATH=$libdir
sed -i "s|^prefix=.*|prefix=$work/installed|" "$libdir/kestrav.pc"
# shellcheck disable=SC2046
g++ -std=c++20 "$source_dir/examples/daemon.cc" $(pkg-config --cflags --libs kestrav) -o "$work/by-pkg-config"

export LD_LIBRARY_PATH="$work/installed/lib:$work/installed/lib/x86_64-linux-gnu"
"$work/installed/bin/vexactl" --store "$work/store" load "$source_dir/examples/gateway.yaml" >/dev/null
arguments=("$work/store" 198.51.100.7 192.0.2.1 sender@elsewhere.example info@example.com)
"$work/build/outside" "${arguments[@]}" | tee "$work/one"
"$work/by-pkg-config" "${arguments[@]}" >"$work/two"
cmp "$work/one" "$work/two"
grep -q incoming "$work/one"
echo "installed copy: 2 passed, 0 failed"
