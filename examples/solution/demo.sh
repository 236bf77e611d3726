#!/usr/bin/env bash
# Shows the example solution: its tree, then where a few property values come from.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
tess="$bin/tess"
solution="$here/Blinky.qvProject"

run() {
    echo "\$ tess $*"
    "$tess" "$@"
    echo
}

run solution show "$solution"
# A list property gathers the solution's Debug and inherited ARM items, then the project's.
run property get "$solution" "Blinky/Source Files/main.c" Debug c_preprocessor_definitions --expand --trace
# The object file name comes from the default; vectors.s sets its own intermediate directory.
run property get "$solution" "Blinky/Source Files/main.c" Debug build_object_file_name --expand
run property get "$solution" "Blinky/System Files/vectors.s" Release build_object_file_name --expand
# A library project gets the library form of the output name.
run property get "$solution" BoardSupport Release build_output_file_name --expand --trace
run property get "$solution" Blinky Debug project_dependencies
# Loading and saving leaves the file as it was.
out=$(mktemp)
"$tess" solution save "$solution" "$out"
cmp "$solution" "$out" && echo "load and save: byte-identical"
rm -f "$out"
