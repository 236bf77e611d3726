#!/usr/bin/env python3
"""Generates the debugger benchmark's inputs.

globals DIR: DIR/globals.c with 10,000 initialised globals (ints, nested structs, arrays) and
DIR/expressions.txt with 100,000 expressions over them (members, elements, arithmetic), plus
DIR/expressions.gdb printing the same expressions.

dwarf DIR UNITS: DIR/unitNNN.c, UNITS translation units heavy with types and functions, whose
last defines `last_global`; together about 50 MB of DWARF at 200 units.
"""
import os
import random
import sys


def write_globals(directory):
    rng = random.Random(18)
    lines = [
        "struct inner { int a; short b; unsigned char c; };",
        "struct outer { int x; struct inner inner; int table[4]; long total; };",
    ]
    kinds = []
    for i in range(10000):
        kind = i % 3
        kinds.append(kind)
        if kind == 0:
            lines.append(f"int g_int{i} = {rng.randint(-100000, 100000)};")
        elif kind == 1:
            v = [rng.randint(-1000, 1000) for _ in range(8)]
            lines.append(
                f"struct outer g_struct{i} = {{{v[0]}, {{{v[1]}, {v[2]}, {abs(v[3]) % 256}}}, "
                f"{{{v[4]}, {v[5]}, {v[6]}, {v[7]}}}, {v[0] * 1000}L}};")
        else:
            values = ", ".join(str(rng.randint(-50, 50)) for _ in range(16))
            lines.append(f"int g_array{i}[16] = {{{values}}};")
    lines.append("int main(void) { return g_int0; }")
    with open(os.path.join(directory, "globals.c"), "w") as out:
        out.write("\n".join(lines) + "\n")

    def pick(kind):
        while True:
            i = rng.randrange(10000)
            if kinds[i] == kind:
                return i

    expressions = []
    for n in range(100000):
        form = n % 5
        if form == 0:
            expressions.append(f"g_struct{pick(1)}.inner.b")
        elif form == 1:
            expressions.append(f"g_array{pick(2)}[{rng.randrange(16)}]")
        elif form == 2:
            expressions.append(f"g_int{pick(0)} * 3 + g_struct{pick(1)}.x")
        elif form == 3:
            expressions.append(f"g_struct{pick(1)}.table[{rng.randrange(4)}] - g_array{pick(2)}[{rng.randrange(16)}]")
        else:
            expressions.append(f"g_struct{pick(1)}.total / 7 + g_int{pick(0)}")
    with open(os.path.join(directory, "expressions.txt"), "w") as out:
        out.write("\n".join(expressions) + "\n")
    with open(os.path.join(directory, "expressions.gdb"), "w") as out:
        out.write("".join(f"print {e}\n" for e in expressions))


def write_dwarf(directory, units):
    for u in range(units):
        lines = ["#include <stdint.h>"]
        for s in range(250):
            lines.append(f"struct u{u}_s{s} {{")
            for m in range(60):
                kind = ("int", "short", "unsigned char", "double", "uint32_t", "char")[m % 6]
                lines.append(f"    {kind} m{m};")
            lines.append(f"    struct u{u}_s{s} *next;")
            lines.append("};")
            lines.append(f"typedef struct u{u}_s{s} u{u}_t{s};")
        for f in range(100):
            lines.append(f"int u{u}_f{f}(int p0, u{u}_t{f} *p1)")
            lines.append("{")
            for local in range(15):
                lines.append(f"    int l{local} = p0 + {local};")
            lines.append(f"    u{u}_t{(f + 1) % 250} v;")
            lines.append("    v.m0 = l3;")
            lines.append(f"    return v.m0 + l14 + p1->m{f % 60};")
            lines.append("}")
        lines.append(f"u{u}_t7 u{u}_global = {{1, 2, 3}};")
        if u == units - 1:
            lines.append("struct last { int id; double scale; char tag[8]; } last_global = {42, 0.5, \"last\"};")
            lines.append("int main(void) { return last_global.id; }")
        with open(os.path.join(directory, f"unit{u:03d}.c"), "w") as out:
            out.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    if sys.argv[1] == "globals":
        write_globals(sys.argv[2])
    else:
        write_dwarf(sys.argv[2], int(sys.argv[3]))
