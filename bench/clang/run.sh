#!/usr/bin/env bash
# Code completion on a generated 5,000-line C unit (120 structs, 450 functions), against
# clangd-14 over its standard input and output driven by a small client (lsp.py), in one run:
#   (a) the first completion at a member access from a cold start: a whole `tess clang complete`
#       against starting the server, opening the file and asking once;
#   (b) 20 completions, each after a one-line edit, in one `tess clang batch` against one server
#       session with the same edits.
# Both must give the same candidates; hyperfine measures the medians.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/clang"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
if ! command -v clangd-14 >/dev/null; then
    echo "clangd-14 is not installed (scripts/install-deps.sh bench)" >&2
    exit 1
fi
# The client's own start-up counts against the server: the system's interpreter without site
# packages starts fastest (a version manager's shim can cost half a second).
py="$(command -v /usr/bin/python3 || command -v python3) -S"
python3 "$here/generate.py" "$data"
cd "$data"
read -r _ file line column < cold.txt

# Same candidates, answer by answer (the server ranks them its own way: compared as sets).
check() {
    "$bin/tess" clang batch < "$1" > ours.txt
    $py "$here/lsp.py" < "$1" > theirs.txt
    python3 - ours.txt theirs.txt <<'PY'
import sys
def answers(path):
    text = open(path).read().split("\n\n")
    return [sorted(line.split("\t")[0] for line in answer.split("\n") if line)
            for answer in text if answer.strip()]
ours, theirs = answers(sys.argv[1]), answers(sys.argv[2])
if ours != theirs:
    sys.exit("different candidates: %s against %s" % (ours[:3], theirs[:3]))
PY
}
check cold.txt
check edits.txt

hyperfine --warmup 2 --runs 15 \
    --export-json "$results/clang.json" --export-markdown "$results/clang.md" \
    -n "tess clang complete (cold)" "$bin/tess clang complete $file $line $column" \
    -n "clangd-14 (cold)" "$py $here/lsp.py < cold.txt" \
    -n "tess clang batch (20 edits)" "$bin/tess clang batch < edits.txt" \
    -n "clangd-14 (20 edits)" "$py $here/lsp.py < edits.txt"

python3 - "$results/clang.json" <<'PY'
import json, sys
runs = {r["command"]: r["median"] for r in json.load(open(sys.argv[1]))["results"]}
for case in ("cold", "20 edits"):
    ours = runs["tess clang complete (cold)" if case == "cold" else "tess clang batch (20 edits)"]
    theirs = runs["clangd-14 (%s)" % case]
    print("%-9s tess %6.0f ms   clangd-14 %6.0f ms   ratio %.2f (target at most 1.00)"
          % (case, ours * 1000, theirs * 1000, ours / theirs))
PY
