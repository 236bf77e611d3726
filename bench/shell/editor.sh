#!/usr/bin/env bash
# The editor view on a 1,000,000-line C file, in one run:
# 1. Open the file and paint the first screen, in process (the median of RUNS opens), against the
#    floor of `tess colour` of the first screen's lines plus `tess edit` loading the file
#    (hyperfine medians): target at most 1.5 times the floor. The same open as a whole process
#    of its own is shown too, start-up of the widget library included.
# 2. A key typed in the middle of the file to the next paint: median under 2 ms, none above one
#    60 Hz frame (16.7 ms).
# 3. Page Down from the top to the bottom, each page to the next paint: median under 2 ms.
# Usage: bench/shell/editor.sh BIN_DIR   (RUNS=N opens and hyperfine runs, default 5)
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root="$(dirname "$bin")"
bench="$root/bench/bin/shell-editor-bench"
data="$root/bench/data/shell"
results="$root/bench/results"
runs=${RUNS:-5}
mkdir -p "$data" "$results"
[ -x "$bench" ] || { echo "editor.sh: $bench is missing (build the target shell-editor-bench)" >&2; exit 1; }
file="$data/editor-1m.c"
if [ ! -f "$file" ]; then
    python3 "$here/../editor/colour-generate.py" "$data" > /dev/null
    for _ in 1 2 3 4 5 6 7 8 9 10; do cat "$data/colour.c"; done | head -n 1000000 > "$file"
fi
export QT_QPA_PLATFORM=offscreen
[ -n "${XDG_RUNTIME_DIR:-}" ] || { export XDG_RUNTIME_DIR=$(mktemp -d); trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT; }

field() {   # line of the bench program, field name -> value
    echo "$1" | awk -v name="$2" '{ for (i = 1; i < NF; ++i) if ($i == name) print $(i + 1) }'
}
median() {   # json file, command index -> milliseconds
    python3 -c 'import json,sys; print("%.1f" % (1000 * json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"]))' "$1" "$2"
}

open=$("$bench" open "$file" "$runs")
lines=$(field "$open" lines)
json="$results/shell-editor-open.json"
hyperfine --warmup 1 --runs "$runs" --export-json "$json" --export-markdown "$results/shell-editor-open.md" \
    -n "tess colour --lines 1-$lines" "'$bin/tess' colour '$file' --lines 1-$lines" \
    -n "tess edit" "'$bin/tess' edit '$file'" \
    -n "shell-editor-bench open (own process)" "'$bench' open '$file' 1" > /dev/null
colour=$(median "$json" 0)
edit=$(median "$json" 1)
process=$(median "$json" 2)
ours=$(field "$open" median)
floor=$(python3 -c "print(round($colour + $edit, 1))")
type=$("$bench" type "$file" 500)
scroll=$("$bench" scroll "$file")

{
    echo "Editor view, $(wc -l < "$file") lines, $lines lines in sight"
    printf '%-44s %10s\n' "step" "median ms"
    printf '%-44s %10.1f\n' "open + first paint (in process)" "$ours"
    printf '%-44s %10.1f\n' "  the same as a process of its own" "$process"
    printf '%-44s %10.1f\n' "floor: tess colour first screen" "$colour"
    printf '%-44s %10.1f\n' "floor: tess edit loading" "$edit"
    printf '%-44s %10.1f\n' "floor: sum" "$floor"
    printf 'ratio open / floor: %s (target at most 1.5)\n' "$(python3 -c "print(round($ours / $floor, 2))")"
    printf 'keystroke mid-file to paint: median %s ms, max %s ms over %s keys (targets < 2, <= 16.7)\n' \
        "$(field "$type" median)" "$(field "$type" max)" "$(field "$type" count)"
    printf 'Page Down top to bottom: median %s ms, max %s ms over %s pages (target < 2)\n' \
        "$(field "$scroll" median)" "$(field "$scroll" max)" "$(field "$scroll" count)"
} | tee "$results/shell-editor.txt"
