#!/usr/bin/env bash
# Opening a 10,000-file solution in the main window and showing its tree, against
# `tess solution show` of the same file (load and print the whole tree).
# 1. In process: the window is built first, then each round opens the solution, lays out the
#    explorer's top-level rows and paints them (shell-solution-bench); its median is set against
#    the median of `tess solution show` as a whole process, from one hyperfine run.
# 2. Whole processes in that same hyperfine run: the bench program building the window, opening
#    the solution and painting the tree once, for what a start with a solution costs.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/shell"
results="$(dirname "$bin")/bench/results"
bench="$(dirname "$bin")/bench/bin/shell-solution-bench"
runs=${RUNS:-20}
mkdir -p "$data" "$results"
[ -f "$data/Bench.qvProject" ] || python3 "$here/../solution/generate.py" "$data" > /dev/null
solution="$data/Bench.qvProject"
[ -x "$bench" ] || { echo "build shell-solution-bench first (cmake --build out --target shell-solution-bench)" >&2; exit 1; }
files=$(grep -c '<file ' "$solution")

json="$results/shell-solution.json"
hyperfine -N --warmup 3 --runs "$runs" --export-json "$json" --export-markdown "$results/shell-solution.md" \
    -n "tess solution show" "$bin/tess solution show $solution" \
    -n "window start, open and paint" "env QT_QPA_PLATFORM=offscreen $bench $solution --once" > /dev/null 2>&1
inprocess=$(QT_QPA_PLATFORM=offscreen "$bench" "$solution" --runs "$runs" 2>/dev/null)

python3 - "$json" "$inprocess" "$files" <<'PY'
import json, re, sys
runs = json.load(open(sys.argv[1]))["results"]
show, whole = runs[0]["median"] * 1000, runs[1]["median"] * 1000
ours = float(re.search(r"median ([0-9.]+) ms", sys.argv[2]).group(1))
print(f"solution of {sys.argv[3]} files")
print(f"tess solution show (process):                 median {show:7.1f} ms")
print(f"open and show in the window (in process):     median {ours:7.1f} ms   ratio {ours / show:.2f} (target at most 1.50)")
print(f"window start, open and paint (process):       median {whole:7.1f} ms   ratio {whole / show:.2f}")
PY
