#!/usr/bin/env python3
"""Times commands in rounds: each round is one hyperfine run of every command, in an order
rotated from round to round, so that a drifting load on a shared machine weighs on all of them
alike. Writes OUT.json in hyperfine's form (one result per command, with the median over the
rounds) and prints the median of the ratios to the first command within a round.

usage: rounds.py OUT.json ROUNDS NAME PREPARE COMMAND [NAME PREPARE COMMAND ...]"""
import json
import os
import statistics
import subprocess
import sys
import tempfile


def main():
    if len(sys.argv) < 6 or (len(sys.argv) - 3) % 3:
        sys.exit(__doc__)
    out, rounds = sys.argv[1], int(sys.argv[2])
    words = sys.argv[3:]
    benchmarks = [words[i:i + 3] for i in range(0, len(words), 3)]
    names = [b[0] for b in benchmarks]
    times = {name: [] for name in names}
    for round_ in range(rounds):
        shift = round_ % len(benchmarks)
        order = benchmarks[shift:] + benchmarks[:shift]
        with tempfile.NamedTemporaryFile(suffix=".json", delete=False) as handle:
            export = handle.name
        command = ["hyperfine", "--runs", "1", "--style", "basic", "--export-json", export]
        for name, prepare, run in order:
            command += ["-n", name, "--prepare", prepare, run]
        print("-- round %d of %d: %s" % (round_ + 1, rounds, ", ".join(b[0] for b in order)),
              flush=True)
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        with open(export) as handle:
            for result in json.load(handle)["results"]:
                times[result["command"]].append(result["times"][0])
        os.unlink(export)
    results = [{"command": name, "times": times[name], "median": statistics.median(times[name])}
               for name in names]
    with open(out, "w") as handle:
        json.dump({"results": results}, handle, indent=1)
    first = names[0]
    for name in names[1:]:
        ratios = [a / b for a, b in zip(times[first], times[name])]
        print("%s/%s within a round: median %.2f (rounds: %s)"
              % (first, name, statistics.median(ratios), " ".join("%.2f" % r for r in ratios)))
    for name in names:
        print("%s: %s s" % (name, " ".join("%.2f" % t for t in times[name])))


main()
