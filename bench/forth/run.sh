#!/usr/bin/env bash
# Forth engine against gforth on the same three programs, in one hyperfine run each:
# a nested DO LOOP of 10^7 steps, recursive fib(27) with RECURSE, and 10^6 calls of a colon
# definition. Prints the medians and our time over the anchor's.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/forth"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
command -v gforth >/dev/null || { echo "gforth is not installed"; exit 1; }

cat > "$data/loop.fs" <<'FORTH'
: LOOPS 0 10000 0 DO 1000 0 DO I + J - LOOP LOOP ;
LOOPS . CR
FORTH
cat > "$data/fib.fs" <<'FORTH'
: FIB DUP 2 < IF EXIT THEN 1- DUP RECURSE SWAP 1- RECURSE + ;
27 FIB . CR
FORTH
cat > "$data/calls.fs" <<'FORTH'
: STEP 1+ ;
: CALLS 0 1000000 0 DO STEP LOOP ;
CALLS . CR
FORTH

status=0
# Wall-clock medians, and the CPU time (user + system, means) that a loaded machine disturbs less.
printf '%-8s %12s %12s %8s %12s %12s %8s\n' program "tess (ms)" "gforth (ms)" ratio \
    "tess cpu" "gforth cpu" "cpu ratio"
for program in loop fib calls; do
    ours=$("$bin/tess" forth "$data/$program.fs")
    theirs=$(gforth "$data/$program.fs" -e bye)
    if [ "$ours" != "$theirs" ]; then
        echo "$program: output differs: tess '$ours', gforth '$theirs'"
        status=1
    fi
    hyperfine --style none --warmup 1 --runs 7 \
        --export-json "$results/forth-$program.json" \
        --export-markdown "$results/forth-$program.md" \
        -n tess "$bin/tess forth $data/$program.fs" \
        -n gforth "gforth $data/$program.fs -e bye" >/dev/null
    python3 - "$results/forth-$program.json" "$program" <<'PY'
import json, sys
results = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
ours, theirs = results["tess"]["median"] * 1000, results["gforth"]["median"] * 1000
cpu = {name: (r["user"] + r["system"]) * 1000 for name, r in results.items()}
print(f"{sys.argv[2]:<8} {ours:12.1f} {theirs:12.1f} {ours / theirs:8.2f}"
      f" {cpu['tess']:12.1f} {cpu['gforth']:12.1f} {cpu['tess'] / cpu['gforth']:8.2f}")
PY
done
exit $status
