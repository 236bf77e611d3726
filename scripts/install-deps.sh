#!/usr/bin/env bash
# Installs the Debian packages a target needs, and only those missing, so a machine that has
# everything pays nothing. Usage: install-deps.sh core|bench|fuzz ...
set -eu
declare -A sets=(
    [core]="cmake ninja-build g++ make qt6-base-dev qt6-5compat-dev libgtest-dev libgmock-dev zlib1g-dev libbz2-dev libxml2-utils git libdw-dev libelf-dev pkg-config binutils srecord socat libclang1-14 xvfb fonts-dejavu-core"
    [bench]="hyperfine time bzip2 python3 libxml2-utils ninja-build gforth duktape mujs libbenchmark-dev qt6-qpa-plugins clangd-14 source-highlight highlight libkf5syntaxhighlighting-tools python3-pygments"
    [fuzz]="clang libclang-rt-14-dev"
)
missing=()
for set in "$@"; do
    for pkg in ${sets[$set]}; do
        dpkg -s "$pkg" >/dev/null 2>&1 || missing+=("$pkg")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
