#!/usr/bin/env bash
# Diagnostics and dependency files at build scale, each against a plain reader of the same bytes:
#  1. `tess diag` over 1,000,000 lines of compiler output, against grep picking the marked lines;
#  2. `tess deps` over 10,000 dependency files of 50 names each, against cat of the same files.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
data="$(dirname "$bin")/bench/data/diag"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"

# Outputs go to files: grep stops at its first match when it writes to /dev/null.

# Compiler output: the captured real lines, over and over, with varied paths and numbers.
[ -s "$data/gcc-1m.txt" ] || python3 "$here/generate.py" output "$data/gcc-1m.txt" "$root"/tests/buildengine/data/gcc-*.txt
# Dependency files as a compiler writes them: a rule line, then one name a continuation line.
[ -s "$data/deps/9999.d" ] || python3 "$here/generate.py" deps "$data/deps"

echo "lines: $(wc -l < "$data/gcc-1m.txt"), diagnostics: $("$bin/tess" diag < "$data/gcc-1m.txt" | wc -l)"
echo "dependency names: $(cd "$data/deps" && "$bin/tess" deps ./*.d | tail -1)"

cd "$data"
hyperfine --warmup 2 --runs 10 --export-json "$results/diag.json" --export-markdown "$results/diag.md" \
    -n "grep -E" "grep -E 'error: |warning: |note: ' gcc-1m.txt > grep.out" \
    -n "tess diag" "'$bin/tess' diag < gcc-1m.txt > diag.out"
cd "$data/deps"
hyperfine --warmup 2 --runs 10 --export-json "$results/deps.json" --export-markdown "$results/deps.md" \
    -n "cat" "cat ./*.d > /dev/null" \
    -n "tess deps" "'$bin/tess' deps ./*.d > /dev/null"

for pair in "diag:grep" "deps:cat"; do
    name=${pair%%:*}
    anchor=${pair#*:}
    awk -v anchor="$anchor" -v name="$name" '
        /"median"/ { sub(/.*"median": */, ""); sub(/,.*/, ""); m[n++] = $0 }
        END { printf "%s: %s median %.1f ms, tess %s median %.1f ms, ratio %.2f\n", name, anchor, m[0] * 1000, name, m[1] * 1000, m[1] / m[0] }
    ' "$results/$name.json"
done
