#!/usr/bin/env bash
# `tess sc status` on a working copy of 20,000 files with 100 changed, against
# `git status --porcelain` on the same tree in the same run, warm cache; then a solution of
# 10,000 file elements refreshed through the background thread, watching the main thread.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/sourcecontrol"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
python3 "$here/generate.py" "$data"
cd "$data/repo"

# The two must print the same lines.
"$bin/tess" sc status > "$data/ours.txt"
git status --porcelain > "$data/git.txt"
if ! cmp -s "$data/ours.txt" "$data/git.txt"; then
    echo "tess sc status differs from git status --porcelain" >&2
    diff "$data/ours.txt" "$data/git.txt" | head >&2
    exit 1
fi
[ "$(git status --porcelain | wc -l)" -eq 100 ] || { echo "expected 100 changed files" >&2; exit 1; }

hyperfine --warmup 5 --runs 30 -N \
    --export-json "$results/sourcecontrol.json" --export-markdown "$results/sourcecontrol.md" \
    "$bin/tess sc status" \
    "git status --porcelain"

# The solution refresh: the longest stretch the main thread goes without turning its event loop,
# on the clock and in its own work (on a loaded machine the clock also counts other processes).
walls=()
works=()
for run in $(seq 1 10); do
    line=$("$bin/tess" sc status --solution Bench.qvProject --background --report-pauses 2>&1 >/dev/null)
    walls+=("$(echo "$line" | sed -n 's/^longest pause of the main thread: \([0-9.]*\) ms, .*$/\1/p')")
    works+=("$(echo "$line" | sed -n 's/^.*of its own work: \([0-9.]*\) ms$/\1/p')")
done
elements=$("$bin/tess" sc status --solution Bench.qvProject | wc -l)

python3 - "$results/sourcecontrol.json" "$elements" "${walls[*]}" "${works[*]}" <<'PY'
import json, statistics, sys
runs = json.load(open(sys.argv[1]))["results"]
ours, git = runs[0]["median"], runs[1]["median"]
walls = [float(p) for p in sys.argv[3].split()]
works = [float(p) for p in sys.argv[4].split()]
print(f"tess sc status (20,000 files, 100 changed): median {ours * 1000:.1f} ms")
print(f"git status --porcelain:                     median {git * 1000:.1f} ms")
print(f"ratio: {ours / git:.2f} (target at most 1.50)")
print(f"solution refresh through the thread, {sys.argv[2]} file elements, longest main-thread pause")
print(f"  its own work: median {statistics.median(works):.1f} ms, worst {max(works):.1f} ms (target at most 16 ms)")
print(f"  on the clock: median {statistics.median(walls):.1f} ms, worst {max(walls):.1f} ms")
PY
