#!/usr/bin/python3 -B
"""Compiles the code of docs/guide.md and runs it.

The C blocks of a section make one source file, with the driver in tests/guide whose first line
names the section behind them. Blocks in C++ have drivers that end in .cpp.

usage: guide_test.py SOURCE BUILD C_COMPILER CXX_COMPILER OPTIONS [EMULATOR...]
"""

import pathlib
import shlex
import subprocess
import sys

from markdown_blocks import blocks_of

COMMON = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror"]
LANGUAGES = {"c": (".c", ["-std=gnu11"]), "cpp": (".cpp", ["-std=c++17"])}


def main():
    source, build, c_compiler, cxx_compiler, options, *emulator = sys.argv[1:]
    source, build = pathlib.Path(source), pathlib.Path(build)
    guide = source / "docs/guide.md"
    folder = build / "guide"
    folder.mkdir(exist_ok=True)
    compilers = {"c": c_compiler, "cpp": cxx_compiler}
    headers = [f"-I{source / name}" for name in ("include", "devkit/core", "tests/guide")]
    libraries = [f"-L{build}/lib", f"-Wl,-rpath,{build}/lib", "-ltavrine_aux", "-Wl,--no-as-needed",
                 "-ltavrine_core", "-ltavrine", "-pthread", "-lm"]
    code = {}
    for block in blocks_of(guide):
        if block.language in LANGUAGES:
            lines = f'#line {block.line} "{guide}"\n{block.code}'
            key = (block.section, block.language)
            code[key] = code.get(key, "") + lines

    failed = 0
    for language, (suffix, standard) in LANGUAGES.items():
        for driver in sorted((source / "tests/guide").glob("*" + suffix)):
            section = driver.read_text().split("\n", 1)[0].strip("/* ")
            text = code.pop((section, language), "")
            if not text:
                sys.exit(f"{driver}: {guide} has no {language} code in a section '{section}'")
            program = folder / (driver.stem + "_" + language)
            file = program.with_suffix(suffix)
            file.write_text(f'{text}#include "{driver}"\n')
            command = [compilers[language], *standard, *COMMON, *shlex.split(options), *headers,
                       str(file), "-o", str(program), *libraries]
            done = (subprocess.run(command).returncode == 0 and
                    subprocess.run([*emulator, str(program)]).returncode == 0)
            print(f"{section}, {language}: {'works' if done else 'FAILS'}", flush=True)
            failed += not done
    for section, language in code:
        print(f"{section}: its {language} code has no driver in tests/guide")
    sys.exit(failed + len(code) > 0)


if __name__ == "__main__":
    main()
