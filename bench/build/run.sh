#!/bin/sh
# The build engine (`tess build` through bin/cc) against ninja running the same front end with
# the same arguments: full build with two jobs, null build, and one file touched.
# Each tool works in its own copy of the generated tree, so that each null build reads what
# its own full build left (ninja keeps dependencies in its log and deletes the .d files; the
# engine reads the .d files on every build).
# Usage: bench/build/run.sh BIN_DIR [COUNT...]   (default counts: 2000 10000)
#        FULL_RUNS=N runs each full build N times (default 1).
set -e
bin=$(cd "${1:?usage: run.sh BIN_DIR [COUNT...]}" && pwd)
shift
counts=${*:-2000 10000}
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/build"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
command -v ninja >/dev/null || { echo "ninja is not installed"; exit 1; }

median() { python3 -c "import json,sys; r=json.load(open(sys.argv[1]))['results']; print(' '.join('%.3f' % x['median'] for x in r))" "$1"; }

for count in $counts; do
    ours="$data/c$count/tess"
    theirs="$data/c$count/ninja"
    python3 "$here/generate.py" "$count" "$ours" "$bin"
    python3 "$here/generate.py" "$count" "$theirs" "$bin"
    tess="cd '$ours' && '$bin/tess' build bench.qvProject -j 2"
    ninja="cd '$theirs' && ninja -j 2"
    runs=${FULL_RUNS:-1}
    echo "== $count files: full build, -j 2 ($runs run(s) each)"
    hyperfine --runs "$runs" --export-json "$results/build-full-$count.json" \
        -n tess --prepare "rm -rf '$ours/Output'" "$tess > /dev/null" \
        -n ninja --prepare "rm -rf '$theirs/Output' '$theirs/.ninja_log' '$theirs/.ninja_deps'" \
        "$ninja > /dev/null"
    (cd "$ours" && "$bin/tess" build bench.qvProject -j 2 | tail -n 1)
    (cd "$theirs" && ninja -j 2 | tail -n 1)
    echo "== $count files: null build"
    hyperfine --warmup 1 --runs 10 --export-json "$results/build-null-$count.json" \
        -n tess "$tess" -n ninja "$ninja"
    echo "== $count files: one file touched"
    # Time stamps count in whole seconds: the touch must land in a later second than the object.
    hyperfine --runs 5 --export-json "$results/build-touch-$count.json" \
        -n tess --prepare "sleep 1; touch '$ours/src/d000/f00007.c'" "$tess" \
        -n ninja --prepare "sleep 1; touch '$theirs/src/d000/f00007.c'" "$ninja"
    for kind in full null touch; do
        set -- $(median "$results/build-$kind-$count.json")
        echo "RESULT $count $kind tess=${1}s ninja=${2}s ratio=$(python3 -c "print('%.2f' % ($1/$2))")"
    done
done
