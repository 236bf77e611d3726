#!/usr/bin/env bash
# Load files: one image with gaps in all five formats. Shows their sections and equal CRCs,
# converts among them, then (with socat installed) reads memory from a responder across a
# pseudo-terminal pair with `tess link`. Usage: demo.sh <bin directory>
set -eu
bin=$1
here=$(cd "$(dirname "$0")" && pwd)
out=$(mktemp -d)
socat_pid="" responder_pid=""
cleanup() {
    for pid in $responder_pid $socat_pid; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$out"
}
trap cleanup EXIT
tess() { echo "-- tess $*" | sed "s|$here/||g; s|$out/||g"; "$bin/tess" "$@"; }

tess load formats
tess load info "$here/image.hex"
for file in image.s19 image.txt image.lst; do
    echo "$file: $("$bin/tess" load info "$here/$file" | tail -n 1)"
done
tess load info "$here/image.bin" --address 0x08000000

echo "-- converting image.hex to every format and back"
for target in out.s19 out.txt out.lst out.bin; do
    "$bin/tess" load convert "$here/image.hex" "$out/$target"
done
"$bin/tess" load convert "$here/image.hex" "$out/out.tek" --to tek
for file in out.s19 out.txt out.lst; do
    "$bin/tess" load convert "$out/$file" "$out/back-$file.hex"
    echo "$file -> hex: $("$bin/tess" load info "$out/back-$file.hex" | tail -n 1)"
done
cmp "$out/out.bin" "$here/image.bin" && echo "out.bin is image.bin, byte for byte"
head -n 2 "$out/out.tek"

if ! command -v socat >/dev/null; then
    echo "-- socat is not installed: the link part is left out"
    exit 0
fi
echo "-- link: socat joins two pseudo-terminals; a responder answers on the second"
socat -d -d pty,raw,echo=0 pty,raw,echo=0 2>"$out/socat.log" &
socat_pid=$!
devices=()
for _ in $(seq 100); do
    mapfile -t devices < <(sed -n 's/.*PTY is \(\/dev\/[^ ]*\).*/\1/p' "$out/socat.log")
    [ ${#devices[@]} -ge 2 ] && break
    sleep 0.1
done
[ ${#devices[@]} -ge 2 ] || { echo "socat did not report two devices" >&2; cat "$out/socat.log" >&2; exit 1; }
"$here/responder.sh" "$bin" "${devices[1]}" "$here/image.bin" $((0x08000000)) "$out/ready" &
responder_pid=$!
for _ in $(seq 100); do [ -f "$out/ready" ] && break; sleep 0.1; done

request=$("$bin/tess" link encode u8:1 u32be:0x08001000 u8:16)
echo "request: $request"
reply=$("$bin/tess" link transfer "${devices[0]}" --send "$request" --receive 22 --timeout 5000)
echo "reply:   $reply"
wait "$responder_pid"
responder_pid=""
"$bin/tess" link decode "$reply" u8 u32be uvar str:15 bytes:1
