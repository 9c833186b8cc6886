"""Builds the module by CMake and puts it, with its libraries, into the wheel."""

import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

FOLDER = Path(__file__).resolve().parent
# Beside the other builds, so that nothing is written into the source folder.
BUILD = FOLDER.parent / "build/wheel"
BUILD.mkdir(parents=True, exist_ok=True)
VERSION = re.search(
    r"_MAJOR (\d+)\s.*_MINOR (\d+)\s.*_PATCH (\d+)\s",
    (FOLDER.parent / "include/tavrine_aux.h").read_text(),
    re.DOTALL,
)


class BuildByCMake(build_ext):
    def run(self):
        build = Path(self.build_temp).resolve()
        options = {
            "CMAKE_BUILD_TYPE": "Release",
            "TAVRINE_BUILD_PYTHON": "ON",
            "TAVRINE_BUILD_TESTS": "OFF",
            "TAVRINE_BUILD_TOOLS": "OFF",
            "TAVRINE_PYTHON": sys.executable,
            "TAVRINE_PYTHON_BUNDLE": "ON",
            "TAVRINE_PYTHON_DIR": Path(self.build_lib).resolve(),
        }
        subprocess.check_call(
            ["cmake", "-S", FOLDER.parent, "-B", build, "-G", "Ninja"]
            + [f"-D{name}={value}" for name, value in options.items()])
        subprocess.check_call(["cmake", "--build", build, "--target", "tavrine_python"])
        subprocess.check_call(["cmake", "--install", build, "--component", "python"])
        # Wheels have no symbolic links: each library gets the name that it is loaded by.
        for link in Path(self.build_lib, "tavrine").glob("*.so.*"):
            if link.is_symlink():
                link.resolve().replace(link)


setup(
    version=".".join(VERSION.groups()),
    # The name makes the wheel one for this platform and version of Python.
    ext_modules=[Extension("tavrine._native", [])],
    cmdclass={"build_ext": BuildByCMake},
    options={"build": {"build_base": str(BUILD)}, "egg_info": {"egg_base": str(BUILD)}},
)
