"""The code blocks of a Markdown file."""

import dataclasses
import re


@dataclasses.dataclass
class Block:
    section: str  # the text of the `##` heading above it
    language: str  # of a fenced block; "sh" for an indented one, which holds commands
    line: int  # of the first line of code
    code: str


def blocks_of(path):
    blocks, section = [], ""
    lines = path.read_text(encoding="utf-8").split("\n")
    number = 0
    while number < len(lines):
        line = lines[number]
        number += 1
        start = number
        fence = re.match(r"```([\w+-]*)", line)
        if fence:
            while lines[number] != "```":
                number += 1
            blocks.append(Block(section, fence[1], start + 1, "\n".join(lines[start:number]) + "\n"))
            number += 1
        elif line.startswith("    ") and lines[start - 2] == "":
            while number < len(lines) and (lines[number].startswith("    ") or lines[number] == ""):
                number += 1
            code = "\n".join(text[4:] for text in lines[start - 1:number]).rstrip("\n") + "\n"
            blocks.append(Block(section, "sh", start, code))
        elif line.startswith("## "):
            section = line[3:]
    return blocks
