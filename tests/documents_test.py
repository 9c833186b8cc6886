#!/usr/bin/python3 -B
"""Tries what the documents show: commands run, CMake files are read, C and C++ compile.

Each document has a folder of its own, with a picture and a frame under the names that documents use
and this build as build/release. Its commands run there one after another. In a `console` block, a
line that begins with `$ ` is a command, and the lines after it are what it prints. The guide's code
is tested by guide_test.py, and code in Python by python/tests. documents_not_run.txt lists the commands that are not run, and why.

usage: documents_test.py SOURCE BUILD C_COMPILER CXX_COMPILER
"""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from markdown_blocks import blocks_of

SOURCE, BUILD = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
COMPILERS = {"c": [sys.argv[3], "-std=c11"], "cpp": [sys.argv[4], "-std=c++17"]}
COMMON = ["-Wall", "-Wextra", "-Werror", "-fsyntax-only",
          f"-I{SOURCE}/include", f"-I{SOURCE}/devkit/core"]
LIST = SOURCE / "tests/documents_not_run.txt"
NOT_RUN = [line.split(" : ")[0] for line in LIST.read_text().splitlines() if " : " in line]
PICTURES = ["photo.jpg", "frame.yuv"]
unused = set(NOT_RUN)


def is_run(command):
    matches = [prefix for prefix in NOT_RUN if command.startswith(prefix)]
    unused.difference_update(matches)
    return not matches


def draw_pictures():
    folder = BUILD / "documents"
    folder.mkdir(exist_ok=True)
    for command in ("draw_chart photo.jpg",
                    "tavrine-aux convert photo.jpg --resize 1920x1080 frame.yuv"):
        subprocess.run(command.split(), cwd=folder, check=True)


def commands_of(block):
    """Commands, each with what it prints, or None where a document does not say."""
    lines = re.sub(r"\\\n\s*", "", block.code).splitlines()
    if block.language != "console":
        return [(line.strip(), None) for line in lines]
    pairs = []
    for line in lines:
        if line.startswith("$ "):
            pairs.append((line[2:], ""))
        else:
            pairs[-1] = (pairs[-1][0], pairs[-1][1] + line + "\n")
    return pairs


def shell_lines(name, block):
    for command, printed in commands_of(block):
        if not is_run(command):
            continue
        yield f"here={shlex.quote(f'{name}: {command}')}"
        yield command if printed is None else (
            f"diff <({command} 2>&1) <(printf %s {shlex.quote(printed)})")


def prepare(folder):
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "build").mkdir(parents=True)
    (folder / "build/release").symlink_to(BUILD)
    (folder / "include").symlink_to(SOURCE / "include")
    for name in PICTURES:
        (folder / name).hardlink_to(BUILD / "documents" / name)
    subprocess.run(["cmake", "--install", "build/release", "--prefix", "out/sdk"], cwd=folder,
                   stdout=subprocess.DEVNULL, check=True)


def compile_block(name, block, folder):
    file = folder / f"example.{block.language}"
    file.write_text(f'#line {block.line} "{name}"\n{block.code}')
    return subprocess.run(COMPILERS[block.language] + COMMON + [str(file)]).returncode == 0


def try_document(path):
    name = str(path.relative_to(SOURCE))
    folder = BUILD / "documents" / path.stem
    prepare(folder)
    done, script = True, ["set -euo pipefail", "trap 'echo \"$here\"' ERR"]
    for block in blocks_of(path):
        if block.language in ("sh", "console"):
            script += shell_lines(name, block)
        elif block.language in COMPILERS:
            if path.stem == "guide":
                (folder / f"application.{block.language}").write_text(block.code)
            else:
                done = compile_block(name, block, folder) and done
        elif block.language == "cmake" and "project(" in block.code:
            (folder / "CMakeLists.txt").write_text(block.code)
        elif block.language == "cmake":
            # Fragments: all but the commands that need a project.
            file = folder / "fragment.cmake"
            stubs = "function(target_link_libraries)\nendfunction()\nfunction(find_package)\nendfunction()\n"
            file.write_text(stubs + block.code)
            done = subprocess.run(["cmake", "-P", str(file)]).returncode == 0 and done
        elif block.language not in ("", "text", "python"):
            print(f"{name}:{block.line}: nothing is known of the language '{block.language}'")
            done = False
    run = subprocess.run(["bash", "-c", "\n".join(script)], cwd=folder, text=True,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if run.returncode != 0:
        print(run.stdout)
        done = False
    for link in re.findall(r"\]\(([\w./-]+)(?:#[\w-]+)?\)", path.read_text()):
        if not (path.parent / link).exists():
            print(f"{name}: there is no {link}")
            done = False
    return done


def packages_agree():
    """What the README tells to install is what scripts/dependencies installs."""
    named = re.search(r"apt-get install (.*)", (SOURCE / "README.md").read_text())[1].split()
    installed = re.search(r"build_packages=\((.*)\)", (SOURCE / "scripts/dependencies").read_text())[1]
    return set(named) == set(installed.split()) - {"ccache"}


def main():
    os.environ["PATH"] = f"{BUILD}/bin:{os.environ['PATH']}"
    failed = [] if packages_agree() else ["README.md: other packages than scripts/dependencies"]
    draw_pictures()
    for path in sorted(SOURCE.glob("*.md")) + sorted(SOURCE.glob("docs/*.md")):
        if not try_document(path):
            failed.append(str(path.relative_to(SOURCE)))
    failed += [f"{LIST.name}: no document has '{prefix}'" for prefix in sorted(unused)]
    print("\n".join(failed) or "All documents work")
    sys.exit(len(failed) > 0)


if __name__ == "__main__":
    main()
