#!/usr/bin/env bash
# Makes the Debian package, has lintian look at it, and installs, uses and removes it on a bare
# machine of this machine's release. What lintian may miss is the licence: nobody has chosen one.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
package=$(scripts/package.sh)
said=$(lintian --allow-root "$package" 2>&1 | grep -v ': no-copyright-file$' || true)
if [[ -n $said ]]; then
  echo "$said" >&2
  exit 1
fi
echo "check-package: lintian misses nothing but the licence in $package."
. /etc/os-release
scripts/check-debian.sh --package "$package" "$VERSION_CODENAME"
