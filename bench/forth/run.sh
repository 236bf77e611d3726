#!/usr/bin/env bash
# Forth engine against gforth on the same three programs, in one hyperfine run each: 10^7 steps
# of a nested DO LOOP whose body does integer arithmetic and reads and writes a variable,
# recursive fib(34) with RECURSE, and 10^7 calls of a chain of three colon definitions. Prints
# the medians and our time over the anchor's, in wall time and in CPU time (user + system, which
# a loaded machine disturbs less). BASELINE=path/to/another/tess adds that build's medians.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/forth"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
command -v gforth >/dev/null || { echo "gforth is not installed"; exit 1; }
baseline=${BASELINE:-}

cat > "$data/loop.fs" <<'FORTH'
VARIABLE X
: NESTED 0 X ! 10000 0 DO 1000 0 DO I J + 3 * 7 XOR 255 AND X @ + X ! LOOP LOOP ;
NESTED X @ . CR
FORTH
cat > "$data/fib.fs" <<'FORTH'
: FIB DUP 2 < IF EXIT THEN 1- DUP RECURSE SWAP 1- RECURSE + ;
34 FIB . CR
FORTH
cat > "$data/calls.fs" <<'FORTH'
: STEP3 1+ ;
: STEP2 STEP3 ;
: STEP1 STEP2 ;
: CALLS 0 10000000 0 DO STEP1 LOOP ;
CALLS . CR
FORTH

status=0
printf '%-8s %12s %12s %8s %12s %12s %8s %12s\n' program "tess (ms)" "gforth (ms)" ratio \
    "tess cpu" "gforth cpu" "cpu ratio" "base (ms)"
for program in loop fib calls; do
    ours=$("$bin/tess" forth "$data/$program.fs")
    theirs=$(gforth "$data/$program.fs" -e bye)
    if [ "$ours" != "$theirs" ]; then
        echo "$program: output differs: tess '$ours', gforth '$theirs'"
        status=1
    fi
    commands=(-n tess "$bin/tess forth $data/$program.fs" -n gforth "gforth $data/$program.fs -e bye")
    [ -n "$baseline" ] && commands+=(-n baseline "$baseline forth $data/$program.fs")
    hyperfine --style none --warmup 1 --runs "${RUNS:-7}" \
        --export-json "$results/forth-$program.json" \
        --export-markdown "$results/forth-$program.md" "${commands[@]}" >/dev/null
    python3 - "$results/forth-$program.json" "$program" <<'PY'
import json, sys
results = {r["command"]: r for r in json.load(open(sys.argv[1]))["results"]}
ours, theirs = results["tess"]["median"] * 1000, results["gforth"]["median"] * 1000
cpu = {name: (r["user"] + r["system"]) * 1000 for name, r in results.items()}
base = f"{results['baseline']['median'] * 1000:12.1f}" if "baseline" in results else f"{'-':>12}"
print(f"{sys.argv[2]:<8} {ours:12.1f} {theirs:12.1f} {ours / theirs:8.2f}"
      f" {cpu['tess']:12.1f} {cpu['gforth']:12.1f} {cpu['tess'] / cpu['gforth']:8.2f} {base}")
PY
done
exit $status
