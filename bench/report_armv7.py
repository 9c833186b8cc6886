#!/usr/bin/env python3
"""Counts the armv7 instructions of every operation and writes them into a document.

usage: bench/report_armv7.py PLUGIN.so SCALAR_PROGRAM NEON_PROGRAM PEER_COUNTS.csv COUNTS.json
       [DOCUMENT.md]

COUNTS.json receives the NEON counts for each output pixel. Without a document the tables are
printed.
"""

import concurrent.futures
import csv
import dataclasses
import json
import os
import pathlib
import re
import subprocess
import sys

import document

EMULATOR = ["qemu-arm", "-cpu", "cortex-a7", "-L", "/usr/arm-linux-gnueabihf"]


@dataclasses.dataclass
class Peer:
    c: float
    neon: float
    same_work: bool


@dataclasses.dataclass
class Row:
    group: str
    name: str
    scalar: float
    neon: float
    peer: Peer | None

    @property
    def over_peer(self):
        return self.neon / self.peer.neon


def read_peers(path):
    lines = [line for line in pathlib.Path(path).read_text().splitlines() if line[:1] != "#"]
    return {
        entry["operation"]: Peer(
            float(entry["c"]), float(entry["neon"]), entry["same_work"] == "yes"
        )
        for entry in csv.DictReader(lines)
    }


def run(arguments):
    return subprocess.run(arguments, capture_output=True, text=True, check=True)


def list_operations(program):
    """Group, name and output pixels."""
    lines = run([*EMULATOR, program]).stdout.splitlines()
    return [(group, name, int(pixels)) for group, name, pixels in (l.split("/") for l in lines)]


def instructions(plugin, program, name, times):
    output = run([*EMULATOR, "-d", "plugin", "-plugin", plugin, program, name, str(times)]).stderr
    return int(re.search(r"^instructions: (\d+)$", output, re.MULTILINE).group(1))


def instructions_of_call(plugin, program, name):
    """The mean of the second and the third call: without start-up and first-call preparations."""
    thrice = instructions(plugin, program, name, 3)
    return (thrice - instructions(plugin, program, name, 1)) / 2


def measure(plugin, programs, peers):
    operations = list_operations(programs[0])
    unknown = peers.keys() - {name for _, name, _ in operations}
    if unknown:
        raise SystemExit(f"counts of peers for unknown operations: {sorted(unknown)}")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = [
            [pool.submit(instructions_of_call, plugin, program, name) for program in programs]
            for _, name, _ in operations
        ]
        return [
            Row(group, name, scalar.result() / pixels, neon.result() / pixels, peers.get(name))
            for (group, name, pixels), (scalar, neon) in zip(operations, counts)
        ]


def count_table(rows):
    lines = []
    for row in rows:
        cells = [row.name, document.significant(row.scalar), document.significant(row.neon),
                 document.significant(row.scalar / row.neon)]
        if row.peer:
            mark = "" if row.peer.same_work else " *"
            bar = 1.0 if row.peer.same_work else 1.5
            ratio = document.significant(row.over_peer)
            cells += [document.significant(row.peer.c), document.significant(row.peer.neon) + mark,
                      ratio if row.over_peer <= bar else f"**{ratio}**"]
        else:
            cells += ["-", "-", "-"]
        lines.append(cells)
    return document.table(["operation", "scalar", "NEON", "scalar / NEON", "libyuv C",
                           "libyuv NEON", "NEON / libyuv NEON"], lines)


def summary(rows):
    lines = [[f"scalar / NEON, {len(rows)} operations",
              document.significant(document.geometric_mean([r.scalar / r.neon for r in rows]))]]
    same = [row.over_peer for row in rows if row.peer and row.peer.same_work]
    other = [row.over_peer for row in rows if row.peer and not row.peer.same_work]
    lines.append([f"NEON / libyuv NEON, the same work, {len(same)} operations",
                  document.significant(document.geometric_mean(same))])
    lines.append([f"NEON / libyuv NEON, other work, {len(other)} operations",
                  document.significant(document.geometric_mean(other))])
    text = document.table(["geometric mean", ""], lines)
    return (f"{text}\n\n{sum(ratio <= 1 for ratio in same)} of the {len(same)} operations that do"
            f" the same work in both libraries need no more instructions than libyuv's."
            f" {sum(ratio <= 1.5 for ratio in other)} of the {len(other)} others need at most 1.5"
            " times as many.")


def circumstances():
    compiler = run(["arm-linux-gnueabihf-g++", "-dumpfullversion"]).stdout.strip()
    emulator = run(["qemu-arm", "--version"]).stdout.splitlines()[0].split()[2]
    return (f"Counted with `scripts/bench-armv7`: guest instructions per output pixel;"
            f" {' '.join(EMULATOR[:3])} {emulator}; GCC {compiler}, Release; commit"
            f" {document.commit()}.")


def main(arguments):
    if len(arguments) not in (5, 6):
        raise SystemExit(__doc__)
    plugin, scalar, neon, peers, counts = arguments[:5]
    rows = measure(plugin, [scalar, neon], read_peers(peers))
    pathlib.Path(counts).write_text(json.dumps({row.name: row.neon for row in rows}, indent=1))
    text = "\n\n".join([circumstances(), summary(rows), count_table(rows)])
    if len(arguments) == 6:
        document.replace_section(arguments[5], "camera", text)
    else:
        print(text)


if __name__ == "__main__":
    main(sys.argv[1:])
