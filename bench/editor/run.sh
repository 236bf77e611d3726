#!/usr/bin/env bash
# The editor, in one run:
#  1. load and save a generated 100 MB C file with `tess edit FILE -o OUT`, against `cp` of the
#     same file to the same folder (hyperfine medians), and the peak resident memory of the load;
#  2. 1,000,000 one-character insertions at random positions of a 100,000-line file, each its
#     own operation, then undo all: the program over CodeEdit against the same workload over
#     QTextDocument (QTextCursor::insertText, QTextDocument::undo), same seed; both print a digest
#     of the edited text, which must agree;
#  3. syntax colouring against four highlighters and the rescan counts (colour.sh).
# Usage: bench/editor/run.sh BIN_DIR   (RUNS=N load/save runs, default 7; UNDO_RUNS=N, default 3;
#        INSERTS=N, default 1000000)
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root="$(dirname "$bin")"
data="$root/bench/data/editor"
results="$root/bench/results"
programs="$root/bench/bin"
mkdir -p "$data" "$results"
[ -f "$data/big.c" ] && [ -f "$data/lines100k.c" ] || python3 "$here/generate.py" "$data"
scratch="$data/scratch"
rm -rf "$scratch"
mkdir -p "$scratch"
trap 'rm -rf "$scratch"' EXIT

median() {   # json file, command index
    python3 -c 'import json,sys; print("%.3f" % json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"])' "$1" "$2"
}
ratio() { python3 -c "import sys; print('%.2f' % (float(sys.argv[1]) / float(sys.argv[2])))" "$1" "$2"; }

echo "== load and save $(( $(stat -c %s "$data/big.c") / 1048576 )) MB: tess edit FILE -o OUT against cp"
hyperfine --style none --warmup 1 --runs "${RUNS:-7}" --export-json "$results/editor-load-save.json" \
    -n "tess edit" "'$bin/tess' edit '$data/big.c' -o '$scratch/edited.c'" \
    -n cp "cp '$data/big.c' '$scratch/copied.c'" >/dev/null
cmp "$data/big.c" "$scratch/edited.c" || { echo "the saved file differs from the loaded one"; exit 1; }
ours=$(median "$results/editor-load-save.json" 0)
anchor=$(median "$results/editor-load-save.json" 1)
printf 'median  tess edit %.3f s   cp %.3f s   ratio %s (target at most 2)\n' "$ours" "$anchor" "$(ratio "$ours" "$anchor")"
kb=$( { /usr/bin/time -f %M "$bin/tess" edit "$data/big.c" -o "$scratch/edited.c"; } 2>&1 | tail -1)
printf 'peak resident memory %.1f MB for %.1f MB: %.2fx (target at most 2.5)\n' \
    "$(python3 -c "print($kb / 1024)")" "$(python3 -c "print($(stat -c %s "$data/big.c") / 1048576)")" \
    "$(python3 -c "print($kb * 1024 / $(stat -c %s "$data/big.c"))")"

inserts=${INSERTS:-1000000}
echo "== $inserts one-character insertions, each its own operation, then undo all"
[ -x "$programs/editor-undo-anchor" ] || { echo "no $programs/editor-undo-anchor (needs Qt Gui)"; exit 1; }
# The same edits on both sides, shown on a shorter run of the same sequence.
ourDigest=$("$programs/editor-undo-bench" "$data/lines100k.c" 20000 1 2>/dev/null)
theirDigest=$(QT_QPA_PLATFORM=offscreen "$programs/editor-undo-anchor" "$data/lines100k.c" 20000 1 2>/dev/null)
echo "CodeEdit:      $ourDigest"
echo "QTextDocument: $theirDigest"
[ "$ourDigest" = "$theirDigest" ] || { echo "the two programs did not make the same edits"; exit 1; }
QT_QPA_PLATFORM=offscreen hyperfine --style none --runs "${UNDO_RUNS:-3}" --export-json "$results/editor-undo.json" \
    -n CodeEdit "'$programs/editor-undo-bench' '$data/lines100k.c' $inserts 1" \
    -n QTextDocument "'$programs/editor-undo-anchor' '$data/lines100k.c' $inserts 1" >/dev/null 2>&1
ours=$(median "$results/editor-undo.json" 0)
anchor=$(median "$results/editor-undo.json" 1)
printf 'median  CodeEdit %.3f s   QTextDocument %.3f s   %sx faster (target at least 10)\n' "$ours" "$anchor" \
    "$(ratio "$anchor" "$ours")"

echo
"$here/colour.sh" "$bin"
