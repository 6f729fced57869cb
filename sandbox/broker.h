#pragma once

#include <string_view>

namespace qv::sandbox {

// Stands in for the secret broker. A command gets each secret, a made-up one, as a path,
// /dev/fd/3 and so on, to a file that has no name any more: whoever else looks finds nothing to
// open, and while it had one it lay in the sandbox's private directory. The path takes the
// place of {NAME} in the arguments and is the value of NAME_FILE. With --env the secret itself
// is the value of NAME. Suggested destinations are kept in a file for the person to see.
inline constexpr std::string_view kBroker = R"(#!/bin/sh
fail() {
  echo "qv secret: $2" >&2
  exit "$1"
}

must_be_known() {
  case $1 in
    PRACTICE_API_KEY | PRACTICE_DEPLOY_TOKEN) ;;
    *) fail 4 "there is no secret called $1. \`qv secret list\` names them." ;;
  esac
}

case "$1 $#" in
  "list 1") printf '%s\n' PRACTICE_API_KEY PRACTICE_DEPLOY_TOKEN; exit ;;
  "suggest 3")
    must_be_known "$2"
    umask 077
    printf '%s for %s\n' "$3" "$2" >>"${QV_SANDBOX:?}/destinations"
    echo "Suggested $3 for $2. The person decides."
    exit ;;
  "exec "*) shift ;;
  *) fail 4 "the practice broker knows list, exec NAME [NAME2 ...] -- CMD and suggest NAME HOST." ;;
esac

given='' names='' fd=3
while [ $# -gt 0 ] && [ "$1" != -- ]; do
  env=''
  if [ "$1" = --env ]; then
    env=1
    shift
  fi
  must_be_known "$1"
  value=made-up-$(od -An -N12 -tx1 /dev/urandom | tr -d ' \n')
  if [ "$env" ]; then
    export "$1=$value"
  else
    [ $fd -le 9 ] || fail 4 "one command gets at most seven secrets as paths."
    file=$(mktemp "${0%/*}/secret-XXXXXX") || fail 3 "no private file could be made."
    printf %s "$value" >"$file"
    eval "exec $fd<\"\$file\""
    rm "$file"
    export "$1_FILE=/dev/fd/$fd"
    names="$names $1"
    fd=$((fd + 1))
  fi
  given=1
  shift
done
[ "$given" ] && [ $# -gt 1 ] || fail 2 "exec needs names and a command: qv secret exec NAME -- CMD."
shift

for word; do
  shift
  for name in $names; do
    eval "path=\$${name}_FILE"
    while :; do
      case $word in
        *"{$name}"*) word=${word%%"{$name}"*}$path${word#*"{$name}"} ;;
        *) break ;;
      esac
    done
  done
  set -- "$@" "$word"
done
exec "$@"
)";

}  // namespace qv::sandbox
