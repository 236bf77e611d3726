#!/usr/bin/env bash
# Edits a file with mixed line endings and a Latin-1 file with `tess edit` scripts: undo, redo,
# save, and the bytes before and after. Usage: demo.sh <bin directory>
set -eu
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
cp "$here/mixed.c" "$here/latin1.txt" "$out/"
cd "$out"

echo "-- mixed.c (cat -A: ^M\$ ends a CR LF line, \$ an LF line)"
cat -A mixed.c
echo "-- tess edit mixed.c --undo-mode 2 --script mixed.script -o mixed-new.c"
"$bin/tess" edit mixed.c --undo-mode 2 --script "$here/mixed.script" -o mixed-new.c 2>&1
echo "-- mixed-new.c: one ending throughout"
cat -A mixed-new.c
echo

echo "-- latin1.txt (od -c: é is the one byte 351)"
od -c latin1.txt
echo "-- tess edit latin1.txt --script latin1.script -e save"
"$bin/tess" edit latin1.txt --script "$here/latin1.script" -e save 2>&1
echo "-- latin1.txt after the save: still ISO-8859-1"
od -c latin1.txt
cp latin1.txt before.txt
echo "-- tess edit latin1.txt -e 'insert 1:1 \"\\u20ac \"' -e save (ISO-8859-1 has no euro sign)"
"$bin/tess" edit latin1.txt -e 'insert 1:1 "\u20ac "' -e save 2>&1 || echo "exit status $?"
cmp -s before.txt latin1.txt && echo "latin1.txt is unchanged"
echo "-- tess edit latin1.txt -e 'encoding utf-8' -e 'insert 1:1 \"\\u20ac \"' -e save"
"$bin/tess" edit latin1.txt -e 'encoding utf-8' -e 'insert 1:1 "\u20ac "' -e save -e state 2>&1
od -c latin1.txt | head -2

echo
echo "-- tess colour --list: the syntaxes"
"$bin/tess" colour --list
syntax="$here/syntax"
echo "-- tess colour hello.c --format ansi"
"$bin/tess" colour "$syntax/hello.c" --format ansi
echo "-- tess colour startup.s --format ansi --states"
"$bin/tess" colour "$syntax/startup.s" --format ansi --states
echo "-- tess colour hello.c --rescan-stats: /* typed at the top, then the */ that closes it"
"$bin/tess" colour "$syntax/hello.c" --rescan-stats --edit '1:1:/*' --edit '1:3:*/' --lines 1-2
echo "-- HTML of every example (files known only by name take --lang)"
for file in "$syntax"/*; do
    name=$(basename "$file")
    lang=()
    case "$name" in
        *.mdl) lang=(--lang md) ;;
        *.stapl) lang=(--lang stapl) ;;
        *.svf) lang=(--lang svf) ;;
        *.lst) lang=(--lang disassembly) ;;
    esac
    "$bin/tess" colour "$file" "${lang[@]}" --format html > "$out/$name.html"
    printf '%-16s -> %s.html: %d lines, %d coloured runs\n' "$name" "$name" \
        "$(wc -l < "$file")" "$(grep -o '<span class="ts' "$out/$name.html" | wc -l)"
done
