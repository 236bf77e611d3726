#!/usr/bin/env bash
# The build in the window: a solution with a warning in one project and an error in the other,
# built through the main window's Build Solution action. The window says what `tess build`
# says, counts the diagnostics in its status bar, and a picture of the build log after the
# failed build is saved.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
window_build="$(dirname "$bin")/bench/bin/build-window-bench"
screenshots="$(dirname "$bin")/screenshots"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME="$work/home"
mkdir -p "$HOME"
cp -r "$here/blinky.qvProject" "$here/src" "$work/"
cd "$work"

echo "\$ tess build blinky.qvProject"
"$bin/tess" build blinky.qvProject -j 1 | sed "s|$work/||"
echo "(status ${PIPESTATUS[0]}: the build failed)"
echo

if [ ! -x "$window_build" ]; then
    echo "(build-window-bench is not built: no window build)"
    exit 0
fi
rm -rf Output
echo "\$ the window's Build Solution, then a picture of its build log"
status=0
if command -v xvfb-run >/dev/null; then
    xvfb-run -a -s "-screen 0 1280x800x24" "$window_build" --bin "$bin" blinky.qvProject \
        --action BuildBuildSolution --jobs 1 --screenshot "$screenshots/build-log.png" 2>/dev/null || status=$?
else
    QT_QPA_PLATFORM=offscreen "$window_build" --bin "$bin" blinky.qvProject \
        --action BuildBuildSolution --jobs 1 --screenshot "$screenshots/build-log.png" 2>/dev/null || status=$?
fi
echo "(status $status: the build failed, as it should; picture in $screenshots/build-log.png)"
