#!/usr/bin/env bash
# Installs what qv is built and tested with, and only what is missing: a machine that has
# everything is left alone, without a look at the network.
#
#   scripts/setup.sh            build and test
#   scripts/setup.sh --bench    and measure
#   scripts/setup.sh --checks   and check formatting, and compile for macOS and try faults on Linux
#   scripts/setup.sh --fuzz     and fuzz
#   scripts/setup.sh --debian   and make bare Debian machines on Linux
#   scripts/setup.sh --package  and make and check a Debian package, and press Tab in each shell
#   scripts/setup.sh --release  and make and test release archives on Linux
#   scripts/setup.sh --tidy     and analyse the code
#
# Debian and Ubuntu are served with apt-get, macOS with Homebrew.
set -euo pipefail

bench=false
checks=false
debian=false
fuzz=false
package=false
release=false
tidy=false

main() {
  for argument in "$@"; do
    case $argument in
      --bench) bench=true ;;
      --checks) checks=true ;;
      --debian) debian=true ;;
      --fuzz) fuzz=true ;;
      --release) release=true ;;
      --package) package=true ;;
      --tidy) tidy=true ;;
      *) fail "setup.sh knows --bench, --checks, --debian, --fuzz, --package, --release and --tidy, not '$argument'." ;;
    esac
  done

  if [[ $(uname -s) == Darwin ]]; then
    set_up_macos
  elif [[ -e /etc/debian_version ]]; then
    set_up_debian
  else
    fail "setup.sh knows Debian, Ubuntu and macOS; on another system, install a C++20 compiler, CMake, Ninja, pkg-config, Boost.JSON, utf8proc, libmd, GoogleTest and Python 3 by hand."
  fi
}

set_up_debian() {
  # Installing a package runs tools from the sbin folders, which a bare PATH lacks.
  export PATH="$PATH:/usr/local/sbin:/usr/sbin:/sbin"
  missing=()

  want_command g++ g++
  want_command cmake cmake
  want_command ninja ninja-build
  want_command make make  # with it g++ links a release in parallel, whoever called g++
  want_command pkg-config pkg-config
  want_command python3 python3
  want_command git git
  want_package libutf8proc-dev
  want_package libmd-dev
  want_package libgtest-dev
  if $bench; then
    want_command hyperfine hyperfine
    want_command jq jq
    want_command curl curl
  fi
  if $checks; then
    want_command clang-format clang-format
    want_command npm npm
    want_command mandoc mandoc
    want_command strace strace
  fi
  if $fuzz; then
    want_command clang++ clang
    want_package libclang-rt-dev
  fi
  if $debian; then
    want_command debootstrap debootstrap
    want_package debian-archive-keyring
  fi
  if $release; then
    want_command npm npm
    want_command dpkg-source dpkg-dev
    want_command xz xz-utils
    want_package qemu-user-static
  fi
  if $tidy; then
    want_command clang-tidy clang-tidy
  fi
  if $package; then
    want_command dpkg-shlibdeps dpkg-dev
    want_command lintian lintian
    want_command zsh zsh
    want_command fish fish
  fi

  boost_is_missing=false
  is_installed 'libboost-json*-dev' || boost_is_missing=true
  if [[ ${#missing[@]} -eq 0 ]] && ! $boost_is_missing; then
    return
  fi

  apt_get update
  if $boost_is_missing; then
    missing+=("$(boost_json_package)")
  fi
  echo "setup: installing ${missing[*]}"
  apt_get install --yes --no-install-recommends --no-remove "${missing[@]}"
}

# want_command COMMAND PACKAGE: however the command came to be there, it will do.
want_command() {
  command -v "$1" >/dev/null || missing+=("$2")
}

want_package() {
  is_installed "$1" || missing+=("$1")
}

# is_installed PATTERN: whether a package whose name matches is installed.
is_installed() {
  local states
  states=$(dpkg-query --show --showformat '[${db:Status-Status}]' "$1" 2>/dev/null) || return 1
  [[ $states == *'[installed]'* ]]
}

# Boost.JSON came with Boost 1.75. A release whose default Boost is older may carry a newer
# one beside it, as Debian 12 does.
boost_json_package() {
  local name policy
  for name in libboost-json-dev libboost-json1.81-dev; do
    policy=$(LC_ALL=C apt-cache policy "$name")
    if [[ $policy == *'Candidate: '[0-9]* ]]; then
      echo "$name"
      return
    fi
  done
  fail "apt knows no package of Boost.JSON: its lists could not be fetched, or this release is older than Debian 12 and Ubuntu 24.04."
}

apt_get() {
  local as_root=()
  if [[ $(id -u) -ne 0 ]]; then
    command -v sudo >/dev/null ||
      fail "Packages are missing (${missing[*]}); run setup.sh as root, or install sudo."
    as_root=(sudo)
  fi
  ${as_root[@]+"${as_root[@]}"} env DEBIAN_FRONTEND=noninteractive PATH="$PATH" \
    apt-get --quiet=2 -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 "$@" </dev/null >/dev/null ||
    fail "apt-get $1 failed; it says why above."
}

set_up_macos() {
  command -v brew >/dev/null || fail "Homebrew is missing; install it first."
  xcrun --find clang++ >/dev/null 2>&1 ||
    fail "Apple's compiler is missing; run 'xcode-select --install' first."

  local wanted=(cmake ninja pkgconf boost utf8proc googletest)
  if $bench; then
    wanted+=(hyperfine jq)
  fi
  if $checks; then
    wanted+=(clang-format)
  fi

  if $fuzz; then
    wanted+=(llvm)
  fi

  local formula missing=()
  for formula in "${wanted[@]}"; do
    brew list --versions "$formula" >/dev/null || missing+=("$formula")
  done
  if [[ ${#missing[@]} -gt 0 ]]; then
    HOMEBREW_NO_AUTO_UPDATE=1 brew install --quiet "${missing[@]}" </dev/null
  fi
}

fail() {
  echo "setup: $*" >&2
  exit 1
}

main "$@"
