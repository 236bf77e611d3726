#!/usr/bin/env bash
# Short expressions as the preprocessor's `ifex` and `define` evaluate them: `tess expr` parses and
# evaluates each one 20,000 times from its text, against python3 eval()-ing the same texts as
# often in one process. Prints the hyperfine medians, their ratio, and each side's time per
# evaluation as measured inside the process.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
results="$(dirname "$bin")/bench/results"
mkdir -p "$results"
count=20000
expressions=('"Release" == "Debug"' '(3 + 4) * 2 > 10' '0x10 + 7 * 3 - (100 / 4) <= 64' '42 < 50000')

quoted=$(printf ' %q' "${expressions[@]}")
tess_command="$(printf '%q' "$bin/tess") expr --repeat $count$quoted"
anchor_command="python3 $(printf '%q' "$here/anchor.py") $count$quoted"

echo "== time per evaluation, measured inside each process"
eval "$tess_command" 2>&1 >/dev/null
eval "$anchor_command" 2>&1 >/dev/null

hyperfine --warmup 1 --runs 3 --export-json "$results/expression.json" \
    --export-markdown "$results/expression.md" \
    -n "python3 eval" "$anchor_command" \
    -n "tess expr" "$tess_command"

awk -v evaluations=$((count * ${#expressions[@]})) '
    /"median"/ { sub(/.*"median": */, ""); sub(/,.*/, ""); m[n++] = $0 }
    END { printf "expression: python3 median %.1f ms, tess median %.1f ms, ratio %.2f; tess %.3f us per evaluation with start-up\n", m[0] * 1000, m[1] * 1000, m[1] / m[0], m[1] * 1e6 / evaluations }
' "$results/expression.json"
