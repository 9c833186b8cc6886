"""The package as it is installed: in a prefix, and as a wheel in a virtual environment."""

import os
import subprocess
import sys
from pathlib import Path

import numpy as np

BUILD = Path(os.environ["TAVRINE_BUILD_FOLDER"])
SOURCE = Path(__file__).resolve().parents[2]
PROGRAM = """
import numpy, sys, tavrine
assert tavrine.resize(numpy.zeros((4, 4, 3), numpy.uint8), (2, 2)).shape == (2, 2, 3)
files = {line.split()[-1] for line in open("/proc/self/maps") if "tavrine" in line}
assert len(files) >= 5 and all(name.startswith(sys.argv[1]) for name in files), files
"""


def run(*command, **environment):
    clean = {"PATH": os.environ["PATH"], "PYTHONDONTWRITEBYTECODE": "1", **environment}
    subprocess.run(command, env=clean, cwd="/", check=True, stdout=subprocess.DEVNULL)


def test_installed_in_a_prefix(tmp_path):
    for component in ("runtime", "devkit", "python"):
        run("cmake", "--install", BUILD, "--component", component, "--prefix", tmp_path)
    run(sys.executable, "-c", PROGRAM, str(tmp_path),
        PYTHONPATH=str(tmp_path / "lib/python3/dist-packages"))


def test_wheel_in_a_bare_environment(tmp_path):
    # pip builds in an environment of its own, and neither may use an index.
    run(sys.executable, "-m", "pip", "wheel", "--no-index", "--no-deps", "--wheel-dir", tmp_path,
        SOURCE / "python", TAVRINE_BUILD_FOLDER=str(BUILD))
    venv = tmp_path / "venv"
    run(sys.executable, "-m", "venv", venv)
    run(venv / "bin/pip", "install", "--no-index", "--no-deps", next(tmp_path.glob("*.whl")))
    # NumPy is all that it needs.
    packages = next(venv.glob("lib/python3*/site-packages"))
    (packages / "numpy").symlink_to(Path(np.__file__).parent)
    run(venv / "bin/python", "-c", PROGRAM, str(venv))
