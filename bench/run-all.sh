#!/usr/bin/env bash
# Runs every benchmark: each bench/<name>/run.sh is handed the bin directory.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
for script in "$here"/*/run.sh; do
    [ -x "$script" ] || continue
    echo "== $(basename "$(dirname "$script")")"
    "$script" "$bin"
done
