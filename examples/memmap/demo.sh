#!/usr/bin/env bash
# A new solution for the NX32G4 made from the example templates: a bare-metal program and a
# static library, each with a choice decided on the command line. The build engine builds both
# (the program's pre-build step writes its register header with mkhdr); then the header written
# by tess, the registers one per line, the check of the map and what the program takes of
# each memory segment.
set -eu
bin=$(cd "${1:-../../out/bin}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tess="$bin/tess"
templates="$here/templates/project_templates.xml"
cd "$work"

echo "-- templates and the choices of the bare-metal one"
"$tess" template list "$templates" --packages "$work" | sed "s|$here|examples/memmap|"
"$tess" template choices BareMetalExecutable --templates "$templates"
echo "-- two new projects in a new solution"
"$tess" template new NX32G4.qvProject BareMetalExecutable blinky --templates "$templates" \
    --choice clock=PLL | sed "s|$work/||"
"$tess" template new NX32G4.qvProject "Static library" filters --templates "$templates" \
    --choice optimisation=speed | sed "s|$work/||"
echo "-- build"
"$tess" build NX32G4.qvProject -j 2
ls blinky/Output/Debug/Exe filters/Output/Debug/Exe
echo "-- the register header"
"$tess" memmap header "$here/nx32g4.xml" -o nx32g4.h --prefix NX_
grep -E '_GPIOA_(MODER|ODR)(_ADDRESS)? |_GPIOA_MODER_MODE5_|_USART1_SR_TXE_' nx32g4.h
echo "-- registers"
"$tess" memmap show --flat "$here/nx32g4.xml" | head -n 8
echo "-- check"
"$tess" memmap check "$here/nx32g4.xml" | sed "s|$here/||"
echo "-- usage of the program"
"$tess" memmap usage "$here/nx32g4.xml" blinky/Output/Debug/Exe/blinky.elf
