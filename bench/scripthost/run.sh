#!/usr/bin/env bash
# Host objects against Python 3 on the same work, in one run each:
#  words:  a 16 MiB image read through BinaryFile, summed in 4-byte words with peekUint32, every
#          word poked back incremented, saved (Python: struct.unpack_from / pack_into).
#  crc32:  the CRC-32 of a 16 MiB image through BinaryFile.crc32 (Python: zlib.crc32, table code).
#  builds: 100 null builds of the example solution through Build, against `tess build` run 100
#          times.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
data="$(dirname "$bin")/bench/data/scripthost"
results="$(dirname "$bin")/bench/results"
mkdir -p "$data" "$results"

python3 -c "import os; open('$data/image.bin', 'wb').write(os.urandom(16 << 20))"

cat > "$data/words.js" <<JS
BinaryFile.load("$data/image.bin");
var n = BinaryFile.length();
var sum = 0;
for (var i = 0; i < n; i += 4) {
    var w = BinaryFile.peekUint32(i);
    sum = (sum + w) % 4294967296;
    BinaryFile.pokeUint32(i, w + 1);
}
BinaryFile.save("$data/out-js.bin");
sum;
JS
cat > "$data/words.py" <<PY
import struct
data = bytearray(open("$data/image.bin", "rb").read())
total = 0
for i in range(0, len(data), 4):
    w = struct.unpack_from("<I", data, i)[0]
    total = (total + w) % 4294967296
    struct.pack_into("<I", data, i, (w + 1) & 0xFFFFFFFF)
open("$data/out-py.bin", "wb").write(data)
print(total)
PY
cat > "$data/crc.js" <<JS
BinaryFile.load("$data/image.bin");
BinaryFile.crc32(0, BinaryFile.length());
JS
cat > "$data/crc.py" <<PY
import zlib
print(zlib.crc32(open("$data/image.bin", "rb").read()))
PY

echo "words: tess $("$bin/tess" js "$data/words.js"), python $(python3 "$data/words.py")"
cmp "$data/out-js.bin" "$data/out-py.bin"

# The example solution, built once so that every later build is a null build.
rm -rf "$data/solution"
mkdir -p "$data/solution"
cp -R "$root/examples/build/demo.qvProject" "$root/examples/build/src" "$root/examples/build/data" "$data/solution/"
(cd "$data/solution" && "$bin/tess" build demo.qvProject > /dev/null)
printf 'for (var i = 0; i < 100; ++i) Build.buildSolution();\n' > "$data/builds.js"
cat > "$data/builds.sh" <<SH
#!/bin/sh
cd "$data/solution"
i=0
while [ \$i -lt 100 ]; do "$bin/tess" build demo.qvProject > /dev/null; i=\$((i + 1)); done
SH
chmod +x "$data/builds.sh"

runs=${RUNS:-5}
hyperfine --warmup 1 --runs "$runs" --export-json "$results/scripthost-words.json" \
    -n "tess js" "'$bin/tess' js '$data/words.js'" -n "python3" "python3 '$data/words.py'" > /dev/null
hyperfine --warmup 1 --runs "$runs" --export-json "$results/scripthost-crc32.json" \
    -n "tess js" "'$bin/tess' js '$data/crc.js'" -n "python3 zlib" "python3 '$data/crc.py'" > /dev/null
hyperfine --warmup 1 --runs "${BUILD_RUNS:-3}" --export-json "$results/scripthost-builds.json" \
    -n "tess js" "cd '$data/solution' && '$bin/tess' js --solution demo.qvProject '$data/builds.js' > /dev/null" \
    -n "tess build x100" "'$data/builds.sh'" > /dev/null

printf '%-8s %12s %12s %8s\n' work "tess ms" "anchor ms" "ratio"
for name in words crc32 builds; do
    awk -v name="$name" '
        /"median"/ { sub(/.*"median": */, ""); sub(/,.*/, ""); m[n++] = $0 * 1000 }
        END { printf "%-8s %12.1f %12.1f %8.2f\n", name, m[0], m[1], m[0] / m[1] }
    ' "$results/scripthost-$name.json"
done
