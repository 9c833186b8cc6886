"""Applies the Python package to a picture, and writes pictures and a page that shows them.

usage: python_page.py PICTURE FOLDER      the page is FOLDER/python.html
"""

import html
import sys
from pathlib import Path

import numpy as np

import tavrine

SOURCE, FOLDER = Path(sys.argv[1]), Path(sys.argv[2])
SIZE = 320, 240


def resized(photo):
    """tavrine.resize(photo, (320, 240))"""
    return tavrine.resize(photo, SIZE)


def side_by_side(photo):
    """canvas = np.zeros((240, 640, 3), np.uint8)
tavrine.resize(photo, (320, 240), out=canvas[:, :320])
tavrine.rotate(canvas[:, :320], 180, out=canvas[:, 320:])"""
    canvas = np.zeros((SIZE[1], 2 * SIZE[0], 3), np.uint8)
    tavrine.resize(photo, SIZE, out=canvas[:, :SIZE[0]])
    tavrine.rotate(canvas[:, :SIZE[0]], 180, out=canvas[:, SIZE[0]:])
    return canvas


def camera_difference(photo):
    """small = tavrine.resize(photo, (320, 240))
nv12 = tavrine.resize(tavrine.cvt_color(photo, "NV12"), (320, 240), format="NV12")
camera = tavrine.cvt_color(nv12, "RGB", format="NV12")
np.minimum(np.abs(camera.astype(int) - small) * 4, 255)"""
    height, width = (side // 2 * 2 for side in photo.shape[:2])
    nv12 = tavrine.cvt_color(tavrine.crop(photo, (0, 0, width, height)), "NV12")
    camera = tavrine.cvt_color(tavrine.resize(nv12, SIZE, format="NV12"), "RGB", format="NV12")
    difference = np.abs(camera.astype(int) - tavrine.resize(photo, SIZE))
    return np.minimum(difference * 4, 255).astype(np.uint8)


def letterboxed(photo):
    """tensor, placed = tavrine.letterbox(photo, (300, 300), mode="centred", scale=255, padding=0.5)"""
    tensor, _ = tavrine.letterbox(photo, (300, 300), mode="centred", scale=255, padding=0.5)
    return np.ascontiguousarray((tensor[0].transpose(1, 2, 0) * 255).round().astype(np.uint8))


STEPS = [
    ("python-resized", resized, "the same bytes as the command line's"),
    ("python-out", side_by_side, "results written into parts of one array"),
    ("python-camera", camera_difference, "what a camera's NV12 changes, four times as bright: colour edges"),
    ("python-letterbox", letterboxed, "a tensor of 1 x 3 x 300 x 300, shown as a picture; padding grey"),
]


def main():
    photo = tavrine.load(SOURCE)
    if photo.ndim == 2:
        photo = tavrine.cvt_color(photo, "RGB")
    parts = []
    for name, function, text in STEPS:
        picture = function(photo)
        tavrine.save(picture, FOLDER / f"{name}.png")
        height, width = picture.shape[:2]
        print(f"  {name + '.png':<20} {f'{width}x{height}':<11} {text}")
        parts.append(f"<figure><pre>{html.escape(function.__doc__)}</pre>"
                     f'<img src="{name}.png" width="{width}" height="{height}" alt="{html.escape(text)}">'
                     f"<figcaption>{html.escape(text)}</figcaption></figure>")
    (FOLDER / "python.html").write_text(
        "<!DOCTYPE html>\n<html lang=\"en\"><meta charset=\"utf-8\"><title>tavrine in Python</title>\n"
        "<style>body{font-family:sans-serif;max-width:50em;margin:2em auto}pre{background:#f3f3f3;"
        "padding:.7em;overflow-x:auto}</style>\n"
        f"<h1>tavrine {tavrine.__version__} in Python</h1>\n" + "\n".join(parts) + "\n", encoding="utf-8")
    print(f"  {'python.html':<20} {'':<11} these pictures, with the code that made them")


main()
