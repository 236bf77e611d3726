#!/bin/sh
# Links a program against the math and threads libraries of the system, named in the project
# as linker options ("-lm;-lpthread"): the front end puts them after the objects and the
# project's own library, where the linker looks for them.
set -e
bin=$(cd "${1:?usage: demo.sh BIN_DIR}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R "$here/demo.qvProject" "$here/src" "$work/"
cd "$work"

echo "== build"
if ! "$bin/tess" build demo.qvProject -j 2 --show-commands > build.log; then
    cat build.log
    exit 1
fi
grep -e '^\[' -e '^Build' -e 'Command line: .* -o .*wave.elf' build.log | sed "s|$work/||g"
echo "== what the link was given (objects, then the project's library)"
cat Output/Debug/Obj/wave/wave.ind | sed "s|$work/||"
echo "== run"
./Output/Debug/Exe/wave.elf
