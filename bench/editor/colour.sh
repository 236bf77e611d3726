#!/usr/bin/env bash
# Syntax colouring, in one run: a generated 100,000-line C file and a 100,000-line assembler
# file coloured to HTML by `tess colour`, against source-highlight, highlight,
# kate-syntax-highlighter and pygmentize on the same files (hyperfine medians, ratio to the
# fastest of them); then the rescan after edits of the C file: one character mid-file, "/*"
# typed at the top, and the "*/" that closes it again.
# Usage: bench/editor/colour.sh BIN_DIR   (RUNS=N, default 5)
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root="$(dirname "$bin")"
data="$root/bench/data/editor"
results="$root/bench/results"
mkdir -p "$data" "$results"
[ -f "$data/colour.c" ] && [ -f "$data/colour.s" ] || python3 "$here/colour-generate.py" "$data"
runs=${RUNS:-5}

median() {   # json file, command index
    python3 -c 'import json,sys; print("%.3f" % json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"])' "$1" "$2"
}

# name, then the command line with FILE for the input; each writes HTML to standard output.
declare -A c_commands=(
    [source-highlight]="source-highlight -s c -f html -i FILE -o STDOUT"
    [highlight]="highlight --syntax=c -O html -i FILE"
    [kate-syntax-highlighter]="kate-syntax-highlighter -s C -f html FILE"
    [pygmentize]="pygmentize -l c -f html FILE"
)
declare -A asm_commands=(
    [source-highlight]="source-highlight -s asm -f html -i FILE -o STDOUT"
    [highlight]="highlight --syntax=asm -O html -i FILE"
    [kate-syntax-highlighter]="kate-syntax-highlighter -s 'GNU Assembler' -f html FILE"
    [pygmentize]="pygmentize -l gas -f html FILE"
)
anchors=(source-highlight highlight kate-syntax-highlighter pygmentize)

compare() {   # label, file, name of the command table
    local label=$1 file=$2 table=$3
    local -n commands=$table
    local args=(-n "tess colour" "'$bin/tess' colour '$file' --format html")
    local names=("tess colour")
    for anchor in "${anchors[@]}"; do
        if command -v "$anchor" >/dev/null; then
            args+=(-n "$anchor" "${commands[$anchor]//FILE/$file}")
            names+=("$anchor")
        else
            echo "($anchor is not installed: scripts/install-deps.sh bench)"
        fi
    done
    hyperfine -N --style none --warmup 1 --runs "$runs" --output=null \
        --export-json "$results/colour-$label.json" "${args[@]}" >/dev/null
    echo "== $label: $(wc -l < "$file") lines, $(( $(stat -c %s "$file") / 1024 )) KB, to HTML (median of $runs)"
    local ours fastest="" fastestName=""
    ours=$(median "$results/colour-$label.json" 0)
    for i in "${!names[@]}"; do
        local m
        m=$(median "$results/colour-$label.json" "$i")
        printf '  %-26s %8.3f s\n' "${names[$i]}" "$m"
        if [ "$i" -gt 0 ] && { [ -z "$fastest" ] || python3 -c "import sys; sys.exit(0 if $m < $fastest else 1)"; }; then
            fastest=$m
            fastestName=${names[$i]}
        fi
    done
    [ -n "$fastest" ] && printf '  tess colour is %.2fx faster than the fastest, %s (target at least 2)\n' \
        "$(python3 -c "print($fastest / $ours)")" "$fastestName"
}

compare c "$data/colour.c" c_commands
compare asm "$data/colour.s" asm_commands

echo "== rescan after edits of colour.c"
"$bin/tess" colour "$data/colour.c" --rescan-stats --lines 1 \
    --edit 50000:5:x --edit 1:1:/* --edit 1:3:*/ | grep '^edit '
echo "  (edit 1: one character mid-file; edit 2: /* typed at the top; edit 3: the */ that closes it)"
first=$(grep -n '\*/' "$data/colour.c" | head -1 | cut -d: -f1)
echo "  the first */ of the file is on line $first"
