"""The tutorial and the examples do what they say."""

import os
import re
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import tavrine

BUILD = Path(os.environ["TAVRINE_BUILD_FOLDER"])
SOURCE = Path(__file__).resolve().parents[2]
EXAMPLES = SOURCE / "python/examples"
sys.path.append(str(SOURCE / "tests"))
from markdown_blocks import blocks_of  # noqa: E402

FACES = ["441,428,550,428,495.5,537", "745,460,854,460,799.5,569"]


@pytest.fixture
def photo(tmp_path, monkeypatch):
    """The test chart, in the current folder."""
    monkeypatch.chdir(tmp_path)
    subprocess.check_call([BUILD / "bin/draw_chart", "photo.jpg"])
    return tmp_path / "photo.jpg"


def run_example(name, *arguments):
    return subprocess.check_output([sys.executable, "-B", EXAMPLES / name, *arguments], text=True)


@pytest.mark.parametrize("document", ["docs/python.md", "README.md"])
def test_code_of_a_document(photo, document):
    blocks = [block for block in blocks_of(SOURCE / document) if block.language == "python"]
    assert blocks
    names = {}
    for block in blocks:
        code = "\n" * (block.line - 1) + block.code
        exec(compile(code, SOURCE / document, "exec"), names)
    # The pictures in the document are those that the code makes.
    text = (SOURCE / document).read_text(encoding="utf-8")
    for name in re.findall(r"\]\(python/([\w-]+\.png)\)", text):
        shown = tavrine.load(SOURCE / "docs/python" / name)
        assert np.array_equal(tavrine.load(name), shown), name


def test_reference_is_current():
    printed = subprocess.check_output([sys.executable, "-B", SOURCE / "python/docs/reference.py"], text=True)
    assert printed == (SOURCE / "docs/python-reference.md").read_text(encoding="utf-8")


def test_dataset(photo):
    lines = run_example("dataset.py", photo, photo).splitlines()
    assert [line.split(" mean")[0] for line in lines] == [f"{i} (3, 224, 224) float32" for i in (0, 1)]
    assert lines == run_example("dataset.py", photo, photo).splitlines()
    # Each picture has a part of its own.
    assert lines[0].split()[-1] != lines[1].split()[-1]


def test_golden_tensors(photo):
    run_example("golden_tensors.py", "golden", photo)
    header, row = (line.split(",") for line in Path("golden/list.csv").read_text().splitlines())
    sizes = dict(zip(header, row))
    # The C tool makes the same tensor of the frame.
    Path("area").write_text(",".join(sizes[f"area_{side}"] for side in ("x", "y", "width", "height")))
    subprocess.check_call(
        [BUILD / "bin/tavrine-aux", "tensor", "--in", f"NV12:{sizes['width']}x{sizes['height']}",
         "golden/photo.nv12", "c.npy", "--size", "300x300", "--regions", "area", "--scale", "255",
         "--pad", "0.5"])
    assert Path("golden/photo.f32").read_bytes() == np.load("c.npy").tobytes()


def test_align_faces(photo):
    run_example("align_faces.py", photo, "faces.png", *FACES)
    faces = tavrine.load("faces.png")
    assert faces.shape == (112, 224, 3)
    # Both mouths are red, where the template has them.
    for x in (56, 112 + 56):
        red, green, blue = faces[92, x].astype(int)
        assert red > green + 40 and red > blue + 40
