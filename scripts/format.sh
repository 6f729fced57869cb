#!/usr/bin/env bash
# Lays out every C++ file by the rules of .clang-format.
#
#   scripts/format.sh           rewrites the files
#   scripts/format.sh --check   changes nothing, and fails when a file would change
#
# Releases of clang-format differ in small things, so one has the last word: 14, which is
# Debian 12's. With another one the check is left to the machines that have 14.
set -euo pipefail

case ${1:-} in
  '') mode=(-i) ;;
  --check) mode=(--dry-run -Werror) ;;
  *)
    echo "format: format.sh knows --check, not '$1'." >&2
    exit 1
    ;;
esac

cd "$(dirname "${BASH_SOURCE[0]}")/.."

formatter=clang-format
if command -v clang-format-14 >/dev/null; then
  formatter=clang-format-14
fi
version=$("$formatter" --version)
if [[ $version != *'version 14.'* ]]; then
  echo "format: the layout is clang-format 14's; this is $version." >&2
  [[ ${1:-} != --check ]] || exit 0
fi

files=()
for folder in src sandbox tests bench fuzz docs; do
  if [[ -d $folder ]]; then
    while IFS= read -r -d '' file; do
      files+=("$file")
    done < <(find "$folder" -type f \( -name '*.cpp' -o -name '*.h' \) -print0)
  fi
done
if [[ ${#files[@]} -eq 0 ]]; then
  echo "format: there is no C++ file yet."
  exit
fi

"$formatter" "${mode[@]}" "${files[@]}"
echo "format: ${#files[@]} files."
