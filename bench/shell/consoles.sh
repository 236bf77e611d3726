#!/usr/bin/env bash
# 10,000 lines of output into each console: a JavaScript and a Forth script that print in a loop,
# run the way ScriptRun runs the current document (consoles-bench: the main window on the
# offscreen platform), against `tess js` / `tess forth` running the same files, in one hyperfine
# run each: "ratio" is the console process less the window's start-up (an empty script), over
# tess. Then in process, where start-up does not blur it: the console's run (script start to
# output painted) against the same script run by the engine alone in the same program.
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
# In process, alternating so both see the same load: the console's run (script start to output
# painted) and the same script without the window; prints both medians.
inprocess() {   # script
    for _ in $(seq "$runs"); do
        echo "console $("$bench" "$1" 2>/dev/null | sed -n 's/^\([0-9.]*\) ms.*/\1/p')"
        echo "engine $("$bench" --headless "$1" 2>&1 >/dev/null | sed -n 's/^\([0-9.]*\) ms$/\1/p')"
    done | python3 -c '
import statistics, sys
runs = {}
for line in sys.stdin:
    kind, value = line.split()
    runs.setdefault(kind, []).append(float(value))
print("%.1f %.1f" % (statistics.median(runs["console"]), statistics.median(runs["engine"])))'
}

printf '%-6s | %9s %9s %9s %6s | %9s %9s %6s\n' "" "processes" "" "" "" "in process" "" ""
printf '%-6s | %9s %9s %9s %6s | %9s %9s %6s\n' script "console" "window" "tess" ratio "console" "engine" ratio
printf '%-6s | %9s %9s %9s %6s | %9s %9s %6s\n' "" "(ms)" "start(ms)" "(ms)" "" "run (ms)" "run (ms)" ""
for language in js forth; do
    suffix=fs
    [ "$language" = js ] && suffix=js
    script="$data/print.$suffix"
    got=$("$bench" "$script" 2>/dev/null)
    case "$got" in *" $((lines + 2)) lines"|*" $((lines + 3)) lines") ;; *) echo "$language: unexpected console output: $got"; exit 1 ;; esac
    json="$results/shell-consoles-$language.json"
    hyperfine --style none --warmup 1 --runs "$runs" --export-json "$json" \
        -n console "$bench $script 2>/dev/null" -n "window start" "$bench $data/empty.$suffix 2>/dev/null" \
        -n tess "$bin/tess $language $script" >/dev/null 2>&1
    ours=$(median "$json" 0)
    start=$(median "$json" 1)
    floor=$(median "$json" 2)
    read -r console engine <<< "$(inprocess "$script")"
    printf '%-6s | %9s %9s %9s %6s | %9s %9s %6s\n' "$language" "$ours" "$start" "$floor" \
        "$(python3 -c "print('%.2f' % (max($ours - $start, 0) / $floor))")" "$console" "$engine" \
        "$(python3 -c "print('%.2f' % ($console / $engine))")"
done
