#!/usr/bin/env bash
# Runs each fuzz target named in DIR/targets.txt for a bounded time on its corpus
# (DIR/../corpus-<target>). Seeds come from fuzz/seeds/<target>/ and from the folders listed in
# fuzz/seeds/<target>.from (one path per line, relative to the repository), so test and example
# files serve without copies. Ends with one line per target: runs, coverage, crashes found.
# Usage: fuzz/run-all.sh DIR [SECONDS]
set -u
dir=$(cd "${1:?usage: run-all.sh DIR [SECONDS]}" && pwd)
seconds=${2:-30}
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
work=$(dirname "$dir")
[ -f "$dir/targets.txt" ] || { echo "run-all.sh: no $dir/targets.txt (build the fuzz tree first)" >&2; exit 2; }
summary=()
failed=0
while IFS= read -r name; do
    [ -n "$name" ] || continue
    target="$dir/$name"
    [ -f "$target" ] && [ -x "$target" ] || { summary+=("$name: not built"); failed=1; continue; }
    corpus="$work/corpus-$name"
    artifacts="$work/artifacts/$name/"
    log="$work/logs/$name.log"
    mkdir -p "$corpus" "$artifacts" "$(dirname "$log")"
    seeds=()
    [ -d "$here/seeds/$name" ] && seeds+=("$here/seeds/$name")
    if [ -f "$here/seeds/$name.from" ]; then
        while IFS= read -r from; do
            [ -n "$from" ] && [ -d "$root/$from" ] && seeds+=("$root/$from")
        done < "$here/seeds/$name.from"
    fi
    echo "== fuzzing $name for ${seconds}s (log: $log)"
    before=$(ls "$artifacts" | wc -l)
    "$target" -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=20 \
        -artifact_prefix="$artifacts" "$corpus" "${seeds[@]}" >"$log" 2>&1
    status=$?
    crashes=$(( $(ls "$artifacts" | wc -l) - before ))
    runs=$(sed -n 's/^Done \([0-9]*\) runs.*/\1/p' "$log" | tail -n 1)
    cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)
    summary+=("$name: ${runs:-?} runs, coverage ${cov:-?}, $crashes crash(es)$([ $status -ne 0 ] && echo ", exit $status, see $log")")
    [ $status -ne 0 ] || [ $crashes -ne 0 ] && failed=1
done < "$dir/targets.txt"
echo "== summary"
printf '%s\n' "${summary[@]}"
exit $failed
