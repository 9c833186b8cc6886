"""What the functions do with arrays: formats, views, destinations and refusals."""

import numpy as np
import pytest

import tavrine

random = np.random.default_rng(20210917)
RGB = random.integers(0, 256, (48, 64, 3), np.uint8)
NV12 = tavrine.cvt_color(RGB, "NV12")


def test_pair_is_the_same_picture():
    pair = NV12[:48], NV12[48:].reshape(24, 32, 2)
    small = tavrine.resize(NV12, (32, 24), format="NV12")
    luma, chroma = tavrine.resize(pair, (32, 24), format="NV12")
    assert (small == np.vstack([luma, chroma.reshape(12, 32)])).all()


def test_encoded_pictures_come_back(tmp_path):
    tavrine.save(RGB, tmp_path / "picture.png")
    assert (tavrine.load(tmp_path / "picture.png") == RGB).all()
    assert (tavrine.decode(tavrine.encode(RGB, "bmp")) == RGB).all()
