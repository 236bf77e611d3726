#!/usr/bin/env bash
# 10,000 lines of output into each console: a JavaScript and a Forth script that print in a loop,
# run the way ScriptRun runs the current document (consoles-bench: the main window on the
# offscreen platform), against `tess js` / `tess forth` running the same files, in one hyperfine
# run each. Prints the medians of whole processes and their ratio, and the in-process time of
# the run alone (script start to output painted), whose floor is the headless run minus the
# process start. "ratio" is the console process less the window's start-up, over the headless run.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
bench="$(dirname "$bin")/bench/bin/consoles-bench"
data="$(dirname "$bin")/bench/data/shell"
results="$(dirname "$bin")/bench/results"
runs=${RUNS:-10}
lines=${LINES_OUT:-10000}
mkdir -p "$data" "$results"
[ -x "$bench" ] || { echo "consoles-bench is not built (cmake --build out --target consoles-bench)"; exit 1; }
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -m 700 "$home/runtime"
export HOME="$home" QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR="$home/runtime"

cat > "$data/print.js" <<JS
for (var i = 0; i < $lines; i++)
    WScript.Echo("line " + i + " of the console benchmark");
JS
cat > "$data/print.fs" <<FORTH
: lines $lines 0 DO S" line " TYPE I . S" of the console benchmark" TYPE CR LOOP ;
lines
FORTH
: > "$data/empty.js"
: > "$data/empty.fs"

median() {   # json file, command index -> milliseconds
    python3 -c 'import json,sys; print("%.1f" % (1000 * json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"]))' "$1" "$2"
}
inprocess() {   # script -> median of the run's own clock
    for _ in $(seq "$runs"); do "$bench" "$1" 2>/dev/null | sed -n 's/^\([0-9.]*\) ms.*/\1/p'; done |
        python3 -c 'import statistics,sys; print("%.1f" % statistics.median(float(x) for x in sys.stdin.read().split()))'
}

printf '%-6s %10s %10s %12s %14s %7s %12s\n' script "console" "headless" "window start" "console less" ratio "in-process"
printf '%-6s %10s %10s %12s %14s %7s %12s\n' "" "(ms)" "(ms)" "(ms)" "start (ms)" "" "run (ms)"
for language in js forth; do
    suffix=fs
    [ "$language" = js ] && suffix=js
    script="$data/print.$suffix"
    got=$("$bench" "$script" 2>/dev/null)
    case "$got" in *" $((lines + 2)) lines"|*" $((lines + 3)) lines") ;; *) echo "$language: unexpected console output: $got"; exit 1 ;; esac
    json="$results/shell-consoles-$language.json"
    hyperfine --style none --warmup 1 --runs "$runs" --export-json "$json" \
        -n console "$bench $script 2>/dev/null" -n headless "$bin/tess $language $script" \
        -n "window start" "$bench $data/empty.$suffix 2>/dev/null" >/dev/null
    ours=$(median "$json" 0)
    floor=$(median "$json" 1)
    start=$(median "$json" 2)
    printf '%-6s %10s %10s %12s %14s %7s %12s\n' "$language" "$ours" "$floor" "$start" \
        "$(python3 -c "print('%.1f' % ($ours - $start))")" \
        "$(python3 -c "print('%.2f' % (($ours - $start) / $floor))")" "$(inprocess "$script")"
done
