#!/usr/bin/env bash
# Builds a small firmware-like program with its debug information and looks at it without running
# it: the globals, a few expressions in hexadecimal and as characters, a struct's layout with its
# bit-fields, and RAM taken from a "board" laid over the image.
set -eu
bin=$(cd "${1:-../../out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
gcc -g -O0 -o "$work/firmware.elf" "$here/firmware.c"
tess="$bin/tess"

echo "-- globals"
"$tess" debug vars "$work/firmware.elf" --elements 8
echo "-- expressions in hexadecimal"
"$tess" debug eval "$work/firmware.elf" --radix hex control 'sensors[1].celsius' 'tick_count + 1'
echo "-- as characters and text"
"$tess" debug eval "$work/firmware.elf" --radix char 'sensors[0].name[0]' 'sensors[1].name'
"$tess" debug eval "$work/firmware.elf" --format s version_text 'log_head->next->text'
echo "-- layout"
"$tess" debug type "$work/firmware.elf" 'struct control' 'enum mode'
echo "-- RAM dump from the board laid over ram_buffer"
address=$("$tess" debug eval "$work/firmware.elf" --format p '&ram_buffer')
printf 'TESS\001\002\003\004' > "$work/ram.bin"
"$tess" debug mem "$work/firmware.elf" --memory "$work/ram.bin@$address" ram_buffer 16
"$tess" debug eval "$work/firmware.elf" --memory "$work/ram.bin@$address" --elements 8 ram_buffer \
    '*(u32 *)&ram_buffer[4]'
