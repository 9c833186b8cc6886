"""What both reports share: tables, means, the machine, sections of a document."""

import math
import pathlib
import subprocess


def table(header, rows, left_columns=1):
    """A Markdown table; the columns after the first ones are numbers."""
    rule = [":--" if i < left_columns else "--:" for i in range(len(header))]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in [header, rule, *rows])


def geometric_mean(values):
    return math.exp(sum(map(math.log, values)) / len(values))


def milliseconds(value):
    return f"{value:.4f}" if value < 0.01 else f"{value:.3f}" if value < 10 else f"{value:.2f}"


def significant(value):
    """Three digits, in plain notation."""
    digits = max(0, 2 - math.floor(math.log10(value))) if value > 0 else 0
    return f"{value:.{min(digits, 3)}f}"


def processor():
    lines = pathlib.Path("/proc/cpuinfo").read_text().splitlines()
    names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    return f"{names[0] if names else 'unknown processor'}, {max(len(names), 1)} cores"


def commit():
    """The revision of the working folder, and whether files differ from it."""

    def git(*arguments):
        return subprocess.run(
            ["git", *arguments], capture_output=True, text=True, check=True
        ).stdout.strip()

    changed = git("status", "--porcelain", "--", ".", ":!docs")
    return git("rev-parse", "--short", "HEAD") + (" with changes" if changed else "")


def replace_section(path, name, text):
    """Puts `text` between the two comments that mark the section."""
    begin, end = f"<!-- {name}: begin -->\n", f"<!-- {name}: end -->"
    document = pathlib.Path(path).read_text()
    before, found, rest = document.partition(begin)
    _, found_end, after = rest.partition(end)
    if not found or not found_end:
        raise SystemExit(f"{path} has no section {name}")
    pathlib.Path(path).write_text(f"{before}{begin}\n{text}\n\n{end}{after}")
