#!/bin/sh
# What the build coordinator costs, against doing the same without it. Builds the release
# program first; then every row is measured against its peer, by turns, on this machine.
# Usage: bench/build.sh [MEGABYTES_FOR_THE_PUMP]; a log holds 256, and nobody follows more.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
megabytes=${1:-240}
dir=$here/../build/bench
cmake -S "$here/.." -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQV_LTO=ON -DQV_TESTS=OFF \
  -DQV_BENCH=ON >/dev/null
cmake --build "$dir" >/dev/null
qv=$dir/qv
empty=$dir/bench_empty
versus=$dir/bench_versus

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/plain" "$scratch/repo" "$scratch/home"
export HOME="$scratch/home" QUORVEL_BUILD_MEMORY_OFF=1
unset QUORVEL_BUILD_SLOT QUORVEL_BUILD_SLOT_OFF
cp "$empty" "$scratch/cargo"
mkdir "$scratch/shims"
ln -s "$qv" "$scratch/shims/cargo"
cp "$dir/bench_spray" "$scratch/go"

row() { printf '%-46s %10s %10s %8s   %s\n' "$@"; }
calc() { awk "BEGIN { printf \"%.${2:-2}f\", $1 }"; }
row "what" "peer" "qv" "ratio" "target"

cd "$scratch/plain"
set -- $("$versus" 2000 : "$empty" : env QUORVEL_BUILD_SLOT=1 "$empty" \
  : env QUORVEL_BUILD_SLOT=1 "$qv" __build "$empty" : "$qv" __build "$scratch/cargo" build \
  : "$qv" __build "$empty" : env QUORVEL_BUILD_SLOT=1 "$qv" __build "$scratch/cargo" build \
  : env QUORVEL_BUILD_SLOT=1 PATH="$scratch/shims:$scratch:$PATH" "$scratch/shims/cargo" build)
row "direct path / the program, ms" "$1" "$(calc "$1+$3-$2" 4)" "$(calc "($1+$3-$2)/$1")" "2.2"
row "direct path through a link / __build, ms" "$6" "$7" "$(calc "$7/$6")" "1.0"
row "not a known tool / the program, ms" "$1" "$5" "$(calc "$5/$1")" ""
row "coordinated without a key - direct, ms" "$5" "$4" "+$(calc "$4-$5")" "+1.5"

cd "$scratch/repo"
git init -q .
i=0
while [ $i -lt 100 ]; do
  mkdir "d$i"
  j=0
  while [ $j -lt 100 ]; do
    echo "file $i $j" >"d$i/f$j"
    j=$((j + 1))
  done
  i=$((i + 1))
done
git add -A
git -c user.name=b -c user.email=b@b commit -qm files
i=0
while [ $i -lt 20 ]; do
  echo changed >>"d$i/f$i"
  i=$((i + 1))
done
git status --porcelain >/dev/null
set -- $("$versus" 60 : git status --porcelain : "$qv" __build "$scratch/cargo" build : "$empty")
row "keyed build / git status, 10,000 files, ms" "$1" "$(calc "$2-$3" 4)" "$(calc "($2-$3)/$1")" "2.5"

seconds_of() {
  start=$(date +%s.%N)
  "$@"
  end=$(date +%s.%N)
  calc "$end-$start" 3
}
reader() { cat >/dev/null; }
with_tee() { "$dir/bench_spray" "$megabytes" | tee "$scratch/tee.out" | reader; }
with_pump() { "$qv" __build "$scratch/go" build "$megabytes" 2>/dev/null | reader; }
with_follower() {
  "$qv" __build "$scratch/go" build "$megabytes" 2>/dev/null | reader &
  sleep 0.1
  "$qv" __build "$scratch/go" build "$megabytes" 2>/dev/null | reader
  wait
}
# The tool's first argument is its subcommand.
cat >"$scratch/go" <<END
#!/bin/sh
exec "$dir/bench_spray" "\$2"
END
best() {
  least=
  for _ in 1 2 3 4 5; do
    now=$(seconds_of "$@")
    rm -f "$scratch/tee.out"
    if [ -z "$least" ] || [ "$(calc "$now<$least" 0)" = 1 ]; then least=$now; fi
  done
  echo "$least"
}
tee=$(best with_tee)
pump=$(best with_pump)
both=$(best with_follower)
speed() { calc "$megabytes/$1" 0; }
row "pump / tool | tee file, MB/s" "$(speed "$tee")" "$(speed "$pump")" "$(calc "$tee/$pump")" "1.2"
row "the same with a follower, MB/s each" "$(speed "$tee")" "$(speed "$both")" "$(calc "$tee/$both")" "0.9"
echo
if [ -x "$dir/bench_build_pass" ]; then "$dir/bench_build_pass" "$qv"; fi

# Fifty identical builds behind a different one: the first in line runs, the rest follow it.
cd "$scratch/repo"
cat >"$scratch/go" <<END
#!/bin/sh
sleep "\$2"
[ "\$1" = test ] || echo ran >>"$scratch/ran"
END
"$qv" __build "$scratch/go" test 5 >/dev/null 2>&1 &
sleep 1
n=0
while [ $n -lt 50 ]; do
  "$qv" __build "$scratch/go" build 1 >/dev/null 2>&1 &
  n=$((n + 1))
done
start=$(date +%s.%N)
wait
took=$(calc "$(date +%s.%N)-$start" 1)
echo
echo "50 identical builds behind another one: the tool ran $(wc -l <"$scratch/ran") times," \
  "the last one ended $took s after they came (5 s of waiting and building are the tools')"

# 200 builds that arrive together behind a running one: after ten seconds every one of
# them has to be in the queue still, none having given up on the lock.
cd "$scratch/plain"
rm -rf "$HOME/Library"
printf '#!/bin/sh\nexec sleep 60\n' >"$scratch/swift"
chmod +x "$scratch/swift"
pids=
n=0
while [ $n -le 200 ]; do
  "$qv" __build "$scratch/swift" build >/dev/null 2>&1 &
  pids="$pids $!"
  n=$((n + 1))
done
sleep 10
queued=$(grep -l '"running":false' "$HOME/Library/Application Support/Quorvel/builds"/*.json | wc -l)
echo
echo "of 200 builds that arrived together, $queued are queued after ten seconds"
kill $pids
wait 2>/dev/null || true
