#!/usr/bin/env python3
"""Turns the results of tavrine_bench into tables.

usage: bench/report.py RESULTS.json
       bench/report.py RESULTS.json COUNTS.json DOCUMENT.md CHART.svg

The first form prints the table. The second writes the sections "advice" and "workstation" of the
document and the chart; COUNTS.json comes from bench/report_armv7.py.
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
MOVES = "bytes moved"
PIPELINE = "pipeline"


@dataclasses.dataclass
class Row:
    group: str
    name: str
    pixels: int
    heap: int
    seconds: dict  # of each contender, one for each allocation

    def milliseconds(self, who):
        return 1e3 * statistics.median(self.seconds[who])

    @property
    def ours(self):
        return self.milliseconds("library")

    @property
    def worst(self):
        return 1e3 * max(self.seconds["library"])

    @property
    def peers(self):
        return {who: self.milliseconds(who) for who in PEERS if who in self.seconds}

    @property
    def ratio(self):
        return min(self.peers.values()) / self.ours

    @property
    def over_limit(self):
        return self.ours / self.milliseconds("limit") if "limit" in self.seconds else None

    @property
    def gain(self):
        """How many times as long an earlier build takes: the median over the allocations."""
        pairs = zip(self.seconds["there"], self.seconds["library"])
        return statistics.median(there / here for there, here in pairs)


def kilobytes(size):
    return "0" if size == 0 else f"{size / 1024:.1f} KiB"


def emphasized(ratio):
    text = document.significant(ratio)
    return text if ratio >= 1 else f"**{text}**"


def timing_table(rows, revision):
    header = ["operation", "this library", "worst", *PEERS.values(), "limit",
              "faster peer / this library", "this library / limit", "heap"]
    if revision:
        header.append(f"{revision} / this library")
    lines = []
    for row in rows:
        times = [document.milliseconds(row.milliseconds(who)) if who in row.seconds else "-"
                 for who in [*PEERS, "limit"]]
        line = [row.name, document.milliseconds(row.ours), document.milliseconds(row.worst), *times,
                emphasized(row.ratio),
                document.significant(row.over_limit) if row.over_limit else "-",
                kilobytes(row.heap)]
        if revision:
            line.append(document.significant(row.gain))
        lines.append(line)
    return document.table(header, lines)


def summary(rows, revision):
    def line(title, chosen):
        count = "1 row" if len(chosen) == 1 else f"{len(chosen)} rows"
        cells = [f"{title}, {count}",
                 document.significant(document.geometric_mean([row.ratio for row in chosen]))]
        if revision:
            cells.append(document.significant(
                document.geometric_mean([row.gain for row in chosen])))
        return cells

    groups = list(dict.fromkeys(row.group for row in rows))
    lines = [line("all", rows)]
    lines += [line(group, [row for row in rows if row.group == group]) for group in groups]
    header = ["geometric mean", "faster peer / this library"]
    if revision:
        header.append(f"{revision} / this library")
    text = document.table(header, lines)

    slower = [row for row in rows if row.ratio < 1]
    text += (f"\n\n{len(rows) - len(slower)} of {len(rows)} rows are at least as fast as the faster"
             " peer.")
    moves = [row for row in rows if row.group == MOVES]
    if moves:
        slowest = max(moves, key=lambda row: row.over_limit)
        text += (" Of the operations that only move bytes (half rotations, grey to RGB, chroma"
                 f" swapped, split or merged), {slowest.name} is farthest from the limit, at"
                 f" {document.significant(slowest.over_limit)} times.")
    return text


def circumstances(context):
    return (f"Measured on {context['date']} with `scripts/bench`: {document.processor()};"
            f" {context['compiler']}; OpenCV {context['opencv']}, libyuv {context['libyuv']} as"
            f" packaged; libtavrine_aux {context['library']}, commit {document.commit()}."
            " Milliseconds: the median and the worst over the allocations.")


def per_megapixel(row):
    return row.ours * 1e6 / row.pixels


def orders_of_steps(rows, counts):
    """How much the order of the steps matters."""
    pair = {order: next((row for row in rows if row.name.endswith(order)), None)
            for order in ("converted first", "resized first")}
    if None in pair.values():
        return ""
    slow, fast = pair.values()
    return (f"A 1920x1080 NV12 frame becomes a tensor of 3x300x300 floats in"
            f" {document.milliseconds(slow.ours)} ms when it is converted first, and in"
            f" {document.milliseconds(fast.ours)} ms when it is resized first. On armv7, that takes"
            f" {millions(counts[slow.name] * slow.pixels)} and"
            f" {millions(counts[fast.name] * fast.pixels)} million instructions.")


def millions(count):
    return document.significant(count / 1e6)


def advice(rows, counts):
    lines = [[row.name, document.significant(per_megapixel(row)),
              document.significant(counts[row.name]) if row.name in counts else "-"]
             for row in rows]
    table = document.table(["operation", "x86-64, milliseconds per megapixel",
                            "armv7, million instructions per megapixel"], lines)
    return f"{orders_of_steps(rows, counts)}\n\nCosts are for a megapixel of the result:\n\n{table}"


def write_document(rows, context, counts, text_path, chart_path):
    bars = [chart.Bar(row.group, row.name,
                      {PEERS[who]: time / row.ours for who, time in row.peers.items()},
                      1 / row.over_limit if row.over_limit else None)
            for row in rows]
    pathlib.Path(chart_path).write_text(chart.draw(bars))
    picture = os.path.relpath(chart_path, os.path.dirname(text_path))
    revision = context.get("there")
    document.replace_section(text_path, "advice", advice(rows, counts))
    document.replace_section(text_path, "workstation", "\n\n".join([
        circumstances(context), summary(rows, revision),
        f"![Times of the peers as multiples of this library's]({picture})",
        timing_table(rows, revision)]))


def main(arguments):
    if len(arguments) not in (1, 4):
        raise SystemExit(__doc__)
    results = json.loads(pathlib.Path(arguments[0]).read_text())
    rows = [Row(**entry) for entry in results["rows"]]
    context = results["context"]
    if not rows:
        raise SystemExit("no operation was measured")
    if len(arguments) == 1:
        revision = context.get("there")
        print("\n\n".join([circumstances(context), summary(rows, revision),
                           timing_table(rows, revision)]))
        return
    counts = json.loads(pathlib.Path(arguments[1]).read_text())
    write_document(rows, context, counts, *arguments[2:])


if __name__ == "__main__":
    main(sys.argv[1:])
