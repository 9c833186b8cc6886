#!/usr/bin/env python3
"""Holds the armv7 instruction counts of all operations below their ceilings.

usage: bench/ceilings.py check PLUGIN.so PROGRAM CEILINGS.txt
       bench/ceilings.py write COUNTS.json CEILINGS.txt

A line of CEILINGS.txt is the most instructions for each output pixel, and the operation. `check`
exits with 1 when a count is above its ceiling or an operation has none. `write` sets the ceilings
a little above the counts that bench/report_armv7.py wrote.
"""

import concurrent.futures
import json
import math
import os
import pathlib
import sys

import report_armv7

MARGIN = 1.03
# Below this part of its ceiling, a count has improved so much that the ceiling guards nothing.
LOOSE = 0.9


def read_ceilings(path):
    lines = [line.split(maxsplit=1) for line in pathlib.Path(path).read_text().splitlines()
             if line and not line.startswith("#")]
    return {name: float(ceiling) for ceiling, name in lines}


def check(plugin, program, path):
    ceilings = read_ceilings(path)
    operations = report_armv7.list_operations(program)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = {
            name: pool.submit(report_armv7.instructions_of_call, plugin, program, name)
            for _, name, _ in operations
        }
    failed = False
    for _, name, pixels in operations:
        count = counts[name].result() / pixels
        ceiling = ceilings.pop(name, None)
        if ceiling is None:
            print(f"{name}: no ceiling; a call takes {count:.3g} instructions for each pixel")
            failed = True
        elif count > ceiling:
            print(f"{name}: {count:.3g} instructions for each pixel, {ceiling:g} allowed")
            failed = True
        elif count < LOOSE * ceiling:
            print(f"{name}: {count:.3g} instructions for each pixel; lower the ceiling of"
                  f" {ceiling:g} with scripts/bench-armv7 --ceilings")
    for name in ceilings:
        print(f"{name}: no such operation")
        failed = True
    return 1 if failed else 0


def rounded_up(value):
    """Three digits."""
    unit = 10.0 ** (math.floor(math.log10(value)) - 2)
    return f"{math.ceil(value / unit) * unit:.4g}"


def write(counts_path, path):
    counts = json.loads(pathlib.Path(counts_path).read_text())
    lines = ["# The most instructions for each output pixel on armv7, and the operation. Written by",
             "# scripts/bench-armv7 --ceilings, held by the test InstructionCounts."]
    lines += [f"{rounded_up(MARGIN * count):>6} {name}" for name, count in counts.items()]
    pathlib.Path(path).write_text("\n".join(lines) + "\n")
    return 0


def main(arguments):
    actions = {"check": (check, 3), "write": (write, 2)}
    action, count = actions.get(arguments[0] if arguments else None, (None, 0))
    if action is None or len(arguments) != count + 1:
        raise SystemExit(__doc__)
    sys.exit(action(*arguments[1:]))


if __name__ == "__main__":
    main(sys.argv[1:])
