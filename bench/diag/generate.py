#!/usr/bin/env python3
"""Benchmark inputs: compiler output and dependency files, made from captured real lines."""
import os
import random
import re
import sys

def compiler_output(captures, target, total):
    templates = []
    for path in captures:
        with open(path, encoding="utf-8") as f:
            templates += f.read().splitlines()
    names = re.compile(r"broken\.cpp|broken\.c|helper\.h|inner\.h|fatal\.c|link\.c")
    numbers = re.compile(r"\.c:\d+:\d+:")
    rng = random.Random(7)
    with open(target + ".tmp", "w", encoding="utf-8") as out:
        for i in range(total):
            line = templates[i % len(templates)]
            path = "src/module%d/unit%d.c" % (rng.randrange(60), rng.randrange(500))
            line = names.sub(path, line)
            line = numbers.sub(".c:%d:%d:" % (rng.randrange(1, 4000), rng.randrange(1, 80)), line, 1)
            out.write(line + "\n")
    os.replace(target + ".tmp", target)

def dependency_files(directory, count, names):
    os.makedirs(directory, exist_ok=True)
    for f in range(count):
        lines = ["Output/Debug/Obj/app/unit%d.o: src/module%d/unit%d.c \\" % (f, f % 60, f)]
        for k in range(1, names):
            tail = " \\" if k < names - 1 else ""
            lines.append(" /usr/include/library%d/include/header_%d_%d.h%s" % (k % 7, f % 13, k, tail))
        with open(os.path.join(directory, "%04d.d" % f), "w") as out:
            out.write("\n".join(lines) + "\n")

if __name__ == "__main__":
    kind = sys.argv[1]
    if kind == "output":
        compiler_output(sys.argv[3:], sys.argv[2], 1000000)
    else:
        dependency_files(sys.argv[2], 10000, 50)
