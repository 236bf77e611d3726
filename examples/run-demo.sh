#!/usr/bin/env bash
# The demonstration run by `make demo`: each examples/<name>/demo.sh is handed the bin directory.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
for script in "$here"/*/demo.sh; do
    [ -x "$script" ] || continue
    echo "== $(basename "$(dirname "$script")")"
    "$script" "$bin"
done
