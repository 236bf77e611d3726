#!/usr/bin/env bash
# Load-file conversions of a 16 MiB image at 0x08000000: `tess load convert` against objcopy with
# the same address and record length (16 bytes) in one hyperfine run per conversion, with
# srec_cat shown beside them; then tess's peak memory per conversion against the image size, and
# HMessage's field speed (10^7 mixed fields through `tess link encode --repeat`).
# Targets: at most 1.0x objcopy's median, at most 3x the image in memory, under 0.1 s for the
# fields. Usage: run.sh <bin directory>
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/loadfiles"
results="$(dirname "$bin")/bench/results"
scratch="$data/scratch"
mkdir -p "$data" "$results" "$scratch"
trap 'rm -rf "$scratch"' EXIT
tess="$bin/tess"
[ -x "$tess" ] || { echo "no tess in $bin" >&2; exit 1; }
for tool in objcopy srec_cat hyperfine; do
    command -v "$tool" >/dev/null || { echo "run.sh needs $tool (scripts/install-deps.sh bench)" >&2; exit 1; }
done

[ -f "$data/image.bin" ] && [ -f "$data/ranged.hex" ] || python3 "$here/gen-image.py" "$data"
# The peer's own Intel Hex and S3 files are the inputs of the reading conversions.
[ -f "$data/image.hex" ] || objcopy -I binary -O ihex --change-addresses 0x08000000 "$data/image.bin" "$data/image.hex"
[ -f "$data/image.s19" ] || objcopy -I binary -O srec --srec-forceS3 --srec-len 16 \
    --change-addresses 0x08000000 "$data/image.bin" "$data/image.s19"
image_bytes=$(stat -c %s "$data/image.bin")

median() {   # json file, command index
    python3 -c 'import json,sys; print("%.4f" % json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]["median"])' "$1" "$2"
}

# Mean processor time (user + system), which other load on the machine does not inflate.
cpu() {   # json file, command index
    python3 -c 'import json,sys; r = json.load(open(sys.argv[1]))["results"][int(sys.argv[2])]; print("%.4f" % (r["user"] + r["system"]))' "$1" "$2"
}

# name, tess arguments, objcopy arguments, srec_cat arguments (each one string, split on blanks)
compare() {
    local name=$1 json="$results/loadfiles-$1.json"
    hyperfine -N --warmup 1 --runs "${RUNS:-7}" --export-json "$json" \
        --export-markdown "$results/loadfiles-$name.md" \
        -n tess "$tess load convert $2" \
        -n objcopy "objcopy $3" \
        -n srec_cat "srec_cat $4" >/dev/null 2>"$results/loadfiles-$name.log"
    local ours anchor peer kb ours_cpu anchor_cpu
    ours=$(median "$json" 0)
    anchor=$(median "$json" 1)
    peer=$(median "$json" 2)
    ours_cpu=$(cpu "$json" 0)
    anchor_cpu=$(cpu "$json" 1)
    # shellcheck disable=SC2086
    kb=$( { /usr/bin/time -f %M "$tess" load convert $2; } 2>&1 | tail -n 1)
    printf '%-15s %7.3f s %7.3f s %5.2f %s %7.3f s | %6.3f s %6.3f s %5.2f | %6.1f MiB %5.2fx\n' "$name" \
        "$ours" "$anchor" "$(python3 -c "print($ours / $anchor)")" \
        "$(python3 -c "print('ok  ' if $ours <= $anchor else 'SLOW')")" "$peer" \
        "$ours_cpu" "$anchor_cpu" "$(python3 -c "print($ours_cpu / $anchor_cpu)")" \
        "$(python3 -c "print($kb / 1024)")" "$(python3 -c "print($kb * 1024 / $image_bytes)")"
}

d=$data s=$scratch
echo "16 MiB image; median wall time and mean processor time (hyperfine, $(nproc) cores); peak RSS of tess"
printf '%-15s %9s %9s %5s %4s %9s | %8s %8s %5s | %10s %6s\n' conversion tess objcopy ratio "" srec_cat \
    "tess cpu" "objcopy" ratio "tess RSS" /image
compare bin-to-ihex \
    "$d/image.bin $s/tess.hex --address 0x08000000" \
    "-I binary -O ihex --change-addresses 0x08000000 $d/image.bin $s/objcopy.hex" \
    "$d/image.bin -binary -offset 0x08000000 -o $s/srec_cat.hex -Intel -output-block-size=16"
compare ihex-to-bin \
    "$d/image.hex $s/tess.bin" \
    "-I ihex -O binary $d/image.hex $s/objcopy.bin" \
    "$d/image.hex -Intel -offset -0x08000000 -o $s/srec_cat.bin -binary"
compare bin-to-s3 \
    "$d/image.bin $s/tess.s19 --address 0x08000000" \
    "-I binary -O srec --srec-forceS3 --srec-len 16 --change-addresses 0x08000000 $d/image.bin $s/objcopy.s19" \
    "$d/image.bin -binary -offset 0x08000000 -o $s/srec_cat.s19 -Motorola -address-length=4 -output-block-size=16"
compare s3-to-bin \
    "$d/image.s19 $s/tess.bin" \
    "-I srec -O binary $d/image.s19 $s/objcopy.bin" \
    "$d/image.s19 -Motorola -offset -0x08000000 -o $s/srec_cat.bin -binary"
compare ranged-ihex-s3 \
    "$d/ranged.hex $s/tess.s19" \
    "-I ihex -O srec --srec-forceS3 --srec-len 16 $d/ranged.hex $s/objcopy.s19" \
    "$d/ranged.hex -Intel -o $s/srec_cat.s19 -Motorola -address-length=4 -output-block-size=16"

# The same bytes come out of both: the binaries equal, the S3 images have equal CRCs.
cmp -s "$s/tess.bin" "$s/objcopy.bin" || { echo "tess and objcopy binaries differ" >&2; exit 1; }
[ "$("$tess" load info "$s/tess.s19" | tail -n 1)" = "$("$tess" load info "$s/objcopy.s19" | tail -n 1)" ] \
    || { echo "tess and objcopy S-records differ" >&2; exit 1; }

echo "HMessage: 10^7 mixed fields (one million messages of ten), timed inside the process"
fields=(u8 u16le u32be uvar s8 u16be ptrle uvar bytes s16le)
values=(1 0x1234 0x08000000 300 -5 7 0x20000000 5 0102 -2)
encode=()
for i in "${!fields[@]}"; do encode+=("${fields[$i]}:${values[$i]}"); done
message=$("$tess" link encode "${encode[@]}")
"$tess" link encode --repeat 1000000 "${encode[@]}" 2>&1 >/dev/null
"$tess" link decode --repeat 1000000 "$message" "${fields[@]/bytes/bytes:2}" 2>&1 >/dev/null
