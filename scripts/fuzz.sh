#!/usr/bin/env bash
# Has the fuzzers look for inputs that break a promise, for so many seconds in all, beginning
# with what the scenarios, fuzz/corpus and build/fuzz/corpus hold. What they learn stays in the
# latter; the inputs that it takes to reach as much run once more under the sanitizers, and the
# smallest of them, 200 kB for each fuzzer, become fuzz/corpus.
#
#   scripts/fuzz.sh SECONDS                 every fuzzer in turn
#   scripts/fuzz.sh SECONDS board_reply     some of them
#
# An input that breaks something is kept in build/fuzz/findings, and can be given to its program
# in build/fuzz or build/fuzz-asan as an argument.
set -euo pipefail

seconds=${1:?how many seconds?}
cd "$(dirname "${BASH_SOURCE[0]}")/.."
shift
fuzzers=("$@")
if [[ $# -eq 0 ]]; then
  for source in fuzz/*.cpp; do fuzzers+=("$(basename "$source" .cpp)"); done
fi

scripts/setup.sh --fuzz
compiler=()
if [[ $(uname -s) == Darwin ]]; then  # Apple's has no libFuzzer
  compiler=(-D "CMAKE_CXX_COMPILER=$(brew --prefix llvm)/bin/clang++")
fi
for preset in fuzz fuzz-asan; do
  cmake --preset "$preset" ${compiler[@]+"${compiler[@]}"} >/dev/null
  cmake --build --preset "$preset"
done

work=build/fuzz
rm -rf $work/seeds $work/small
python3 fuzz/seeds.py $work/seeds
mkdir -p $work/findings
if [[ -d /dev/shm ]]; then export TMPDIR=/dev/shm; fi

# run PROGRAM ARGUMENT...: the lines it says into $work/log; fails when it has found something.
run() {
  "$@" -artifact_prefix=$work/findings/"$fuzzer"- -timeout=10 -print_final_stats=1 \
    -max_len=1024 >$work/log 2>&1
}

found() {
  failed=1
  verdict="$verdict $*"
  cat $work/log >>$work/findings/"$fuzzer".log
}

figure() {
  sed -n "s/^stat::$1: *//p" $work/log
}

# keep_small FUZZER: what its corpus in the tree has room for, the smallest inputs first.
keep_small() {
  local room=200000 input
  rm -rf fuzz/corpus/"$1"
  mkdir fuzz/corpus/"$1"
  for input in $(ls -rS $work/small/"$1"); do
    room=$((room - $(wc -c <$work/small/"$1"/"$input")))
    [[ $room -ge 0 ]] || return 0
    cp $work/small/"$1"/"$input" fuzz/corpus/"$1"/
  done
}

failed=0
row='%-14s %12s %10s %8s %9s  %s\n'
printf "$row" fuzzer executions 'a second' corpus bytes ''
for fuzzer in "${fuzzers[@]}"; do
  program=$work/fuzz_$fuzzer
  mkdir -p fuzz/corpus/"$fuzzer" $work/{corpus,seeds,small}/"$fuzzer"
  folders=($work/{corpus,seeds}/"$fuzzer" fuzz/corpus/"$fuzzer")
  verdict=
  # Which input to try next is not thought about for long: that would take most of the time.
  run "$program" -entropic=0 -max_total_time=$((seconds / ${#fuzzers[@]} + 1)) "${folders[@]}" ||
    found "a finding: $(tail -n 30 $work/log | sed -n 's/.*Test unit written to //p')"
  executions=$(figure number_of_executed_units)
  rate=$(figure average_exec_per_sec)

  if run "$program" -set_cover_merge=1 $work/small/"$fuzzer" "${folders[@]}"; then
    run build/fuzz-asan/fuzz_"$fuzzer" -runs=0 $work/small/"$fuzzer" ||
      found "a finding under the sanitizers"
    keep_small "$fuzzer"
  else
    found "what was learnt could not be put together"
  fi
  files=(fuzz/corpus/"$fuzzer"/*)
  printf "$row" "$fuzzer" "$executions" "$rate" ${#files[@]} \
    "$(cat "${files[@]}" | wc -c | tr -d ' ')" "$verdict"
done
exit $failed
