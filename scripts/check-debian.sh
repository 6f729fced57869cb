#!/usr/bin/env bash
# Runs both commands of the README on bare Debian machines, as a user without privileges
# would on the first day: a release's own compiler, CMake and libraries, and nothing else.
#
#   scripts/check-debian.sh                trixie and sid
#   scripts/check-debian.sh bookworm ...   these releases
#   scripts/check-debian.sh --package FILE bookworm
#                                          installs, uses and removes a package instead
#   scripts/check-debian.sh --archive FILE bookworm
#                                          tests the programs of an archive instead, where
#                                          there is nothing that they were built with
#
# A machine is a folder that debootstrap fills, in which commands run by chroot. It is kept
# in the user's cache folder, as bare as it was made; each run works in a copy, and shares
# with it only the packages that apt has fetched. Mounts and processes live in namespaces
# of the run's own, and are gone with it however it ends. Where that is not allowed, as in
# most containers, nothing is checked, and the script says so.
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/qv-debian
home=/home/builder

main() {
  if [[ ${1:-} == --inside ]]; then
    shift
    check_inside "$@"
    return
  fi
  made=()
  if [[ ${1:-} == --package || ${1:-} == --archive ]]; then
    made=("$1" "$(realpath "$2")")
    shift 2
  fi
  [[ $(uname -s) == Linux ]] || fail "This is for Linux."
  "$project/scripts/setup.sh" --debian
  if [[ $(id -u) -ne 0 ]]; then
    exec sudo env PATH="$PATH" XDG_CACHE_HOME="${cache%/*}" "${BASH_SOURCE[0]}" \
      ${made[@]+"${made[@]}"} "$@"
  fi
  if ! apart mount -t proc proc /proc 2>/dev/null; then
    echo "check-debian: skipped, because mounting is not allowed here."
    return
  fi

  [[ $# -gt 0 ]] || set -- trixie sid
  local release failed=0
  for release in "$@"; do
    check "$release" || failed=1
  done
  return "$failed"
}

check() {
  local release=$1 log=$cache/$1.log copy=$cache/$1.copy status=0
  mkdir -p "$cache"
  exec 9>"$cache/$release.lock"
  flock 9  # against another run, which would take this copy for what an earlier one left
  remove "$copy"
  apart "${BASH_SOURCE[0]}" --inside "$release" ${made[@]+"${made[@]}"} >"$log" 2>&1 </dev/null || status=$?
  remove "$copy"
  if [[ $status -ne 0 ]]; then
    tail -n 40 "$log" >&2
    echo "check-debian: $release: FAILED; $log tells all of it."
    return 1
  fi
  echo "check-debian: $release: passed with $(tail -n 1 "$log")."
}

# Runs a command so that its mounts are seen by nobody else, and nothing it starts outlives it.
apart() {
  unshare --mount --pid --fork --kill-child -- "$@"
}

check_inside() {
  local bare=$cache/$1 copy=$cache/$1.copy what=${2:-} file=${3:-}
  export PATH="$PATH:/usr/sbin:/sbin"
  mount -t proc proc /proc
  [[ -d $bare ]] || make_bare "$1"

  cp --archive "$bare" "$copy"
  cp --dereference /etc/resolv.conf /etc/hosts "$copy/etc/"
  apt_settings >"$copy/etc/apt/apt.conf.d/99host"
  mount -t proc proc "$copy/proc"
  mount -t devpts -o newinstance,mode=620,ptmxmode=666 devpts "$copy/dev/pts"
  ln -sf pts/ptmx "$copy/dev/ptmx"
  mount --bind "$bare/var/cache/apt/archives" "$copy/var/cache/apt/archives"

  chroot "$copy" /usr/sbin/useradd --create-home --home-dir "$home" --shell /bin/bash builder
  mkdir "$copy$home/qv"
  case $what in
    --package) try_package ;;
    --archive) try_archive ;;
    *) try_readme ;;
  esac
}

give_clone() {
  git clone --quiet --depth 1 --upload-pack 'git -c safe.directory=* upload-pack' \
    "file://$project" "$copy$home/qv"
  chroot "$copy" chown -R builder: "$home/qv"
}

try_readme() {
  give_clone
  run_in "$copy" root scripts/setup.sh
  run_in "$copy" builder scripts/demo.sh
  run_in "$copy" builder scripts/test.sh
  run_in "$copy" builder sh -c 'echo "$(g++ --version | head -n 1), $(cmake --version | head -n 1)"'
}

# What the tests themselves are written in is all that is added.
try_archive() {
  give_clone
  mkdir "$copy$home/qv/dist"
  cp "$file" "$copy$home/qv/dist/"
  run_in "$copy" root apt-get update
  run_in "$copy" root apt-get install --yes --no-install-recommends python3 git
  run_in "$copy" builder scripts/check-release.sh --here
  basename "$file"
}

# Somebody who has only the package: it can be used, and when it is gone, so is all it brought.
try_package() {
  cp "$file" "$copy$home/qv/qv.deb"
  run_in "$copy" root apt-get update
  (cd "$copy" && find usr etc opt | sort) >"$copy/before"
  run_in "$copy" root apt-get install --yes --no-install-recommends ./qv.deb
  run_in "$copy" builder qv --version
  run_in "$copy" builder qv-sandbox -- sh -c 'qv board register && qv task add One && qv task claim T-1'
  run_in "$copy" builder bash -c '. /usr/share/bash-completion/completions/qv
    COMP_WORDS=(qv task cla) COMP_CWORD=2 COMP_LINE="qv task cla" COMP_POINT=11; _qv; [[ $COMPREPLY == claim ]]'
  run_in "$copy" builder sh -c 'zcat /usr/share/man/man1/qv.1.gz | grep "^.Dt QV 1" && test -e /usr/libexec/qv/shims/cargo'
  run_in "$copy" root apt-get purge --yes --auto-remove qv
  (cd "$copy" && find usr etc opt | sort) | diff "$copy/before" -
  basename "$file"
}

# Made under another name first, so that one that was interrupted is not taken for whole.
make_bare() {
  local release=$1 mirror proxy=
  mirror=$(apt-get indextargets --format '$(REPO_URI)' \
    'Identifier: Packages' 'Origin: Debian' 'Label: Debian' | head -n 1)
  eval "$(apt-config shell proxy Acquire::http::Proxy)"
  rm -rf --one-file-system "$cache/$release.part"
  http_proxy=${proxy:-${http_proxy:-}} debootstrap --variant=minbase --include=ca-certificates \
    "$release" "$cache/$release.part" ${mirror:+"$mirror"}
  mv "$cache/$release.part" "$cache/$release"
}

# How this machine's apt reaches the network. The lists of sid are outdated within days, in
# the eyes of a machine whose clock is ahead or whose mirror is behind.
apt_settings() {
  apt-config dump --no-empty --format '%F "%v";%n' Acquire::http Acquire::https Acquire::Check-Date
  echo 'Acquire::Check-Valid-Until "false";'
}

# run_in ROOT USER COMMAND...: from the clone, in an environment with nothing in it.
run_in() {
  local root=$1 user=$2
  shift 2
  chroot --userspec="$user" "$root" /usr/bin/env -i \
    HOME="$home" USER="$user" PATH=/usr/local/bin:/usr/bin:/bin \
    sh -c 'cd "$HOME/qv" && exec "$@"' sh "$@"
}

remove() {
  rm -rf --one-file-system "$1"
}

fail() {
  echo "check-debian: $*" >&2
  exit 1
}

main "$@"
