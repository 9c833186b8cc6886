#!/usr/bin/python3 -B
"""Rewrites a header or a Markdown file for Doxygen, which calls this program for each of them.

Headers keep plain comments. The comment before a declaration becomes its documentation, one at the
end of a line that of its member, and a heading begins a group. Of a comment's indented lines, names
with texts become a table, sentences a list, and formulas stay as they are. In Markdown, headings get
anchors as GitHub gives them.
"""

import html
import pathlib
import re
import sys

WIDTH = 99  # where the headers wrap
HEADING = re.compile(r"/\* ---- (.*?) -+ \*/$")
ENTRY = re.compile(r"([^=()\s][^=()]*?)  +(\S.*)")


def escape(text):
    """Text in which only backticks mean something."""
    parts = text.split("`")
    for index, part in list(enumerate(parts))[::2]:
        part = re.sub(r"([\\@#%*|])", r"\\\1", html.escape(part, quote=False))
        # Doxygen links what looks like a call.
        parts[index] = re.sub(r"\b(tavrine_[a-z]+_[a-z_]+(?<!_t))\b(?!\.h|\()", r"\1()", part)
    return "`".join(parts)


def indentation(line):
    return len(line) - len(line.lstrip())


def is_broken_here(line, following):
    """Whether the break after `line` was meant: the next word would have fitted."""
    return len(" * " + line) + 1 + len(following.split()[0]) <= WIDTH


def joined(lines, separator):
    text = escape(lines[0].strip())
    for line, following in zip(lines, lines[1:]):
        text += separator if is_broken_here(line, following) else " "
        text += escape(following.strip())
    return text


def items_of(block):
    """The lines of each item; lines that are indented further continue one."""
    items = []
    for line in block:
        continues = items and (indentation(line) > indentation(block[0]) or
                               not ENTRY.match(line.strip()) and
                               not is_broken_here(items[-1][-1], line))
        if continues:
            items[-1].append(line)
        else:
            items.append([line])
    return items


def table(block):
    rows = []
    for lines in items_of(block):
        entry = ENTRY.match(lines[0].strip())
        if entry:
            # Keeps the columns, on which is_broken_here() depends.
            lines = [" " * lines[0].rindex(entry[2]) + entry[2]] + lines[1:]
            rows.append(f"<tr><td>{escape(entry[1])}</td><td>{joined(lines, '<br>')}</td></tr>")
        else:
            rows.append(f'<tr><td colspan="2">{joined(lines, " ")}</td></tr>')
    return ["<table>"] + rows + ["</table>"]


def formatted(block):
    """An indented block of a comment."""
    if ENTRY.fullmatch(block[0].strip()):
        return table(block)
    if any(re.search(r" = | >> ", line) for line in block):
        return ["<pre>"] + [html.escape(line[2:], quote=False) for line in block] + ["</pre>"]
    return [""] + ["- " + joined(lines, " ") for lines in items_of(block)] + [""]


def documentation(comment, begins_file):
    """A comment's lines, as Doxygen reads them."""
    result, block = [], []
    for line in comment + [""]:
        if line.startswith("  "):
            block.append(line)
            continue
        if block:
            result += formatted(block)
            block = []
        if begins_file and (not result or result[-1] == ""):
            line = re.sub(r"^([A-Z][a-z]+(?: [a-z]+){0,2}\.) ", r"\0\1\0 ", line)
        result.append(escape(line).replace("\0", "**"))
    return result


def header(text, name):
    output, comment, open_comment, last = [], [], None, []
    in_group = False
    lines = text.split("\n")
    for number, line in enumerate(lines):
        if open_comment is not None:
            ends = line.endswith("*/")
            open_comment.append(re.sub(r"^\s* \*( |$)", "", line[:-2].rstrip() if ends else line))
            if ends:
                comment, open_comment = open_comment, None
                last = documentation(comment, not output)
                # Before another comment: what belongs to the group, not to a declaration.
                is_group = in_group and "".join(lines[number + 1:number + 3]).startswith("/*")
                if is_group:
                    output += ["/** \\} */", "/**", f"\\addtogroup {group}"] + last + ["\\{ */"]
                else:
                    output += ["/**", "" if output else f"\\file {name}"] + last + ["*/"]
            continue
        heading = HEADING.match(line)
        if heading:
            title = heading[1]
            parent = name.replace(".", "_")
            group = parent + "_" + re.sub(r"\W+", "_", title.lower())
            output += ["/** \\} */"] if in_group else [f"/** \\defgroup {parent} {name} */"]
            output += [f"/** \\defgroup {group} {title}", f"\\ingroup {parent}",
                       f"Declared in {name}.", "\\{ */"]
            in_group = True
        elif line.lstrip().startswith("/*"):
            begin = indentation(line) + 3
            if line.endswith("*/"):
                last = documentation([line[begin:-3]], False)
                output += ["/**"] + last + ["*/"]
            else:
                open_comment = [line[begin:]]
        else:
            if in_group and re.match(r"#ifdef __cplusplus$|\}.*// namespace v\d", line):
                output.append("/** \\} */")
                in_group = False
            # Applications do not name the version, and its comment is not for them.
            if re.match(r"inline namespace v\d \{|\}.*// namespace v\d$", line):
                if line.startswith("inline") and output[-1] == "*/":
                    del output[len(output) - 1 - output[::-1].index("/**"):]
                continue
            # One comment for several declarations.
            before = lines[number - 1] if number else ""
            if re.match(r"(TAVRINE_API|int32_t|#define) ?", line) and re.match(
                    r"(TAVRINE_API|int32_t|#define).*[^\\,(]$", before) and "/*" not in line:
                output += ["/**"] + last + ["*/"]
            if re.match(r"\s*(\w.*[;,]|\w+ = .*|#define .*) +/\*.*\*/$", line):
                line = re.sub(r"/\* (.*) \*/$",
                              lambda match: f"/**< {escape(match[1])} */", line)
            output.append(line)
    return "\n".join(output)


def slug(title):
    return re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def markdown(text, path):
    seen, output, in_fence = {}, [], False
    for line in text.split("\n"):
        in_fence ^= line.startswith("```")
        # Doxygen would link Python's names to the functions of C++.
        line = re.sub(r"^```python", "```{.unparsed}", line)
        heading = re.match(r"(##+) (.*)$", line)
        if heading and not in_fence:
            anchor = slug(heading[2])
            seen[anchor] = seen.get(anchor, 0) + 1
            number = f"-{seen[anchor] - 1}" if seen[anchor] > 1 else ""
            line = f"{heading[0]} {{#{path.stem}-{anchor}{number}}}"
        elif not in_fence:
            line = re.sub(r"\]\(#", f"](#{path.stem}-", line)
            line = re.sub(r"\]\((?:\w+/)*(\w+)\.md#", r"](#\1-", line)
            line = re.sub(r"(!\[[^]]*\])\((?:\w+/)*([\w.-]+)\)", r"\1(\2)", line)
            # Programs have a page each.
            line = re.sub(r"\[`?[\w./]+`?\]\((?:\.\./)?examples/(\w+\.c)\)", r'\\ref \1 "\1"', line)
        output.append(line)
    return "\n".join(output)


def main():
    path = pathlib.Path(sys.argv[1])
    text = path.read_text(encoding="utf-8")
    print(header(text, path.name) if path.suffix in (".h", ".hpp") else markdown(text, path), end="")


if __name__ == "__main__":
    main()
