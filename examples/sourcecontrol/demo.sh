#!/usr/bin/env bash
# Puts the example solution into a scratch git repository, changes it, and shows what source
# control makes of it: the short status, the status of the solution's file elements, a diff and
# a commit.
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
tess="$bin/tess"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

run() {
    echo "\$ tess $*"
    "$tess" "$@"
    echo
}

cp -r "$here/../solution/." "$scratch"
cd "$scratch"
rm -f demo.sh
git init -q -b main
git config user.name "Demo Author"
git config user.email "demo@example.invalid"
printf 'Output/\n' > .gitignore
git add -A
git commit -q -m "The Blinky example"

# A change, a new file, a build output the ignore list covers, and a folder git has not seen.
sed -i 's/delay_ms(500)/delay_ms(250)/' src/blink.c
printf 'void led_toggle(void);\n' > src/led.c
mkdir -p Output/Debug && printf 'elf\n' > Output/Debug/Blinky.elf
mkdir -p doc && printf '# Notes\n' > doc/notes.md

run sc status
run sc status --solution Blinky.qvProject
run sc diff src/blink.c
run sc add src/led.c src/blink.c
run sc commit -m "Blink faster, add the LED driver" --author "Ann Example <ann@example.invalid>"
run sc status
"$tess" sc log -n 2 | cut -f 2,4
