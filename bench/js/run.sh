#!/usr/bin/env bash
# The script engine against two other small interpreters on the same programs:
# recursive calls, array fill and sum, property reads and writes, string building, n-body.
# Each program gets a one-line prelude that maps out() to the engine's way of printing.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
data="$(dirname "$bin")/bench/data/js"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"

programs="fib array properties strings nbody math date sort text"
for name in $programs; do
    { echo 'function out(x) { WScript.Echo(x); }'; cat "$here/programs/$name.js"; } > "$data/tess-$name.js"
    { echo 'function out(x) { print(x); }'; cat "$here/programs/$name.js"; } > "$data/other-$name.js"
    echo "$name: tess $("$bin/tess" js "$data/tess-$name.js"), duk $(duk "$data/other-$name.js"), mujs $(mujs "$data/other-$name.js")"
done

for name in $programs; do
    hyperfine --warmup 1 --runs "${RUNS:-5}" --export-json "$results/js-$name.json" \
        --export-markdown "$results/js-$name.md" \
        -n "tess js" "'$bin/tess' js '$data/tess-$name.js'" \
        -n "duk" "duk '$data/other-$name.js'" \
        -n "mujs" "mujs '$data/other-$name.js'" > /dev/null
done

printf '%-11s %10s %10s %10s %10s %10s\n' program "tess ms" "duk ms" "mujs ms" "duk/tess" "mujs/tess"
for name in $programs; do
    awk -v name="$name" '
        /"median"/ { sub(/.*"median": */, ""); sub(/,.*/, ""); m[n++] = $0 * 1000 }
        END { printf "%-11s %10.1f %10.1f %10.1f %10.2f %10.2f\n", name, m[0], m[1], m[2], m[1] / m[0], m[2] / m[0] }
    ' "$results/js-$name.json"
done
