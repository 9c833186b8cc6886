"""Builds the module by CMake and puts it, with its libraries, into the wheel."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
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
        # A build that exists already is used as it is.
        build = Path(os.environ.get("TAVRINE_BUILD_FOLDER", BUILD / "cmake"))
        if "TAVRINE_BUILD_FOLDER" not in os.environ:
            options = {
                "CMAKE_BUILD_TYPE": "Release",
                "TAVRINE_BUILD_PYTHON": "ON",
                "TAVRINE_BUILD_TESTS": "OFF",
                "TAVRINE_BUILD_TOOLS": "OFF",
                "TAVRINE_PYTHON": sys.executable,
            }
            subprocess.check_call(
                ["cmake", "-S", FOLDER.parent, "-B", build, "-G", "Ninja"]
                + [f"-D{name}={value}" for name, value in options.items()])
            subprocess.check_call(["cmake", "--build", build, "--target", "tavrine_python"])
        with tempfile.TemporaryDirectory() as prefix:
            for component in ("python", "python_libraries"):
                subprocess.check_call(
                    ["cmake", "--install", build, "--component", component, "--prefix", prefix])
            package = next(Path(prefix).glob("**/tavrine"))
            # Wheels have no symbolic links: each library gets the name that it is loaded by.
            for link in package.glob("*.so.*"):
                if link.is_symlink():
                    link.resolve().replace(link)
            shutil.copytree(package, Path(self.build_lib, "tavrine"), dirs_exist_ok=True)


setup(
    version=".".join(VERSION.groups()),
    # The name makes the wheel one for this platform and version of Python.
    ext_modules=[Extension("tavrine._native", [])],
    cmdclass={"build_ext": BuildByCMake},
    options={"build": {"build_base": str(BUILD)}, "egg_info": {"egg_base": str(BUILD)}},
)
