#!/bin/sh
# Builds the demo solution with `tess build` in a scratch copy, runs what it made, then builds
# again to show that everything is up to date.
set -e
bin=$(cd "${1:?usage: demo.sh BIN_DIR}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R "$here/demo.qvProject" "$here/src" "$here/data" "$work/"
cd "$work"

echo "== first build"
"$bin/tess" build demo.qvProject -j 2
echo "== run"
./Output/Debug/Exe/app.elf
./Output/Debug/Exe/greeter.elf
ls Output/Debug/staged
echo "== second build"
"$bin/tess" build demo.qvProject -j 2 --verbose
echo "== touch add.c and build again"
# Time stamps count in whole seconds: a file of the same second as its object is not newer.
sleep 1
touch src/lib/add.c
"$bin/tess" build demo.qvProject -j 2
echo "== export as makefile"
"$bin/tess" build demo.qvProject --makefile demo.mak
head -n 12 demo.mak
