#!/usr/bin/env bash
# Compiles and links the program for arm64 macOS on a Linux machine, warnings as errors,
# so that no macOS source file goes into main uncompiled. Nothing is run: a Mac does that.
#
# The compiler is that of scripts/cross-compiler.sh; the C++ runtime that it builds once is kept
# in the user's cache folder. What macOS and Homebrew have besides is gathered in
# build/macos/root: links to the headers of Boost and utf8proc on this machine, and the
# stand-ins of scripts/macos.
set -euo pipefail

cache=${XDG_CACHE_HOME:-$HOME/.cache}/qv-cross-check
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$project/build/macos
root=$build/root

main() {
  [[ $(uname -s) == Linux ]] || fail "This is for Linux; on a Mac, run scripts/test.sh."
  "$project/scripts/setup.sh" --checks
  zig=$("$project/scripts/cross-compiler.sh")
  gather_root

  export ZIG_GLOBAL_CACHE_DIR=$cache/compiled ZIG_LOCAL_CACHE_DIR=$cache/compiled
  rm -f "$build/CMakeCache.txt"
  cmake -S "$project" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$project/cmake/zig.cmake" \
    -DQV_ZIG="$zig" -DQV_ZIG_TARGET=aarch64-macos.13.3 -DQV_ZIG_ROOT="$root" \
    -DCMAKE_BUILD_TYPE=Release -DQV_WERROR=ON -DQV_TESTS=OFF -DQV_BENCH=OFF
  rm -f "$build/qv"
  cmake --build "$build"
  require_arm64_program "$build/qv"
  echo "check-macos: build/macos/qv is an arm64 program for macOS."
}

gather_root() {
  rm -rf "$root"
  mkdir -p "$build"
  cp --recursive --symbolic-link "$project/scripts/macos" "$root"
  ln -s /usr/include/boost /usr/include/utf8proc.h "$root/include/"
}

# The file begins as a Mach-O executable does: the magic number of 64-bit files, the CPU
# type of arm64, its subtype, and the file type of a program.
require_arm64_program() {
  local header
  header=$(od -A n -t x4 --endian=little -N 16 "$1" | tr -s ' ')
  [[ $header == ' feedfacf 0100000c 00000000 00000002' ]] ||
    fail "$1 is no arm64 program for macOS: its header is$header."
}

fail() {
  echo "check-macos: $*" >&2
  exit 1
}

main "$@"
