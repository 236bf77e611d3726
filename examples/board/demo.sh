#!/usr/bin/env bash
# Builds the Pro variant of the board description with xmlcp and shows it, then counts what the
# base variant gets. Usage: demo.sh <bin directory>
set -eu
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

echo "-- xmlcp board.xml board-pro.xml \"Variant=Pro;Flash=512\" board"
"$bin/xmlcp" "$here/board.xml" "$out/board-pro.xml" "Variant=Pro;Flash=512" board
cat "$out/board-pro.xml"

echo "-- xmlcp board.xml board-base.xml"
"$bin/xmlcp" "$here/board.xml" "$out/board-base.xml"
echo "base variant: $(grep -c '<memory ' "$out/board-base.xml") memories," \
     "$(grep -c '<peripheral ' "$out/board-base.xml") peripherals," \
     "$(grep -c '<pin ' "$out/board-base.xml") pins"
