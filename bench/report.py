#!/usr/bin/env python3
"""Turns the results of tavrine_bench into a table, and a chart when told where.

usage: bench/report.py RESULTS.json [DOCUMENT.md CHART.svg]
"""

import dataclasses
import json
import os
import pathlib
import statistics
import sys

import chart
import document

PEERS = {"opencv": "OpenCV", "libyuv": "libyuv"}


@dataclasses.dataclass
class Row:
    group: str
    name: str
    times: dict  # milliseconds by implementation
    heap: int

    @property
    def ours(self):
        return self.times["library"]

    @property
    def peers(self):
        return {who: self.times[who] for who in PEERS if who in self.times}

    @property
    def gain(self):
        return min(self.peers.values()) / self.ours

    @property
    def over_limit(self):
        return self.ours / self.times["limit"]


def read_rows(results):
    repetitions = {}
    heaps = {}
    # They ran in random order.
    for entry in sorted(results["benchmarks"], key=lambda entry: entry["family_index"]):
        if entry["run_type"] == "iteration":
            group, name, who = entry["run_name"].split("/")[:3]
            # The processor's time: others on the machine do not count.
            repetitions.setdefault((group, name), {}).setdefault(who, []).append(entry["cpu_time"])
            if who == "library":
                heaps[name] = int(entry["heap"])
    rows = []
    for (group, name), times in repetitions.items():
        medians = {who: statistics.median(values) for who, values in times.items()}
        # A filter may have left out a part.
        if "library" in medians and "limit" in medians and len(medians) > 2:
            rows.append(Row(group, name, medians, heaps[name]))
    return rows


def kilobytes(size):
    return "0" if size == 0 else f"{size / 1024:.1f} KiB"


def timing_table(rows):
    header = ["operation", "this library", *PEERS.values(), "limit", "faster peer / this library",
              "this library / limit", "heap"]
    lines = []
    for row in rows:
        peers = [document.milliseconds(row.times[who]) if who in row.times else "-" for who in PEERS]
        gain = document.significant(row.gain)
        lines.append([row.name, document.milliseconds(row.ours), *peers,
                      document.milliseconds(row.times["limit"]),
                      gain if row.gain >= 1 else f"**{gain}**",
                      document.significant(row.over_limit), kilobytes(row.heap)])
    return document.table(header, lines)


def summary(rows):
    def gain_of(title, groups):
        chosen = [row.gain for row in rows if not groups or row.group in groups]
        if not chosen:
            return []
        count = "one operation" if len(chosen) == 1 else f"{len(chosen)} operations"
        return [[f"{title}, {count}", document.significant(document.geometric_mean(chosen))]]

    lines = gain_of("all", ())
    lines += gain_of("resizes but 2:1 and 4:1, and warps", ("resize", "warp"))
    for title, group in [("resizes but 2:1 and 4:1", "resize"), ("2:1 and 4:1", "reduction"),
                         ("quarter turns", "quarter turn"), ("copies in disguise", "copy"),
                         ("colour", "colour"), ("warps", "warp"), ("tensors", "tensor"),
                         ("batch", "batch")]:
        lines += gain_of(title, (group,))
    text = document.table(["faster peer / this library, geometric mean", ""], lines)

    slower = [row for row in rows if row.gain < 1]
    text += f"\n\n{len(rows) - len(slower)} of {len(rows)} operations are at least as fast as the faster peer."
    copies = [row for row in rows if row.group == "copy"]
    if copies:
        worst = max(copies, key=lambda row: row.over_limit)
        text += (" Of the copies in disguise (half turns, grey to RGB, chroma swapped, split or merged),"
                 f" {worst.name} is farthest from the limit, at {document.significant(worst.over_limit)}"
                 " times.")
    return text


def circumstances(results, command):
    context = results["context"]
    return (f"Measured on {context['date'][:10]} with `{command}`: {document.processor()};"
            f" {context['compiler']}; OpenCV {context['opencv']}, libyuv {context['libyuv']} as"
            f" packaged; libtavrine_aux {context['library']}, commit {document.commit()}.")


def main(arguments):
    if len(arguments) not in (1, 3):
        raise SystemExit(__doc__)
    results = json.loads(pathlib.Path(arguments[0]).read_text())
    rows = read_rows(results)
    if not rows:
        raise SystemExit("no operation was measured together with a peer and the limit")
    parts = [circumstances(results, "scripts/bench"), summary(rows), timing_table(rows)]
    if len(arguments) == 1:
        print("\n\n".join(parts))
        return
    text_path, chart_path = arguments[1:]
    bars = [chart.Bar(row.group, row.name,
                      {PEERS[who]: time / row.ours for who, time in row.peers.items()},
                      row.times["limit"] / row.ours)
            for row in rows]
    pathlib.Path(chart_path).write_text(chart.draw(bars))
    picture = os.path.relpath(chart_path, os.path.dirname(text_path))
    parts.insert(2, f"![Times of the peers as multiples of this library's]({picture})")
    document.replace_section(text_path, "workstation", "\n\n".join(parts))


if __name__ == "__main__":
    main(sys.argv[1:])
