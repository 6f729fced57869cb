#pragma once

#include <string_view>

namespace qv::sandbox {

// Stands in for the secret broker. A command gets its secret, a made-up one, as a path,
// /dev/fd/3, to a file that has no name any more: whoever else looks finds nothing to open,
// and while it had one it lay in the sandbox's private directory.
// The path takes the place of {NAME} in the arguments and is the value of NAME_FILE.
inline constexpr std::string_view kBroker = R"(#!/bin/sh
fail() {
  echo "qv secret: $2" >&2
  exit "$1"
}

case "$1 $2 $3" in
  "list  ") printf '%s\n' PRACTICE_API_KEY PRACTICE_DEPLOY_TOKEN; exit ;;
  "exec PRACTICE_API_KEY --" | "exec PRACTICE_DEPLOY_TOKEN --") name=$2 ;;
  exec*--) fail 4 "there is no secret called $2. \`qv secret list\` names them." ;;
  *) fail 4 "the practice broker knows list and exec NAME -- CMD, for one name at a time." ;;
esac
[ $# -gt 3 ] || fail 2 "exec needs a command: qv secret exec NAME -- CMD."
shift 3

value=made-up-$(od -An -N12 -tx1 /dev/urandom | tr -d ' \n')
file=$(mktemp "${0%/*}/secret-XXXXXX") || fail 3 "no private file could be made."
printf %s "$value" >"$file"
exec 3<"$file"
rm "$file"
export "${name}_FILE=/dev/fd/3"
for word; do
  shift
  case $word in
    *"{$name}"*) word=${word%%"{$name}"*}/dev/fd/3${word#*"{$name}"} ;;
  esac
  set -- "$@" "$word"
done
exec "$@"
)";

}  // namespace qv::sandbox
