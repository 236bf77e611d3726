#!/usr/bin/env bash
# The consoles: the same Forth and JavaScript that the shell's consoles run, headless first (where
# the words that drive the editor and the window do not exist), then a picture of the main window
# with the Forth console after a few lines were typed into it.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME="$home"

echo "\$ printf '2 3 + .\\nNO-SUCH-WORD\\n' | tess forth -i"
printf '2 3 + .\nNO-SUCH-WORD\n' | "$bin/tess" forth -i 2>&1 || true
echo
echo "\$ tess forth words.fs   (the host words belong to the shell)"
status=0
"$bin/tess" forth "$here/words.fs" 2>&1 || status=$?
echo "(status $status)"
echo
echo "\$ printf 'var kept = 6\\nkept * 7\\nnothing()\\n' | tess js -i"
printf 'var kept = 6\nkept * 7\nnothing()\n' | "$bin/tess" js -i 2>&1 | head -2
echo

screenshots="$(dirname "$bin")/screenshots"
if command -v xvfb-run >/dev/null; then
    echo "\$ xvfb-run tessmark --new-instance --screenshot $screenshots/forth-console.png --forth '...'"
    xvfb-run -a -s "-screen 0 1280x800x24" "$bin/tessmark" --new-instance \
        --screenshot "$screenshots/forth-console.png" \
        --forth "$(cat "$here/words.fs")
1 0 /
EDIT-CHAR-LEFT"
else
    echo "(xvfb-run is not installed: no screenshot; scripts/install-deps.sh core installs it)"
fi
