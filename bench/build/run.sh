#!/bin/sh
# The build engine (`tess build` through bin/cc) against ninja and make running the same front
# end with the same command lines: full build with two jobs, null build, and one file touched.
# Each tool works in its own copy of the generated tree, so that each null build reads what
# its own full build left (ninja keeps dependencies in its log and deletes the .d files; make
# and the engine read the .d files on every build). The three are timed in one hyperfine run
# per case, so that a machine busy with other work weighs on all of them alike.
# A full build takes long enough for the load of a shared machine to drift between the first
# tool's runs and the last's: it is timed in rounds, each one hyperfine run of the three in a
# rotated order, and each tool's median over the rounds is reported with the median of the
# ratios within a round.
# A second full build runs a stand-in that sleeps 25 ms instead of the compiler (standin.c),
# in an installation of its own: with the compiles' own time fixed, what differs is what each
# tool spends between one tool ending and the next starting, which a loaded machine blurs in
# the real build.
# Usage: bench/build/run.sh BIN_DIR [COUNT...]   (default counts: 2000 10000)
#        FULL_ROUNDS=N sets the rounds of full builds (default 3).
#        COMPILER=standin times every case with the stand-in alone, results named
#        build-*-standin-COUNT.json: a run that fits a busy machine's hour for the larger trees.
set -e
bin=$(cd "${1:?usage: run.sh BIN_DIR [COUNT...]}" && pwd)
shift
counts=${*:-2000 10000}
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/build"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
for tool in ninja make hyperfine; do
    command -v $tool >/dev/null || { echo "$tool is not installed"; exit 1; }
done

medians() { python3 -c "import json,sys; r=json.load(open(sys.argv[1]))['results']; print(' '.join('%.3f' % x['median'] for x in r))" "$1"; }
ratio() { python3 -c "import sys; a, b = map(float, sys.argv[1:]); print('%.2f' % (a / b) if b else 'n/a')" "$1" "$2"; }

# The first compile and the link of each tool, with the tree's own path taken out: the three
# must run the same commands or the comparison says nothing.
key_commands() {
    sed "s|$1|TREE|g" > "$1/commands.txt"
    grep -m 1 -e ' -c -xc ' "$1/commands.txt"
    grep -m 1 -e ' -inputfiles ' "$1/commands.txt"
}
check_same_commands() {
    t=$(cd "$1" && "$4/tess" build bench.qvProject --export commands.sh >/dev/null && key_commands "$1" < commands.sh)
    n=$(cd "$2" && ninja -t commands | key_commands "$2")
    # make writes the link list while it expands the recipe, -n or not: its folder must exist.
    m=$(cd "$3" && mkdir -p Output/Debug/Obj/app && make -n | key_commands "$3")
    if [ "$t" != "$n" ] || [ "$t" != "$m" ]; then
        printf 'command lines differ:\n tess:\n%s\n ninja:\n%s\n make:\n%s\n' "$t" "$n" "$m"
        exit 1
    fi
}

standin="$data/standin/bin"
mkdir -p "$standin"
cp "$bin/tess" "$standin/tess"
gcc -O2 -o "$standin/cc" "$here/standin.c"

# Full builds in rounds: NAME OUTPUT_JSON TESS_TREE NINJA_TREE MAKE_TREE BIN.
full_builds() {
    echo "== $1: full build, -j 2 (${FULL_ROUNDS:-3} rounds)"
    python3 "$here/rounds.py" "$2" "${FULL_ROUNDS:-3}" \
        tess "rm -rf '$3/Output'" "cd '$3' && '$6/tess' build bench.qvProject -j 2 > /dev/null" \
        ninja "rm -rf '$4/Output' '$4/.ninja_log' '$4/.ninja_deps'" "cd '$4' && ninja -j 2 > /dev/null" \
        make "rm -rf '$5/Output'" "cd '$5' && make -j 2 > /dev/null"
}

for count in $counts; do
    tools="$bin"
    case_="$count"
    if [ "${COMPILER:-gcc}" = standin ]; then
        tools="$standin"
        case_="standin-$count"
    fi
    ours="$data/c$case_/tess"
    theirs="$data/c$case_/ninja"
    makes="$data/c$case_/make"
    for tree in "$ours" "$theirs" "$makes"; do
        python3 "$here/generate.py" "$count" "$tree" "$tools"
    done
    check_same_commands "$ours" "$theirs" "$makes" "$tools"
    tess="cd '$ours' && '$tools/tess' build bench.qvProject -j 2"
    ninja="cd '$theirs' && ninja -j 2"
    make="cd '$makes' && make -j 2"
    full_builds "$case_ files" "$results/build-full-$case_.json" "$ours" "$theirs" "$makes" "$tools"
    (cd "$ours" && "$tools/tess" build bench.qvProject -j 2 | tail -n 1)
    (cd "$theirs" && ninja -j 2 | tail -n 1)
    (cd "$makes" && make -j 2 | tail -n 1)
    echo "== $case_ files: null build"
    hyperfine --warmup 2 --runs 20 --export-json "$results/build-null-$case_.json" \
        -n tess "$tess" -n ninja "$ninja" -n make "$make"
    echo "== $case_ files: one file touched"
    # Time stamps count in whole seconds: the touch must land in a later second than the object.
    hyperfine --runs 5 --export-json "$results/build-touch-$case_.json" \
        -n tess --prepare "sleep 1; touch '$ours/src/d000/f00007.c'" "$tess" \
        -n ninja --prepare "sleep 1; touch '$theirs/src/d000/f00007.c'" "$ninja" \
        -n make --prepare "sleep 1; touch '$makes/src/d000/f00007.c'" "$make"
    kinds="full null touch"
    if [ "$tools" = "$bin" ]; then
        for tree in tess ninja make; do
            python3 "$here/generate.py" "$count" "$data/s$count/$tree" "$standin"
        done
        full_builds "$count files, 25 ms stand-in compiler" "$results/build-standin-$count.json" \
            "$data/s$count/tess" "$data/s$count/ninja" "$data/s$count/make" "$standin"
        kinds="full standin null touch"
    fi
    echo "(with no time between tools: $(( (count + 1) / 2 * 25 + 25 )) ms)"
    for kind in $kinds; do
        json="$results/build-$kind-$case_.json"
        [ "$kind" = standin ] && json="$results/build-standin-$count.json"
        set -- $(medians "$json")
        echo "RESULT $case_ $kind tess=${1}s ninja=${2}s make=${3}s" \
             "tess/ninja=$(ratio "$1" "$2") tess/make=$(ratio "$1" "$3")"
    done
done
