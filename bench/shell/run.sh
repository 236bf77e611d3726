#!/usr/bin/env bash
# The shell's start-up and its menu builder.
# 1. Start-up to the first painted main window with every action, menu and tool bar built from
#    the shipped schemes and description, against `tess help` (the headless floor), in one
#    hyperfine run: on the offscreen platform, and on a virtual X server when Xvfb is there.
#    tessmark's own clock from main() to the first paint is taken too.
# 2. Building the menus of descriptions of 1,000, 5,000 and 20,000 items, measured in process:
#    wall time and the thread's processor time, which a busy machine does not inflate.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/shell"
results="$(dirname "$bin")/bench/results"
runs=${RUNS:-15}
mkdir -p "$data" "$results"
[ -f "$data/menus-5000.xml" ] || python3 "$here/generate.py" "$data"

# A home of the benchmark's own: no settings or key files of the user take part.
home=$(mktemp -d)
xvfb_pid=
cleanup() {
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    rm -rf "$home"
}
trap cleanup EXIT
export HOME="$home"

median() {   # json file, command index -> milliseconds
    python3 -c 'import json,sys; print("%.1f" % (1000 * json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"]))' "$1" "$2"
}

cpu() {   # json file, command index -> mean user + system milliseconds
    python3 -c 'import json,sys; r = json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]; print("%.1f" % (1000 * (r["user"] + r["system"])))' "$1" "$2"
}

# Median of the numbers on standard input, one a line.
median_of() {
    python3 -c 'import statistics,sys; v = [float(x) for x in sys.stdin.read().split()]; print("%.2f %d" % (statistics.median(v), len(v)))'
}

startup() {   # label, environment for tessmark
    local label=$1 json="$results/shell-startup-$1.json"
    hyperfine --warmup 2 --runs "$runs" --export-json "$json" --export-markdown "$results/shell-startup-$label.md" \
        -n "tessmark to first paint" "env $2 '$bin/tessmark' --new-instance --quit-after-paint" \
        -n "tess help" "'$bin/tess' help" > /dev/null
    local ours floor
    ours=$(median "$json" 0)
    floor=$(median "$json" 1)
    printf '%-10s wall:      tessmark %7.1f ms   tess help %6.1f ms   above the floor %7.1f ms (target < 150)\n' \
        "$label" "$ours" "$floor" "$(python3 -c "print(round($ours - $floor, 1))")"
    ours=$(cpu "$json" 0)
    floor=$(cpu "$json" 1)
    printf '%-10s processor: tessmark %7.1f ms   tess help %6.1f ms   above the floor %7.1f ms\n' \
        "$label" "$ours" "$floor" "$(python3 -c "print(round($ours - $floor, 1))")"
}

inprocess() {   # label, environment: median of tessmark's own clock over the runs
    local result
    result=$(for _ in $(seq "$runs"); do
        env $2 "$bin/tessmark" --new-instance --quit-after-paint --timings 2>&1 >/dev/null | sed -n 's/.*first paint after \([0-9.]*\) ms.*/\1/p'
    done | median_of)
    printf '%-10s in process, main() to the first paint: median %s ms over %s runs\n' "$1" ${result}
}

echo "start-up (median wall time, $(nproc) cores, load $(cut -d' ' -f1 /proc/loadavg))"
startup offscreen "QT_QPA_PLATFORM=offscreen"
inprocess offscreen "QT_QPA_PLATFORM=offscreen"
if command -v Xvfb >/dev/null; then
    display=:$((90 + RANDOM % 100))
    Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
    xvfb_pid=$!
    sleep 1
    startup xvfb "DISPLAY=$display QT_QPA_PLATFORM=xcb"
    inprocess xvfb "DISPLAY=$display QT_QPA_PLATFORM=xcb"
fi

echo "menu building (medians over $runs runs; the shipped window's own build is not counted)"
for items in 1000 5000 20000; do
    lines=$(for _ in $(seq "$runs"); do
        QT_QPA_PLATFORM=offscreen "$bin/tessmark" --check "$data/menus-$items.xml" --timings 2>/dev/null | grep 'description built'
    done)
    wall=$(echo "$lines" | awk '{ print $4 }' | median_of | cut -d' ' -f1)
    processor=$(echo "$lines" | awk '{ print $6 }' | median_of | cut -d' ' -f1)
    printf '%6d items: wall %8.2f ms   processor %7.2f ms   %5.2f us an item (target < 50 ms at 5,000)\n' \
        "$items" "$wall" "$processor" "$(python3 -c "print(1000 * $processor / $items)")"
done

# The working views, each measured against its headless floor.
for part in editor solution build consoles; do
    echo
    echo "== shell $part"
    "$here/$part.sh" "$bin"
done
