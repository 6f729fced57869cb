#!/usr/bin/env bash
# Makes a Debian package for this machine's release and processor, and prints its path. Its
# programs use the shared libraries of the release. Who is named as its maintainer is the author of
# the commit that is checked out.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
umask 022

scripts/setup.sh --package >&2
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
cmake --preset deb -DCPACK_PACKAGE_CONTACT="$(git log -1 --format='%an <%ae>')" >&2
cmake --build --preset deb >&2
rm -f build/deb/*.deb
(cd build/deb && cpack) >&2
echo build/deb/*.deb
