#!/usr/bin/env bash
# The shell: its menus and keys without a screen, a description with faults, a user's key file
# with a clash, and a picture of the main window with the Edit menu open.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
tess="$bin/tess"
# A home of the demo's own, so no settings or key files of the user take part.
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME="$home"

echo "\$ tess shell menus | grep -E '^MainMenuBar/(FileMenu|BuildMenu)/' | head -12"
"$tess" shell menus > "$home/menus.txt"
grep -E '^MainMenuBar/(FileMenu|BuildMenu)/' "$home/menus.txt" | head -12
echo "... $(wc -l < "$home/menus.txt") entries in all"
echo

echo "\$ tess shell menus --scheme Classic | grep -E 'FileExit|FavoritesMenu'"
"$tess" shell menus --scheme Classic | grep -E 'FileExit|FavoritesMenu'
echo

echo "\$ tess shell keys --keys keyboard.xml | grep -E '^(FileSave|BuildBuildSolution|EditFind)\s|clash'"
"$tess" shell keys --keys "$here/keyboard.xml" 2>&1 | grep -E '^(FileSave|BuildBuildSolution|EditFind)\s|clash|warning'
echo

echo "\$ tess shell check faulty-toolbar.xml"
status=0
"$tess" shell check "$here/faulty-toolbar.xml" 2>&1 || status=$?
echo "(status $status: the description has faults; everything else was built)"
echo

screenshots="$(dirname "$bin")/screenshots"
if command -v xvfb-run >/dev/null; then
    echo "\$ xvfb-run tessmark --new-instance --screenshot $screenshots/main-window-menu.png --open-menu EditMenu"
    xvfb-run -a -s "-screen 0 1280x800x24" "$bin/tessmark" --new-instance \
        --screenshot "$screenshots/main-window-menu.png" --open-menu EditMenu
else
    echo "(xvfb-run is not installed: no screenshot; scripts/install-deps.sh core installs it)"
fi

# The example solution open: its tree in the project explorer, the active project in bold, and
# the properties of the active project in the active configuration with where each comes from.
# The window keeps a session beside a solution, so it works on a copy.
if command -v xvfb-run >/dev/null; then
    cp -r "$here/../solution" "$home/solution"
    echo "\$ xvfb-run tessmark --new-instance --screenshot $screenshots/project-explorer.png solution/Blinky.qvProject"
    xvfb-run -a -s "-screen 0 1280x800x24" "$bin/tessmark" --new-instance \
        --screenshot "$screenshots/project-explorer.png" "$home/solution/Blinky.qvProject"
    # A C file in the editor, coloured by its syntax.
    cp "$here/hello.c" "$home/hello.c"
    echo "\$ xvfb-run tessmark --new-instance --screenshot $screenshots/editor.png hello.c"
    xvfb-run -a -s "-screen 0 1280x800x24" "$bin/tessmark" --new-instance \
        --screenshot "$screenshots/editor.png" "$home/hello.c"
fi
