#!/usr/bin/env python3
"""Writes the clang benchmark's workload into DIR: a 5,000-line C unit of 120 structs and 450
functions (gen.c), the cold-start request (cold.txt: one completion at a member access) and the
editing session (edits.txt: 20 one-line edits, each followed by a completion in the edited line).
Both request files are `tess clang batch` scripts, which the language-server client reads too."""
import os
import sys

STRUCTS = 120
FUNCTIONS = 450
LINES = 5000
EDITS = 20


def main():
    directory = sys.argv[1]
    os.makedirs(directory, exist_ok=True)
    path = os.path.join(directory, "gen.c")
    lines = ["#include <stdio.h>", "#include <stdlib.h>", "#include <string.h>", ""]
    for s in range(STRUCTS):
        link = "struct rec_%d *link;" % (s - 1) if s else "void *link;"
        lines += ["struct rec_%d {" % s, "    int field_0;", "    double field_1;",
                  "    char name_%d[16];" % s, "    long field_3;", "    unsigned field_4;",
                  "    " + link, "};"]
    access = []   # (line, column after "p->") of each function's member access
    for f in range(FUNCTIONS):
        s = f % STRUCTS
        lines += ["int func_%d(struct rec_%d *p, int n)" % (f, s), "{", "    int v = n;"]
        access.append(len(lines) + 1)
        lines.append("    v += p->field_0;")
        if f % 3:
            lines += ["    if (v > %d)" % f, "        v -= (int)strlen(p->name_%d);" % s]
        else:
            lines.append("    if (v > %d) v -= %d;" % (f, f))
        lines += ["    return v + (int)p->field_1;", "}", ""]
    lines.append("int main(void)")
    lines.append("{")
    lines.append("    printf(\"%d\\n\", func_0(NULL, 0));")
    lines.append("    return 0;")
    lines.append("}")
    # A table fills the unit up to its size, as generated tables do in real firmware.
    lines += ["", "static const unsigned table[] = {"]
    value = 1
    while len(lines) < LINES - 1:
        row = []
        for _ in range(8):
            value = (value * 1103515245 + 12345) % 2147483648
            row.append("0x%08x," % value)
        lines.append("    " + " ".join(row))
    lines.append("};")
    with open(path, "w") as out:
        out.write("\n".join(lines) + "\n")
    column = len("    v += p->") + 1
    with open(os.path.join(directory, "cold.txt"), "w") as out:
        out.write("complete %s %d %d\n" % (path, access[-1], column))
    with open(os.path.join(directory, "edits.txt"), "w") as out:
        step = FUNCTIONS // EDITS
        for e in range(EDITS):
            line = access[e * step + step // 2]
            out.write("edit %s %d     v += p->field_%d;\n" % (path, line, e % 5))
            out.write("complete %s %d %d\n" % (path, line, column + 2))
    print("%s: %d lines, %d structs, %d functions" % (path, len(lines), STRUCTS, FUNCTIONS))


if __name__ == "__main__":
    main()
