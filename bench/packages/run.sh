#!/usr/bin/env bash
# Package archives against tar on the same tree (2,000 small files and a 16 MiB image): create
# and extract with deflate against tar czf/xzf, with bzip2 against tar cjf/xjf, one hyperfine run
# per pair. Prints wall-clock medians and CPU times (user + system, which a loaded machine
# disturbs less) with our ratio to tar; then peak memory for the 16 MiB and a 96 MiB image;
# then 10,000 look-ups by name in archives of 1,000 and 100,000 files.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
data="$(dirname "$bin")/bench/data/packages"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"
[ -f "$data/many-100000.qvPackage" ] || python3 "$here/generate.py" "$data"
tess="$bin/tess"
[ -x "$tess" ] || { echo "no tess in $bin" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
runs=${RUNS:-5}

# name, prepare command, our command, tar's command
pair() {
    local name=$1 prepare=$2 ours=$3 theirs=$4 json="$results/packages-$1.json"
    hyperfine --style none --warmup 1 --runs "$runs" --prepare "$prepare" --export-json "$json" \
        -n tess "$ours" -n tar "$theirs" >/dev/null
    python3 - "$json" "$name" <<'PY'
import json, sys
r = {x["command"]: x for x in json.load(open(sys.argv[1]))["results"]}
t, a = r["tess"], r["tar"]
cpu = lambda x: x["user"] + x["system"]
print(f"{sys.argv[2]:<16} {t['median']:8.3f} {a['median']:8.3f} {t['median'] / a['median']:6.2f}"
      f" {cpu(t):9.3f} {cpu(a):9.3f} {cpu(t) / cpu(a):6.2f}")
PY
}

echo "tree: 2,000 files, $(du -sh "$data/tree" | cut -f1) in all; $(nproc) cores, load $(cut -d' ' -f1 /proc/loadavg)"
printf '%-16s %8s %8s %6s %9s %9s %6s\n' workload "tess s" "tar s" ratio "tess cpu" "tar cpu" ratio
pair create-deflate true \
    "'$tess' pkg create '$work/a.qvPackage' '$data/tree'" "tar czf '$work/a.tgz' -C '$data/tree' ."
pair extract-deflate "rm -rf '$work/x1' '$work/x2'; mkdir '$work/x2'" \
    "'$tess' pkg extract '$work/a.qvPackage' '$work/x1'" "tar xzf '$work/a.tgz' -C '$work/x2'"
pair create-bzip2 true \
    "'$tess' pkg create '$work/b.qvPackage' '$data/tree' --bzip2" "tar cjf '$work/b.tbz' -C '$data/tree' ."
pair extract-bzip2 "rm -rf '$work/x1' '$work/x2'; mkdir '$work/x2'" \
    "'$tess' pkg extract '$work/b.qvPackage' '$work/x1'" "tar xjf '$work/b.tbz' -C '$work/x2'"
rm -rf "$work/x1" "$work/x2"
echo "archive sizes: deflate $(stat -c %s "$work/a.qvPackage") (tar.gz $(stat -c %s "$work/a.tgz")), bzip2 $(stat -c %s "$work/b.qvPackage") (tar.bz2 $(stat -c %s "$work/b.tbz"))"

echo "peak memory (RSS)"
peak() {   # label, command...
    local label=$1 kb
    shift
    kb=$( { /usr/bin/time -f %M "$@" >/dev/null; } 2>&1 | tail -1)
    printf '  %-34s %7.1f MiB\n' "$label" "$(python3 -c "print($kb / 1024)")"
}
for size in tree big; do
    image=$(( $(stat -c %s "$data/$size/firmware/image.bin") >> 20 ))
    peak "create deflate, ${image} MiB image" "$tess" pkg create "$work/$size.qvPackage" "$data/$size"
    peak "create bzip2, ${image} MiB image" "$tess" pkg create "$work/$size.bz.qvPackage" "$data/$size" --bzip2
    peak "extract deflate, ${image} MiB image" "$tess" pkg extract "$work/$size.qvPackage" "$work/m1"
    peak "extract bzip2, ${image} MiB image" "$tess" pkg extract "$work/$size.bz.qvPackage" "$work/m2"
    rm -rf "$work/m1" "$work/m2" "$work/$size.qvPackage" "$work/$size.bz.qvPackage"
done

echo "look-ups: 10,000 names found by one tess pkg find (binary search over the sorted table)"
for count in 1000 100000; do
    names=$(for i in 1 2 3 4 5 6 7 8 9 10; do cat "$data/names-$count.txt"; done | head -n 10000)
    echo "$names" | head -n 1 > "$work/one.txt"
    echo "$names" > "$work/all.txt"
    hyperfine --style none --warmup 1 --runs "$runs" --export-json "$results/packages-find-$count.json" \
        -n one "xargs -s 1000000 -a '$work/one.txt' '$tess' pkg find '$data/many-$count.qvPackage' >/dev/null" \
        -n all "xargs -s 1000000 -a '$work/all.txt' '$tess' pkg find '$data/many-$count.qvPackage' >/dev/null" >/dev/null
    python3 - "$results/packages-find-$count.json" "$count" <<'PY'
import json, sys
r = {x["command"]: x for x in json.load(open(sys.argv[1]))["results"]}
cpu = lambda x: x["user"] + x["system"]
per = (cpu(r["all"]) - cpu(r["one"])) / 9999 * 1e6
print(f"  {int(sys.argv[2]):>7,} files: open and 1 look-up {cpu(r['one']) * 1000:7.1f} ms cpu,"
      f" each further look-up {per:6.2f} us (printing included)")
PY
done
