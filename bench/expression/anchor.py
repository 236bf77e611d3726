#!/usr/bin/env python3
"""The anchor of the expression benchmark: evaluates each expression COUNT times from its text,
as `tess expr --repeat COUNT` does, and reports the time per evaluation on standard error."""
import sys
import time

count = int(sys.argv[1])
for text in sys.argv[2:]:
    start = time.perf_counter_ns()
    for _ in range(count):
        value = eval(text)
    elapsed = time.perf_counter_ns() - start
    sys.stderr.write(f"python3: {text}: {count} evaluations, {elapsed / 1000 / count:.3f} us each\n")
    print(type(value).__name__, value)
