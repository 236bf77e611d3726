#!/usr/bin/env bash
# The script engine against two other small interpreters on the same programs: recursive calls,
# loops over an array, object literals, n-body, building a text by appending, array fill and
# sum, property reads and writes, string building, math, dates, sort and text functions.
# Each program gets a one-line prelude that maps out() to the engine's way of printing.
# Prints medians of wall time and of CPU time (user + system, which a loaded machine disturbs
# less) with the anchors' times over ours. BASELINE=path/to/another/tess adds that build as a
# fourth command, for a before-and-after table. Then times appending ten-character pieces up to
# 10 and 100 MB, which must grow linearly.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/js"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
baseline=${BASELINE:-}

programs=${PROGRAMS:-"fib loops objects nbody build array properties strings math date sort text"}
for name in $programs; do
    { echo 'function out(x) { WScript.Echo(x); }'; cat "$here/programs/$name.js"; } > "$data/tess-$name.js"
    { echo 'function out(x) { print(x); }'; cat "$here/programs/$name.js"; } > "$data/other-$name.js"
    echo "$name: tess $("$bin/tess" js "$data/tess-$name.js"), duk $(duk "$data/other-$name.js"), mujs $(mujs "$data/other-$name.js")"
done

for name in $programs; do
    commands=(-n "tess" "'$bin/tess' js '$data/tess-$name.js'"
              -n "duk" "duk '$data/other-$name.js'"
              -n "mujs" "mujs '$data/other-$name.js'")
    [ -n "$baseline" ] && commands+=(-n "baseline" "'$baseline' js '$data/tess-$name.js'")
    hyperfine --style none --warmup 1 --runs "${RUNS:-5}" --export-json "$results/js-$name.json" \
        --export-markdown "$results/js-$name.md" "${commands[@]}" > /dev/null
done

python3 - "$results" $programs <<'PY'
import json, sys
results, names = sys.argv[1], sys.argv[2:]
print(f"{'program':<11} {'tess ms':>9} {'duk ms':>9} {'mujs ms':>9} {'duk/tess':>9} {'mujs/tess':>9}"
      f" {'cpu tess':>9} {'cpu duk':>9} {'cpu mujs':>9} {'base ms':>9}")
for name in names:
    rows = {r["command"]: r for r in json.load(open(f"{results}/js-{name}.json"))["results"]}
    wall = {k: r["median"] * 1000 for k, r in rows.items()}
    cpu = {k: (r["user"] + r["system"]) * 1000 for k, r in rows.items()}
    base = f"{wall['baseline']:9.1f}" if "baseline" in wall else f"{'-':>9}"
    print(f"{name:<11} {wall['tess']:9.1f} {wall['duk']:9.1f} {wall['mujs']:9.1f}"
          f" {wall['duk'] / wall['tess']:9.2f} {wall['mujs'] / wall['tess']:9.2f}"
          f" {cpu['tess']:9.1f} {cpu['duk']:9.1f} {cpu['mujs']:9.1f} {base}")
PY

# Appending grows in place: ten times the pieces must take about ten times as long.
for pieces in 1000000 10000000; do
    cat > "$data/append-$pieces.js" <<JS
var piece = "0123456789";
var s = "";
for (var i = 0; i < $pieces; i++)
    s = s + piece;
WScript.Echo(s.length);
JS
done
hyperfine --style none --warmup 1 --runs "${RUNS:-5}" --export-json "$results/js-append.json" \
    -n "10 MB" "'$bin/tess' js '$data/append-1000000.js'" \
    -n "100 MB" "'$bin/tess' js '$data/append-10000000.js'" > /dev/null
python3 - "$results/js-append.json" <<'PY'
import json, sys
rows = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
small, large = rows["10 MB"]["median"] * 1000, rows["100 MB"]["median"] * 1000
print(f"appending: 10 MB {small:.1f} ms, 100 MB {large:.1f} ms, ratio {large / small:.1f} (linear: 10)")
PY
