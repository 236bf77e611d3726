#!/usr/bin/env bash
# Plays a target on a serial device: answers one memory-read request from a binary image.
# Request: u8 command (1), u32be address, u8 count. Reply: u8 0x81, u32be address, uvar count,
# then the bytes. Usage: responder.sh BIN DEVICE IMAGE BASE READY-FILE
set -eu
bin=$1 device=$2 image=$3 base=$4 ready=$5
hex() { od -An -v -tx1 | tr -d ' \n'; }

# The device stays open for the whole exchange; the ready file says the request may come.
exec 3<>"$device"
touch "$ready"
request=$(head -c 6 <&3 | hex)
read -r command address count <<<"$("$bin/tess" link decode "$request" u8 u32be u8 | tr '\n' ' ')"
[ "$command" -eq 1 ] || { echo "responder: unknown command $command" >&2; exit 1; }
data=$(tail -c +$((address - base + 1)) "$image" | head -c "$count" | hex)
reply=$("$bin/tess" link encode u8:0x81 u32be:"$address" uvar:"$count" "bytes:$data" | tr -d ' ')
printf "$(sed 's/../\\x&/g' <<<"$reply")" >&3
echo "responder: read of $count bytes at $(printf '0x%08X' "$address") answered"
