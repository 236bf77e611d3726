#!/usr/bin/env bash
# Runs each built fuzz target for a bounded time on its corpus (fuzz/corpus/<target>, seeds
# from fuzz/seeds/<target> when present).
set -eu
dir=$1
seconds=${2:-30}
here=$(cd "$(dirname "$0")" && pwd)
for target in "$dir"/*; do
    [ -x "$target" ] || continue
    name=$(basename "$target")
    corpus="$here/corpus-$name"
    mkdir -p "$corpus"
    seeds=()
    [ -d "$here/seeds/$name" ] && seeds=("$here/seeds/$name")
    echo "== fuzzing $name for ${seconds}s"
    "$target" -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=20 "$corpus" "${seeds[@]}"
done
