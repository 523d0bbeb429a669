#!/usr/bin/env bash
# Installs a build and uses the copy as an outside user does: runs the tool, and builds and runs programs
# through the CMake package and through pkg-config. Three times: in a prefix given at installation, after that
# copy was moved, and in the default prefix below a staging folder. Nothing in the environment helps to find
# libraries.
#
# usage: run.sh BUILD_FOLDER
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

clean() { env -i PATH="$PATH" "$@"; }

# The headers are the listed ones, and no others.
check_headers() {
  diff <(cd "$1/include/kestrav" && find . -type f -printf '%P\n' | sort) \
    <({ cd "$source_dir/include2" && find . -name '*.h' -printf '%P\n'
        grep '^platform/' "$source_dir/cmake/InstalledHeaders.txt"; } | sort)
}

# Asks for the same decision in both builds of the daemon.
check_programs() {
  local store=$1 cmake_build=$2 pkg_build=$3 folder
  local question=("$store" 198.51.100.7 192.0.2.1 sender@elsewhere.example info@example.com)
  clean "$cmake_build/daemon" "${question[@]}" >"$work/one"
  clean "$pkg_build/daemon" "${question[@]}" >"$work/two"
  cmp "$work/one" "$work/two"
  grep -q incoming "$work/one"
  for folder in "$cmake_build" "$pkg_build"; do
    clean "$folder/settings" "$(mktemp -d "$work/settings-XXXX")" Outside
  done
}

# use PREFIX: all that a user does with a copy in PREFIX.
use() {
  local prefix=$1 mine store program
  mine=$(mktemp -d "$work/user-XXXX")
  store=$mine/store
  check_headers "$prefix"
  clean "$prefix/bin/vexactl" --store "$store" load "$source_dir/examples/gateway.yaml" >/dev/null

  mkdir "$mine/project" "$mine/by-pkg-config"
  cp "$source_dir/tests/outside/CMakeLists.txt.in" "$mine/project/CMakeLists.txt"
  cp "$source_dir/examples/daemon.cc" "$source_dir/tests/outside/settings.cc" "$mine/project/"
  clean cmake -S "$mine/project" -B "$mine/by-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  clean cmake --build "$mine/by-cmake" -- --quiet

  local pc=(clean "PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name kestrav.pc)")" pkg-config)
  for program in daemon settings; do
    # shellcheck disable=SC2046
    clean g++ -std=c++20 "$mine/project/$program.cc" $("${pc[@]}" --cflags --libs kestrav) \
      -Wl,-rpath,"$("${pc[@]}" --variable=libdir kestrav)" -o "$mine/by-pkg-config/$program"
  done
  check_programs "$store" "$mine/by-cmake" "$mine/by-pkg-config"
}

cmake --install "$build" --prefix "$work/installed" >/dev/null
use "$work/installed"
mv "$work/installed" "$work/moved"
use "$work/moved"
DESTDIR=$work/stage cmake --install "$build" >/dev/null
use "$work/stage$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' "$build/CMakeCache.txt")"
cat "$work/one"
echo "installed copy: 3 prefixes used, 0 failures"
