#!/usr/bin/env bash
# Code intelligence on the example solution, with the compiler arguments taken from its
# properties: a completion after an edit that lives in the editor's buffer only, a definition,
# the references to a field, and the lines each configuration's preprocessor skips.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
tess="$bin/tess"
cd "$here"
solution=(--solution Sensor.qvProject --config Debug)

# Paths come out absolute; the example shows them from its own folder.
run() {
    echo "\$ tess $*"
    "$tess" "$@" | sed "s|$here/||"
    echo
}

script='edit src/sensor.c 36         total += sensor->last[i].\ncomplete src/sensor.c 36 34\n'
echo "\$ printf '$script' | tess clang batch ${solution[*]}"
printf "$script" |
    "$tess" clang batch "${solution[@]}"
run clang definition src/sensor.c 18 27 "${solution[@]}"
run clang refs src/sensor.c 20 15 "${solution[@]}"
run clang skipped src/sensor.c "${solution[@]}"
run clang skipped src/sensor.c --solution Sensor.qvProject --config Release
run clang eval src/sensor.c 3 18 "${solution[@]}"
