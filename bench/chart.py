"""A bar chart of how many times as long the peers take, on a logarithmic axis, as SVG."""

import dataclasses
import html
import math

ROW = 18
LABELS = 330
PLOT = 520
RIGHT = 70
TOP = 78
COLORS = {"OpenCV": "#2f6db5", "libyuv": "#d97706"}
FASTER, SLOWER, LIMIT, INK, GRID = "#a7d3b4", "#e9a3a3", "#555555", "#222222", "#dddddd"


@dataclasses.dataclass
class Bar:
    group: str
    name: str
    peers: dict  # time of a peer / time of this library
    limit: float | None  # time of the limit / time of this library


class Axis:
    """Powers of two from the smallest ratio to the largest; 1 is always inside."""

    def __init__(self, values):
        self.low = min(-1, math.floor(math.log2(min(values))))
        self.high = max(2, math.ceil(math.log2(max(values))))

    def position(self, value):
        return LABELS + PLOT * (math.log2(value) - self.low) / (self.high - self.low)

    def ticks(self):
        return [2.0**power for power in range(self.low, self.high + 1)]


def text(x, y, content, anchor="start", size=11, color=INK, weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" fill="{color}" text-anchor="{anchor}"'
            f' font-weight="{weight}">{html.escape(content)}</text>')


def line(x1, y1, x2, y2, color, width=1.0):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{color}"'
            f' stroke-width="{width}"/>')


def circle(x, y, color):
    return f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4" fill="{color}"/>'


def legend():
    parts = [text(12, 22, "How many times as long the peers take", size=15, weight="bold"),
             text(12, 40, "Right of 1 this library is faster. The bar ends at the faster peer."
                  " Logarithmic scale.")]
    x = LABELS + 150
    for name, color in COLORS.items():
        parts += [circle(x, 18, color), text(x + 8, 22, name)]
        x += 75
    parts += [line(x, 11, x, 25, LIMIT, 2), text(x + 8, 22, "copy of as many bytes")]
    return parts


def draw_bar(bar, axis, y):
    middle = y + ROW / 2
    gain = min(bar.peers.values())
    one, end = axis.position(1), axis.position(gain)
    parts = [text(LABELS - 10, middle + 4, bar.name, "end"),
             f'<rect x="{min(one, end):.1f}" y="{y + 3}" width="{abs(end - one):.1f}"'
             f' height="{ROW - 6}" fill="{FASTER if gain >= 1 else SLOWER}"/>']
    # A copy is off the axis where an operation mostly calculates.
    if bar.limit and math.log2(bar.limit) >= axis.low:
        x = axis.position(bar.limit)
        parts.append(line(x, y + 2, x, y + ROW - 2, LIMIT, 2))
    parts += [circle(axis.position(value), middle, COLORS[name])
              for name, value in bar.peers.items()]
    parts.append(text(LABELS + PLOT + 12, middle + 4, f"{gain:.2f}",
                      weight="normal" if gain >= 1 else "bold"))
    return parts


def draw(bars):
    axis = Axis([value for bar in bars for value in bar.peers.values()])
    groups = list(dict.fromkeys(bar.group for bar in bars))
    bars = sorted(bars, key=lambda bar: groups.index(bar.group))
    height = TOP + ROW * (len(bars) + len(groups)) + 12
    width = LABELS + PLOT + RIGHT
    grid, rows = [], []
    for tick in axis.ticks():
        x = axis.position(tick)
        label = f"{tick:g}" if tick >= 1 else f"1/{1 / tick:g}"
        grid += [line(x, TOP - 6, x, height - 10, INK if tick == 1 else GRID),
                 text(x, TOP - 12, label, "middle")]
    grid.append(text(LABELS + PLOT + 12, TOP - 12, "ratio"))
    y = TOP
    group = None
    for bar in bars:
        if bar.group != group:
            group = bar.group
            rows.append(text(12, y + ROW / 2 + 4, group, weight="bold"))
            y += ROW
        rows += draw_bar(bar, axis, y)
        y += ROW
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}"'
        f' height="{height}" font-family="sans-serif">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        *legend(), *grid, *rows, "</svg>", ""])
