#!/bin/sh
# What the build coordinator costs, against doing the same without it: every row is measured
# against its peer, by turns, on this machine.
# Usage: bench/build.sh [MEGABYTES_FOR_THE_PUMP]; a log holds 256, and nobody follows more.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
megabytes=${1:-240}
. "$here/row.sh"
empty=$bin/bench_empty
versus=$bin/bench_versus

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/plain" "$scratch/repo" "$scratch/home"
export HOME="$scratch/home" QUORVEL_BUILD_MEMORY_OFF=1
unset QUORVEL_BUILD_SLOT QUORVEL_BUILD_SLOT_OFF
cp "$empty" "$scratch/cargo"
mkdir "$scratch/shims"
ln -s "$qv" "$scratch/shims/cargo"
cp "$bin/bench_spray" "$scratch/go"

heading

cd "$scratch/plain"
set -- $("$versus" 2000 : "$empty" : env QUORVEL_BUILD_SLOT=1 "$empty" \
  : env QUORVEL_BUILD_SLOT=1 "$qv" __build "$empty" : "$qv" __build "$scratch/cargo" build \
  : "$qv" __build "$empty" : env QUORVEL_BUILD_SLOT=1 "$qv" __build "$scratch/cargo" build \
  : env QUORVEL_BUILD_SLOT=1 PATH="$scratch/shims:$scratch:$PATH" "$scratch/shims/cargo" build)
row "a build on the direct path" 'the tool alone' "$(calc "($1+$3-$2)/$1")" 1.30
row "the direct path through a link" 'qv __build' "$(calc "$7/$6")" 1.0
row "a coordinated build without a key" 'the direct path' "+$(calc "$4-$5") ms" '+0.5 ms'

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
row "a build with a key, 10,000 files" 'git status' "$(calc "($2-$3)/$1")" 2.5

seconds_of() {
  start=$(date +%s.%N)
  "$@"
  end=$(date +%s.%N)
  calc "$end-$start" 3
}
reader() { cat >/dev/null; }
with_tee() { "$bin/bench_spray" "$megabytes" | tee "$scratch/tee.out" | reader; }
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
exec "$bin/bench_spray" "\$2"
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
row "tool through qv, $megabytes MB of output" 'tool | tee FILE' "$(calc "$pump/$tee")" 1.0
row "the same with a follower" 'tool | tee FILE' "$(calc "$both/$tee")" 1.2
echo
if [ -x "$bin/bench_build_pass" ]; then "$bin/bench_build_pass" "$qv"; fi

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
