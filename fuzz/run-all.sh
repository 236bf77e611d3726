#!/usr/bin/env bash
# Runs each built fuzz target for a bounded time on its corpus (fuzz/corpus-<target>). Seeds come
# from fuzz/seeds/<target>/ and from the folders listed in fuzz/seeds/<target>.from (one path
# per line, relative to the repository), so test and example files serve without copies.
set -eu
dir=$1
seconds=${2:-30}
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
for target in "$dir"/*; do
    [ -x "$target" ] || continue
    name=$(basename "$target")
    corpus="$here/corpus-$name"
    mkdir -p "$corpus"
    seeds=()
    [ -d "$here/seeds/$name" ] && seeds+=("$here/seeds/$name")
    if [ -f "$here/seeds/$name.from" ]; then
        while IFS= read -r from; do
            [ -n "$from" ] && [ -d "$root/$from" ] && seeds+=("$root/$from")
        done < "$here/seeds/$name.from"
    fi
    echo "== fuzzing $name for ${seconds}s"
    "$target" -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=20 "$corpus" "${seeds[@]}"
done
