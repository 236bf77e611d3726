#!/bin/sh
# The build engine (`tess build` through bin/cc) against ninja running the same front end with
# the same arguments: full build with two jobs, null build, and one file touched.
# Usage: bench/build/run.sh BIN_DIR [COUNT...]   (default counts: 2000 10000)
set -e
bin=$(cd "${1:?usage: run.sh BIN_DIR [COUNT...]}" && pwd)
shift
counts=${*:-2000 10000}
here=$(cd "$(dirname "$0")" && pwd)
data="$here/../data/build"
results="$here/../results"
mkdir -p "$data" "$results"
command -v ninja >/dev/null || { echo "ninja is not installed"; exit 1; }

median() { python3 -c "import json,sys; r=json.load(open(sys.argv[1]))['results']; print(' '.join('%.3f' % x['median'] for x in r))" "$1"; }

for count in $counts; do
    dir="$data/c$count"
    python3 "$here/generate.py" "$count" "$dir" "$bin"
    cd "$dir"
    # Both write the same outputs: each full build starts from nothing, and the last one leaves
    # a tree that both find up to date.
    runs=${FULL_RUNS:-1}
    echo "== $count files: full build, -j 2 ($runs run(s) each)"
    hyperfine --runs "$runs" --export-json "$results/build-full-$count.json" \
        --prepare "rm -rf Output .ninja_log .ninja_deps" "$bin/tess build bench.qvProject -j 2" \
        --prepare "rm -rf Output .ninja_log .ninja_deps" "ninja -j 2"
    "$bin/tess" build bench.qvProject -j 2 | tail -n 1
    echo "== $count files: null build"
    hyperfine -N --warmup 1 --runs 10 --export-json "$results/build-null-$count.json" \
        "$bin/tess build bench.qvProject -j 2" "ninja -j 2"
    echo "== $count files: one file touched"
    hyperfine --runs 5 --export-json "$results/build-touch-$count.json" \
        --prepare "sleep 1; touch src/d000/f00007.c" "$bin/tess build bench.qvProject -j 2" \
        --prepare "sleep 1; touch src/d000/f00007.c" "ninja -j 2"
    for kind in full null touch; do
        set -- $(median "$results/build-$kind-$count.json")
        echo "RESULT $count $kind tess=${1}s ninja=${2}s ratio=$(python3 -c "print('%.2f' % ($1/$2))")"
    done
    cd - >/dev/null
done
