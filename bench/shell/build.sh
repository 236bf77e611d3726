#!/usr/bin/env bash
# The build in the window against `tess build` of the same solution, in one hyperfine run: a
# solution of COUNT C files (default 200, a few of them with warnings) built from scratch with
# two jobs, by the main window through its Build Solution action (on the offscreen platform,
# start-up and solution load included) and by the command line. Then the build log fed 100,000
# diagnostic lines with its dock on screen, against the headless log alone.
# Usage: bench/shell/build.sh BIN_DIR [COUNT]      RUNS=N sets hyperfine's runs (default 5).
set -eu
bin=$(cd "${1:?usage: build.sh BIN_DIR [COUNT]}" && pwd)
count=${2:-200}
runs=${RUNS:-5}
here=$(cd "$(dirname "$0")" && pwd)
bench_bin="$(dirname "$bin")/bench/bin"
data="$(dirname "$bin")/bench/data/shell-build-$count"
results="$(dirname "$bin")/bench/results"
command -v hyperfine >/dev/null || { echo "hyperfine is not installed"; exit 1; }
[ -x "$bench_bin/build-window-bench" ] || { echo "$bench_bin/build-window-bench is not built"; exit 1; }
mkdir -p "$data" "$results"
python3 "$here/../build/generate.py" "$count" "$data" "$bin" >/dev/null
# One file in fifty warns, so the log has diagnostics to show and count.
for file in "$data"/src/d*/f*.c; do
    number=$((10#$(basename "$file" .c | tr -d f)))
    if [ $((number % 50)) -eq 7 ] && ! grep -q '#warning' "$file"; then
        printf '#warning check the range of f%05d\n' "$number" >> "$file"
    fi
done

# A home of the benchmark's own: no settings of the user take part.
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME="$home" QT_QPA_PLATFORM=offscreen

json="$results/shell-build-$count.json"
cd "$data"
hyperfine --warmup 1 --runs "$runs" --prepare "rm -rf '$data/Output'" --export-json "$json" \
    -n "window build" "'$bench_bin/build-window-bench' --bin '$bin' bench.qvProject --action BuildBuildSolution --jobs 2" \
    -n "tess build" "'$bin/tess' build bench.qvProject -j 2" > /dev/null
python3 - "$json" "$count" <<'EOF'
import json, sys
results = json.load(open(sys.argv[1]))["results"]
window, tess = results[0]["median"], results[1]["median"]
print("full build of %s files, 2 jobs (medians of %d runs):" % (sys.argv[2], len(results[0]["times"])))
print("  wall:      window build %8.1f ms   tess build %8.1f ms   ratio %.3f (target <= 1.10)"
      % (1000 * window, 1000 * tess, window / tess))
# Processor time (user and system, the children's included): what a machine busy with other
# work inflates far less than the wall clock.
cpu = [1000 * (r["user"] + r["system"]) for r in results]
print("  processor: window build %8.1f ms   tess build %8.1f ms   ratio %.3f"
      % (cpu[0], cpu[1], cpu[0] / cpu[1]))
EOF
echo "  one window build as it reports itself:"
rm -rf "$data/Output"
"$bench_bin/build-window-bench" --bin "$bin" bench.qvProject --action BuildBuildSolution --jobs 2 2>/dev/null \
    | sed 's/^/    /'

if command -v perf >/dev/null; then
    # The front end's own processor time, its tools left out: what the window itself costs.
    own() { perf stat --no-inherit -x, -e task-clock "$@" 2>&1 >/dev/null | awk -F, '/task-clock/ { printf "%.1f", $1 }'; }
    rm -rf "$data/Output"
    window=$(own "$bench_bin/build-window-bench" --bin "$bin" bench.qvProject --action BuildBuildSolution --jobs 2)
    rm -rf "$data/Output"
    tess=$(own "$bin/tess" build bench.qvProject -j 2)
    echo "  the front end's own processor time, tools left out: window $window ms, tess build $tess ms"
fi

echo "build log, 100,000 diagnostic lines (median of 3):"
for _ in 1 2 3; do
    "$bench_bin/build-window-bench" --bin "$bin" --log-lines 100000 2>/dev/null
done | python3 -c '
import re, statistics, sys
times = {}
for line in sys.stdin:
    match = re.match(r"log append, (.*): \d+ lines ([0-9.]+) ms", line)
    if match:
        times.setdefault(match.group(1), []).append(float(match.group(2)))
for name, values in times.items():
    print("  %-22s %8.1f ms" % (name, statistics.median(values)))
shown, alone = times["window log shown"], times["headless BuildLog"]
print("  the view adds %.1f ms over the log alone (ratio %.2f)" % (statistics.median(shown) - statistics.median(alone), statistics.median(shown) / statistics.median(alone)))
'
