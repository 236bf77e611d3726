#!/usr/bin/env bash
# Runs a build-report script in the JavaScript engine and a checksum in the Forth engine, then
# shows that a Forth text ending in an uncaught throw makes `tess forth` fail.
# Usage: demo.sh <bin directory>
set -eu
bin=$1
here=$(cd "$(dirname "$0")" && pwd)

echo "-- tess js report.js"
"$bin/tess" js "$here/report.js"

echo "-- tess forth checksum.fs"
"$bin/tess" forth "$here/checksum.fs"

echo "-- tess forth -e ': check 42 THROW ; check'"
if "$bin/tess" forth -e ': check 42 THROW ; check'; then
    echo "unexpected: status 0"
    exit 1
else
    echo "status $?"
fi
