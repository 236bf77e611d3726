#!/usr/bin/env bash
# XML load and save: xmlcp against xmllint --format on the same inputs, in one hyperfine run
# per input; then xmlcp's peak memory against the input size, and the for/define workload.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/xml"
results="$(dirname "$bin")/bench/results"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$data" "$results"
[ -f "$data/big.xml" ] && [ -f "$data/defines-flat.xml" ] || python3 "$here/generate.py" "$data"

xmlcp="$bin/xmlcp"
[ -x "$xmlcp" ] || { echo "no xmlcp in $bin" >&2; exit 1; }

median() {   # json file, command index
    python3 -c 'import json,sys; print("%.3f" % json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"])' "$1" "$2"
}

compare() {   # name
    local name=$1 json="$results/xml-$1.json"
    hyperfine --warmup 1 --runs "${RUNS:-7}" --export-json "$json" \
        --export-markdown "$results/xml-$name.md" \
        -n xmlcp "'$xmlcp' '$data/$name.xml' '$scratch/$name.out'" \
        -n xmllint "xmllint --format '$data/$name.xml' > '$scratch/$name.lint'" >/dev/null
    local ours anchor
    ours=$(median "$json" 0)
    anchor=$(median "$json" 1)
    printf '%-13s xmlcp %8.3f s   xmllint %8.3f s   ratio %.2f\n' "$name" "$ours" "$anchor" \
        "$(python3 -c "print($ours / $anchor)")"
}

memory() {   # name
    local name=$1 kb bytes
    kb=$( { /usr/bin/time -f %M "$xmlcp" "$data/$name.xml" "$scratch/$name.out"; } 2>&1 | tail -1)
    bytes=$(stat -c %s "$data/$name.xml")
    printf '%-13s xmlcp peak RSS %7.1f MB for %6.1f MB of input: %.2fx\n' "$name" \
        "$(python3 -c "print($kb / 1024)")" "$(python3 -c "print($bytes / 1048576)")" \
        "$(python3 -c "print($kb * 1024 / $bytes)")"
}

echo "median wall time (hyperfine, $(nproc) cores)"
compare big
compare wide
compare defines-flat
hyperfine --warmup 1 --runs "${RUNS:-7}" --export-json "$results/xml-defines-for.json" \
    -n xmlcp "'$xmlcp' '$data/defines-for.xml' '$scratch/defines-for.out'" >/dev/null
printf '%-13s xmlcp %8.3f s   (100,000 defines stamped out by one for)\n' defines-for \
    "$(median "$results/xml-defines-for.json" 0)"
echo "peak memory"
memory big
memory wide
