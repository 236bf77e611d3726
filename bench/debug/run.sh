#!/usr/bin/env bash
# The debugger front end against gdb, both reading an ELF file without running it:
#  1. 10,000 generated globals (ints, nested structs, arrays) and 100,000 expressions over them
#     (members, elements, arithmetic): `tess debug eval --file` against `gdb -batch -x` printing
#     the same expressions. Target: at least 10x faster.
#  2. An image with about 50 MB of DWARF in 200 units, printing a global of the last unit.
#     Target: at most 1.0x gdb's time.
# The outputs are compared value by value before timing. Data and results go to
# $(dirname BIN)/bench/debug; the large image is built once and kept there.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/debug"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data/globals" "$data/dwarf" "$results"
tess="$bin/tess"
command -v gdb >/dev/null || { echo "debug: gdb is not installed; nothing to compare with" >&2; exit 1; }

if [ ! -f "$data/globals/globals.elf" ]; then
    python3 "$here/generate.py" globals "$data/globals"
    gcc -g -O0 -o "$data/globals/globals.elf" "$data/globals/globals.c"
fi
if [ ! -f "$data/dwarf/big.elf" ]; then
    echo "building the 50 MB DWARF image (once)..."
    python3 "$here/generate.py" dwarf "$data/dwarf" 200
    ls "$data/dwarf"/unit*.c | xargs -P "$(nproc)" -I{} sh -c \
        'gcc -g -O0 -fno-eliminate-unused-debug-types -c "$1" -o "${1%.c}.o"' _ {}
    gcc -o "$data/dwarf/big.elf" "$data/dwarf"/unit*.o
    rm -f "$data/dwarf"/unit*.o
fi

cd "$data/globals"
"$tess" debug eval globals.elf --file expressions.txt > tess.txt
gdb -batch -nx -x expressions.gdb globals.elf 2>&1 | sed 's/^\$[0-9]* = //' > gdb.txt
if ! cmp -s tess.txt gdb.txt; then
    echo "debug: tess and gdb disagree on the expressions:" >&2
    diff tess.txt gdb.txt | head -5 >&2
    exit 1
fi
echo "== 100,000 expressions over 10,000 globals (outputs agree)"
hyperfine --warmup 1 --runs 5 --export-json "$results/debug-eval.json" \
    -n "gdb -batch -x" "gdb -batch -nx -x expressions.gdb globals.elf > /dev/null 2>&1" \
    -n "tess debug eval --file" "$tess debug eval globals.elf --file expressions.txt > /dev/null"

cd "$data/dwarf"
echo "== load of $(du -m big.elf | cut -f1) MB image, one global of the last unit"
"$tess" debug eval big.elf last_global
gdb -batch -nx -ex 'print last_global' big.elf
hyperfine --warmup 1 --runs 10 --export-json "$results/debug-load.json" \
    -n "gdb -batch -ex print" "gdb -batch -nx -ex 'print last_global' big.elf > /dev/null 2>&1" \
    -n "tess debug eval" "$tess debug eval big.elf last_global > /dev/null"

summary() {
    awk -v label="$2" '
        /"median"/ { sub(/.*"median": */, ""); sub(/,.*/, ""); m[n++] = $0 }
        END { printf "%s: gdb median %.1f ms, tess median %.1f ms, tess takes %.3fx the time of gdb (%.1fx faster)\n", label, m[0] * 1000, m[1] * 1000, m[1] / m[0], m[0] / m[1] }
    ' "$1"
}
summary "$results/debug-eval.json" "debug eval, 100,000 expressions"
summary "$results/debug-load.json" "debug load, 50 MB DWARF"
