#!/usr/bin/env bash
# The life of a board support package: build the archive from acme-x1/, install it into a
# scratch packages directory, look at the references the installation rewrote, update it to a
# version that drops a file, and remove it again. Usage: demo.sh <bin directory>
set -eu
bin=$(cd "${1:-out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
tess="$bin/tess"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root="$work/packages"

run() {
    echo "\$ tess $*" | sed "s|$work|<scratch>|g; s|$here|examples/packages|g"
    "$tess" "$@" 2>&1 | sed "s|$work|<scratch>|g"
    echo
}

run pkg create "$work/acme_x1-1.0.qvPackage" "$here/acme-x1"
run pkg list "$work/acme_x1-1.0.qvPackage" --long
run pkg verify "$work/acme_x1-1.0.qvPackage"
run pkg install "$work/acme_x1-1.0.qvPackage" --root "$root"

echo "-- references of the installed example: those naming delivered files now start with \$(PackagesDir)"
grep -o '"\$([A-Za-z]*)[^"]*"' "$root/acme/x1/examples/blinky/Blinky.qvProject"
grep -o '"\$([A-Za-z]*)[^"]*"' "$root/acme/x1/doc/index.htm"
echo
run pkg show acme_x1 --root "$root"

# Version 1.1 drops the placement file and adds a function to the header.
cp -r "$here/acme-x1" "$work/v1.1"
sed -i 's/version="1.0"/version="1.1"/' "$work/v1.1/acme_x1_package.xml"
rm "$work/v1.1/templates/placement.xml"
echo "void acme_x1_sleep(void);" >> "$work/v1.1/include/acme_x1.h"
run pkg create "$work/acme_x1-1.1.qvPackage" "$work/v1.1" --bzip2
run pkg install "$work/acme_x1-1.1.qvPackage" --root "$root"
echo "-- installed files after the update"
(cd "$root" && find acme -type f | sort)
echo
run pkg status --root "$root"
run pkg remove acme_x1 --root "$root"
run pkg status --root "$root"
echo "-- left in the packages directory (the lock aside):"
(cd "$root" && find . -mindepth 1 -not -name .lock | sort)
