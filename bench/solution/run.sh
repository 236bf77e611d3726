#!/usr/bin/env bash
# Loading a solution of 10,000 files and expanding every file's object name in two
# configurations, against ninja listing the commands of the equivalent 10,000 compile edges.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
data="$(dirname "$bin")/bench/data/solution"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
python3 "$here/generate.py" "$data"
cd "$data"

# The two must agree on what they compute: every Debug object name of the solution, with its
# project directory in front, is an output of build.ninja.
"$bin/tess" property dump Bench.qvProject Debug build_object_file_name --expand \
    | awk -F'\t' '{ split($1, parts, "/"); print parts[1] "/" $2 }' | sort > ours.txt
ninja -t targets all | sed -n 's/: cc$//p' | sort > ninja.txt
if ! cmp -s ours.txt ninja.txt; then
    echo "object names differ from build.ninja" >&2
    diff ours.txt ninja.txt | head >&2
    exit 1
fi

hyperfine --warmup 3 --runs 20 -N \
    --export-json "$results/solution.json" --export-markdown "$results/solution.md" \
    "$bin/tess property dump Bench.qvProject Debug;Release build_object_file_name --expand" \
    "ninja -t commands"

python3 - "$results/solution.json" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["results"]
ours, ninja = runs[0]["median"], runs[1]["median"]
print(f"tess property dump (2 configurations): median {ours * 1000:.1f} ms")
print(f"ninja -t commands:                      median {ninja * 1000:.1f} ms")
print(f"ratio: {ours / ninja:.2f} (target at most 2.00)")
PY
