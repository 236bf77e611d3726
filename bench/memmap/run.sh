#!/usr/bin/env bash
# Memory maps and templates. A map of 20,000 registers with bit fields loaded, its addresses
# computed and its header written (tess memmap header, and mkhdr), against xmllint --format of
# the same file; a template of 500 files made into a new project (tess template new), against
# cp -r of the same tree. Each pair in one hyperfine run.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/memmap"
results="$(dirname "$bin")/bench/results"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$data" "$results"
[ -f "$data/big.xml" ] && [ -f "$data/template/project_templates.xml" ] \
    || python3 "$here/generate.py" "$data"
tess="$bin/tess"
[ -x "$tess" ] || { echo "no tess in $bin" >&2; exit 1; }

median() {   # json file, command index
    python3 -c 'import json,sys; print("%.4f" % json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"])' "$1" "$2"
}
ratio() { python3 -c "print('%.2f' % ($1 / $2))"; }
cpu() {   # json file, command index: mean user + system time, steadier than wall time on a busy host
    python3 -c 'import json,sys; r=json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]; print("%.4f" % (r["user"] + r["system"]))' "$1" "$2"
}

echo "median wall time (hyperfine, $(nproc) cores)"
json="$results/memmap-header.json"
hyperfine --warmup 1 --runs "${RUNS:-10}" --export-json "$json" \
    --export-markdown "$results/memmap-header.md" \
    -n "tess memmap header" "'$tess' memmap header '$data/big.xml' -o '$scratch/big.h'" \
    -n mkhdr "'$bin/mkhdr' '$data/big.xml' '$scratch/big2.h'" \
    -n "xmllint --format" "xmllint --format '$data/big.xml' > '$scratch/big.lint'" >/dev/null
ours=$(median "$json" 0); mk=$(median "$json" 1); anchor=$(median "$json" 2)
printf 'header of 20,000 registers  tess %.3f s  mkhdr %.3f s  xmllint --format %.3f s  ratio %s (target <= 2)\n' \
    "$ours" "$mk" "$anchor" "$(ratio "$ours" "$anchor")"
ours=$(cpu "$json" 0); mk=$(cpu "$json" 1); anchor=$(cpu "$json" 2)
printf '  CPU time (user + system)  tess %.3f s  mkhdr %.3f s  xmllint --format %.3f s  ratio %s\n' \
    "$ours" "$mk" "$anchor" "$(ratio "$ours" "$anchor")"

# Each run makes the project in a fresh directory: the one before is removed in --prepare.
json="$results/memmap-template.json"
hyperfine --warmup 1 --runs "${RUNS:-10}" --export-json "$json" \
    --export-markdown "$results/memmap-template.md" \
    --prepare "rm -rf '$scratch/sol' '$scratch/copy' && mkdir '$scratch/sol'" \
    -n "tess template new" \
    "'$tess' template new '$scratch/sol/S.qvProject' Big p --templates '$data/template/project_templates.xml' > /dev/null" \
    -n "cp -r" "cp -r '$data/template/sources' '$scratch/copy'" >/dev/null
ours=$(median "$json" 0); anchor=$(median "$json" 1)
printf 'template of 500 files       tess %.3f s  cp -r %.3f s  ratio %s (target <= 2)\n' \
    "$ours" "$anchor" "$(ratio "$ours" "$anchor")"
ours=$(cpu "$json" 0); anchor=$(cpu "$json" 1)
printf '  CPU time (user + system)  tess %.3f s  cp -r %.3f s  ratio %s\n' "$ours" "$anchor" \
    "$(ratio "$ours" "$anchor")"
