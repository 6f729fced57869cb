#!/usr/bin/env bash
# Makes the archives that a release consists of, for all systems on one Linux machine, of the
# commit that is checked out; release.sh linux-arm64 ... makes these alone:
#
#   dist/qv-VERSION-linux-x86_64.tar.gz   static programs, for any Linux
#   dist/qv-VERSION-linux-arm64.tar.gz
#   dist/qv-VERSION-macos-arm64.tar.gz    needs nothing but the system's own library
#   dist/SHA256SUMS
#
# The compiler is that of scripts/cross-compiler.sh. Of the libraries, Boost is this machine's
# package, being headers alone; utf8proc and libmd are compiled for each system from the source
# packages of this machine's release, which its own mirror has. The same commit, compiler and
# packages make the same bytes, whatever the folder and the day: scripts/check-release.sh
# looks.
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work=$project/build/archives
sources=$work/sources
dist=$project/dist

main() {
  [[ $(uname -s) == Linux ]] || fail "This is for Linux."
  [[ -z $(git -C "$project" status --porcelain) ]] || fail "There are changes that no commit has."
  "$project/scripts/setup.sh" --release
  zig=$("$project/scripts/cross-compiler.sh")
  compiler=$(dirname "$("$zig" env | sed -n 's/.*"lib_dir": "\(.*\)".*/\1/p')")
  export ZIG_GLOBAL_CACHE_DIR=${XDG_CACHE_HOME:-$HOME/.cache}/qv-cross-check/compiled
  export ZIG_LOCAL_CACHE_DIR=$ZIG_GLOBAL_CACHE_DIR
  SOURCE_DATE_EPOCH=$(git -C "$project" log -1 --format=%ct)
  export SOURCE_DATE_EPOCH
  version=$(sed -n 's/^project(qv VERSION \([0-9.]*\) .*/\1/p' "$project/CMakeLists.txt")

  rm -rf "$work" "$dist"
  mkdir -p "$sources" "$dist"
  fetch_sources
  make_pages
  [[ $# -gt 0 ]] || set -- linux-x86_64 linux-arm64 macos-arm64
  local system
  for system in "$@"; do make_archive "$system"; done
  (cd "$dist" && sha256sum ./*.tar.gz | sed 's, \./, ,' >SHA256SUMS && cat SHA256SUMS)
}

# apt-get finds its settings and keys as always, but keeps lists of its own, so that the
# system's stay as they are and nobody has to be root.
fetch_sources() {
  local options=(-o "Dir::Etc::SourceList=$sources/sources.list" -o Dir::Etc::SourceParts=/dev/null
    -o "Dir::State::Lists=$sources/lists" -o "Dir::Cache=$sources" -o APT::Sandbox::User=)
  echo "release: fetching the sources of utf8proc and libmd"
  mkdir -p "$sources/lists/partial" "$sources/archives/partial"
  apt-get indextargets --format '$(ORIGIN) deb-src $(REPO_URI) $(CODENAME) $(COMPONENT)' \
    'Created-By: Packages' | sed -n 's/^\(Debian\|Ubuntu\) //p' | sort -u >"$sources/sources.list"
  apt-get --quiet=2 "${options[@]}" update
  (cd "$sources" && apt-get --quiet=2 "${options[@]}" --only-source source utf8proc libmd >/dev/null)
  mv "$sources"/utf8proc-*/ "$sources/utf8proc"
  mv "$sources"/libmd-*/ "$sources/md"
}

# The manual pages come out of a program that runs here.
make_pages() {
  cmake -S "$project" -B "$work/native" -G Ninja --log-level=WARNING \
    -DCMAKE_BUILD_TYPE=Debug -DQV_STATIC=OFF -DQV_TESTS=OFF
  cmake --build "$work/native" --target pages
}

make_archive() {
  local system=$1 target  # the compiler's name for it
  case $system in
    linux-x86_64) target=x86_64-linux-musl ;;
    linux-arm64) target=aarch64-linux-musl ;;
    macos-arm64) target=aarch64-macos.13.3 ;;
    *) fail "There is no archive for '$system'." ;;
  esac
  local root=$work/$system/root build=$work/$system/build name=qv-$version-$1
  local tree=$work/$system/$name
  local flags=("-ffile-prefix-map=$project=." "-ffile-prefix-map=$compiler=zig")
  echo "release: $name"
  mkdir -p "$root/include" "$root/lib/pkgconfig" "$root/objects"
  ln -s /usr/include/boost "$root/include/"
  add_library utf8proc utf8proc.h utf8proc.c
  if [[ $system == linux-* ]]; then
    add_library md include/sha2.h src/sha2.c src/sha256hl.c
    flags+=(-fPIC -flto)  # the compiler knows -fPIE only where it links as well
  else
    cp -R "$project/scripts/macos/include/." "$root/include/"
  fi

  cmake -S "$project" -B "$build" -G Ninja --log-level=WARNING \
    -DCMAKE_TOOLCHAIN_FILE="$project/cmake/zig.cmake" \
    -DQV_ZIG="$zig" -DQV_ZIG_TARGET="$target" -DQV_ZIG_ROOT="$root" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" -DCMAKE_CXX_FLAGS="${flags[*]}" \
    -DCMAKE_EXE_LINKER_FLAGS=-s -DQV_WERROR=ON -DQV_TESTS=OFF -DQV_GENERATED="$work/native/man"
  cmake --build "$build"
  cmake --install "$build" --prefix "$tree" >/dev/null
  require_no_library "$system" "$tree/bin/qv"
  require_no_library "$system" "$tree/bin/qv-sandbox"
  mkdir "$tree/docs"
  cp "$project/README.md" "$tree/"
  cp "$project/docs"/*.md "$tree/docs/"
  notices "$system" >"$tree/NOTICES"
  tar --create --directory "$work/$system" --sort=name --format=ustar --owner=0 --group=0 \
    --numeric-owner --mode=u=rwX,go=rX --mtime="@$SOURCE_DATE_EPOCH" "$name" |
    gzip --no-name --best >"$dist/$name.tar.gz"
}

# add_library NAME HEADER FILE...: compiles these files of a source package into the root. Of what
# its configuration would find out, they ask one thing.
add_library() {
  local library=$1 folder=$sources/$1 header=$2 file objects=()
  shift 2
  cp "$folder/$header" "$root/include/"
  echo '#define HAVE_UNISTD_H 1' >"$root/objects/config.h"
  for file in "$@"; do
    objects+=("$root/objects/$(basename "$file").o")
    "$zig" cc -target "$target" "${flags[@]}" -O2 -fstack-protector-strong -DUTF8PROC_STATIC \
      -I "$root/include" -I "$root/objects" -c "$folder/$file" -o "${objects[-1]}"
  done
  "$zig" ar qc "$root/lib/lib$library.a" "${objects[@]}"
  printf '%s\n' "Name: $library" "Description: compiled for $target" \
    "Version: $(sed -n '1s/.*(\(.*\)-.*/\1/p' "$folder/debian/changelog")" \
    "Libs: -L$root/lib -l$library" >"$root/lib/pkgconfig/lib$library.pc"
}

# A program for Linux asks for no interpreter, which would load libraries; one for macOS names
# the system's library alone.
require_no_library() {
  local system=$1 program=$2 named length
  if [[ $system == linux-* ]]; then
    named=$(readelf --program-headers --wide "$program" | grep INTERP) || return 0
  else
    length=$(od -A n -t u4 --endian=little -j 20 -N 4 "$program")
    named=$(head -c $((32 + length)) "$program" | grep --text -o '/[[:graph:]]*\.dylib')
    [[ $named != /usr/lib/libSystem.B.dylib ]] || return 0
  fi
  fail "$program needs a library: $named"
}

# What has to go with copies of all that is linked into the programs. Boost's licence asks
# for nothing there, and stands here all the same.
notices() {
  local system=$1 boost
  boost=$(dpkg-query --search /usr/include/boost/version.hpp)
  echo "The programs of this archive contain parts of the following."
  notice "Boost" < <(awk -v RS= -v ORS='\n\n' '/^Files: \*\n/ || /^License: BSL-1.0\n/' \
    "/usr/share/doc/${boost%%:*}/copyright")
  notice "utf8proc" <"$sources/utf8proc/debian/copyright"
  if [[ $system == linux-* ]]; then
    notice "libmd" <"$sources/md/debian/copyright"
    notice "musl" <"$compiler/lib/libc/musl/COPYRIGHT"
  fi
  notice "libc++, libc++abi and libunwind of LLVM" <"$compiler/lib/libcxx/LICENSE.TXT"
  notice "the compiler's own functions" <"$compiler/LICENSE"
}

notice() {
  printf '\n\n======== %s\n\n' "$1"
  cat
}

fail() {
  echo "release: $*" >&2
  exit 1
}

main "$@"
