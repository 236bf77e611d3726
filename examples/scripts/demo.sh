#!/bin/sh
# Runs the release script: it builds the firmware with Build, checks the version compiled into
# it through Debug, stamps a header with a CRC-32 through BinaryFile and saves the image.
set -e
bin=$(cd "${1:?usage: demo.sh BIN_DIR}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R "$here/release.qvProject" "$here/release.js" "$here/src" "$work/"
cd "$work"

echo "== release"
"$bin/tess" js --solution release.qvProject --elf Output/Debug/Exe/firmware.elf release.js
echo "== the header: magic, version, crc32, length"
od -A d -t x1 -N 16 Output/firmware-release.bin
echo "== the same again: the build is up to date"
"$bin/tess" js --solution release.qvProject --elf Output/Debug/Exe/firmware.elf release.js
