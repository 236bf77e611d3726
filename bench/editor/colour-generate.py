#!/usr/bin/env python3
"""Writes the colouring benchmark's inputs into DIR: colour.c, 100,000 lines of C (functions with
comments, strings, numbers, preprocessor lines and a raw string now and then), and colour.s,
100,000 lines of assembler (labels, directives, registers, comments). The same seed gives the
same bytes."""
import random
import sys


def c_lines(rng):
    out = ["#include <stdint.h>", "#define REG(n) (*(volatile uint32_t *)(0x40000000u + (n) * 4))", ""]
    index = 0
    while len(out) < 100000:
        name = "handler_%d" % index
        index += 1
        out.append("/* %s: %s" % (name, rng.choice(["reads the status register", "TODO: clears the FIFO"])))
        out.append("   and returns the new value */")
        out.append("static int %s(struct device *dev, unsigned int flags)" % name)
        out.append("{")
        for _ in range(rng.randint(2, 9)):
            choice = rng.random()
            if choice < 0.25:
                out.append("    if (flags & (1u << %d)) {" % rng.randint(0, 31))
                out.append("        dev->count += %s;" % rng.choice(["1", "flags >> 2", "0x1p+3", "1e-5"]))
                out.append("    }")
            elif choice < 0.5:
                out.append("    REG(%d) = dev->regs[%d] ^ 0x%08xu; // %s" % (
                    rng.randint(0, 63), rng.randint(0, 63), rng.getrandbits(32),
                    rng.choice(["NOTE: see manual", "write back", "FIXME later"])))
            elif choice < 0.75:
                out.append('    log_write(dev, "value %%d of \\"%s\\"\\n", %d);' % (name, rng.randint(0, 9999)))
            elif choice < 0.8:
                out.append('    static const char *text = R"x(raw (%d) text)x";' % rng.randint(0, 99))
            else:
                out.append("    value = compute(dev, value, '%s');" % rng.choice("abc\\n"))
        out += ["    return 0;", "}", ""]
    return out[:100000]


def asm_lines(rng):
    out = ["; generated assembler", "        .section .text", "        .global start", "start:"]
    index = 0
    while len(out) < 100000:
        out.append("loop_%d:  ; block %d" % (index, index))
        index += 1
        for _ in range(rng.randint(3, 12)):
            choice = rng.random()
            if choice < 0.4:
                out.append("        mov r%d, R%d      @ copy" % (rng.randint(0, 15), rng.randint(0, 15)))
            elif choice < 0.6:
                out.append("        add r%d, r%d, $%X" % (rng.randint(0, 15), rng.randint(0, 15), rng.getrandbits(12)))
            elif choice < 0.75:
                out.append("        ldr r%d, [sp, 0x%x]   ; load" % (rng.randint(0, 15), rng.getrandbits(8)))
            elif choice < 0.85:
                out.append('        .ascii "frame %d\\n"' % rng.randint(0, 999))
            elif choice < 0.95:
                out.append("        b.ne loop_%d" % rng.randint(0, max(index - 1, 0)))
            else:
                out.append("/* block comment */ nop")
    return out[:100000]


def main():
    folder = sys.argv[1]
    with open(folder + "/colour.c", "w") as f:
        f.write("\n".join(c_lines(random.Random(7))) + "\n")
    with open(folder + "/colour.s", "w") as f:
        f.write("\n".join(asm_lines(random.Random(8))) + "\n")


main()
