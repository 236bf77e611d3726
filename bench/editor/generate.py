#!/usr/bin/env python3
"""Writes the editor benchmark's inputs into DIR: big.c, a C file of 100 MB (functions with
comments, declarations and statements of varied length, LF endings), and lines100k.c, 100,000
lines of C for the undo workload. The same seed gives the same bytes."""
import os
import random
import sys


def function(rng, index):
    name = "handler_%d" % index
    lines = ["/* %s: %s */" % (name, rng.choice(["reads the status register", "clears the FIFO",
                                                     "arms the watchdog", "copies a frame"])),
             "static int %s(struct device *dev, unsigned int flags)" % name, "{"]
    for local in range(rng.randint(1, 4)):
        lines.append("    int value%d = dev->regs[%d] & 0x%04x;" % (local, rng.randint(0, 63), rng.randint(0, 0xFFFF)))
    for _ in range(rng.randint(2, 8)):
        choice = rng.random()
        if choice < 0.3:
            lines.append("    if (flags & (1u << %d))" % rng.randint(0, 31))
            lines.append("        value0 += %s;" % rng.choice(["dev->count", "flags >> 2", "value0 * 3"]))
        elif choice < 0.6:
            lines.append("    dev->regs[%d] = value0 ^ 0x%08xu; // %s" % (
                rng.randint(0, 63), rng.getrandbits(32), rng.choice(["TODO: check", "see manual", "write back"])))
        else:
            lines.append("    value0 = compute(dev, value0, %d);" % rng.randint(0, 9999))
    lines += ["    return value0;", "}", ""]
    return "\n".join(lines) + "\n"


def write_big(path, size):
    rng = random.Random(15)
    written = 0
    index = 0
    with open(path, "w") as out:
        while written < size:
            text = function(rng, index)
            out.write(text)
            written += len(text)
            index += 1


def write_lines(path, count):
    rng = random.Random(16)
    with open(path, "w") as out:
        for i in range(count):
            if i % 7 == 0:
                out.write("\n")
            else:
                out.write("    int value%d = compute(%d, data[%d]);\n" % (i, rng.randint(0, 999), i))


def main():
    directory = sys.argv[1]
    os.makedirs(directory, exist_ok=True)
    write_big(os.path.join(directory, "big.c"), 100 * 1024 * 1024)
    write_lines(os.path.join(directory, "lines100k.c"), 100000)


if __name__ == "__main__":
    main()
