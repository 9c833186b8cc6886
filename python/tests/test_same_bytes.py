"""One table of calls gives the same bytes in Python, in C and in the command line tool."""

import math
import os
import subprocess
from pathlib import Path

import numpy as np
import pytest

import tavrine

BUILD = Path(os.environ["TAVRINE_BUILD_FOLDER"])
FORMATS = ["GREY", "RGB", "BGR", "BGRA", "ARGB", "NV12", "NV21", "YU12"]
YUV420 = ["NV12", "NV21", "YU12"]


class Source:
    """The random calls of tests/random_calls.cpp, from the same generator."""

    def __init__(self):
        self.generator = np.random.RandomState(1)._bit_generator

    def next(self):
        return int(self.generator.random_raw())

    def between(self, low, high):
        return low + self.next() % (high - low + 1)

    def real(self, magnitude):
        return np.float32(self.between(0, 20000) - 10000) * np.float32(magnitude) / np.float32(10000)

    def one_of(self, choices):
        return choices[self.next() % len(choices)]

    def odd_number(self):
        odd = [0, 1, 1e-30, 1e30, -1e9, math.inf, math.nan, 2147483648]
        return np.float32(self.one_of(odd)) if self.between(0, 9) == 0 else self.real(2)

    def picture(self, name):
        width, height = 2 * self.between(1, 40), 2 * self.between(1, 30)
        channels = {"RGB": 3, "BGR": 3, "BGRA": 4, "ARGB": 4, "Y16": 2}.get(name, 1)
        rows = height * 3 // 2 if name in YUV420 else height
        pixels = self.generator.random_raw(rows * width * channels).astype(np.uint8)
        if name == "Y16":
            return pixels.view("<u2").reshape(height, width)
        return pixels.reshape((rows, width, channels) if channels > 1 else (rows, width))


class Digest:
    """FNV-1a."""

    def __init__(self):
        self.value = 0xCBF29CE484222325

    def add(self, data):
        value = self.value
        for byte in data:
            value = (value ^ byte) * 0x100000001B3 & 0xFFFFFFFFFFFFFFFF
        self.value = value

    def add_int(self, number):
        self.add(int(number).to_bytes(4, "little", signed=True))

    def add_floats(self, numbers):
        flat = np.asarray(numbers, np.float32).ravel()
        isnan = np.isnan(flat)
        pairs = np.empty((flat.size, 2), "<u4")
        pairs[:, 0] = np.where(isnan, np.float32(0.5), flat).view("<u4")
        pairs[:, 1] = isnan
        self.add(pairs.tobytes())

    def add_picture(self, picture, name):
        rows, width = picture.shape[:2]
        self.add_int(width)
        self.add_int(rows * 2 // 3 if name in YUV420 else rows)
        self.add(picture.tobytes())

    def add_call(self, name, function, *arguments, refused=-1, **named):
        try:
            result = function(*arguments, **named)
        except (ValueError, NotImplementedError) as error:
            self.add_int(-1000 if isinstance(error, NotImplementedError) else refused)
        else:
            self.add_int(0)
            self.add_picture(result, name)

    def add_tensor(self, tensor):
        if tensor.dtype == np.uint8:
            self.add(tensor.astype("<i4").tobytes())
        else:
            self.add_floats(tensor)


def resize(source, digest):
    size = 2 * source.between(1, 60), 2 * source.between(1, 40)
    name = source.one_of(FORMATS)
    digest.add_call(name, tavrine.resize, source.picture(name), size, format=name)


def scale(source, digest):
    ratio = source.real(2)
    name = source.one_of(FORMATS)
    picture = source.picture(name)
    height = picture.shape[0] * 2 // 3 if name in YUV420 else picture.shape[0]
    width, height = (int(np.float32(side) * ratio) for side in (picture.shape[1], height))
    if min(width, height) < 1:
        digest.add_call(name, tavrine.scale, picture, ratio, format=name, refused=-4)
        return
    digest.add_call(name, tavrine.scale, picture, ratio, format=name)
    if name in YUV420 and (width % 2 or height % 2):
        # In C the new frame stays in the slot, with the bytes that the core fills it with.
        digest.add_int(width)
        digest.add_int(height)
        digest.add(b"\xa5" * (width * height + width // 2 * (height // 2) * 2))


def rotate(source, digest):
    degrees = [0, 90, 180, 270, 360][source.between(-1, 3) + 1]
    name = source.one_of(FORMATS)
    digest.add_call(name, tavrine.rotate, source.picture(name), degrees, format=name)


def crop(source, digest):
    name = source.one_of(["GREY", "BGR", "NV12", "YU12"])
    picture = source.picture(name)
    area = [2 * source.between(*limits) for limits in ((-20, 30), (-20, 30), (1, 40), (1, 40))]
    digest.add_call(name, tavrine.crop, picture, area, format=name)


def cvt_color(source, digest):
    name = source.one_of(["GREY", "RGB", "BGR", "NV12", "NV21", "YU12", "Y16"])
    picture = source.picture(name)
    to = source.one_of(FORMATS)
    digest.add_call(to, tavrine.cvt_color, picture, to, format=name)


def warp(function, numbers):
    def call(source, digest):
        name = source.one_of(FORMATS)
        picture, out = source.picture(name), source.picture(name)
        matrix = np.eye(3, dtype=np.float32).ravel()
        for i in range(numbers):
            if i in (2, 5):
                matrix[i] += source.real(40)
            elif i < 6:
                matrix[i] += source.odd_number() * np.float32(0.5)
            else:
                matrix[i] += source.real(0.02)
        try:
            function(picture, matrix, out=out, format=name)
            digest.add_int(0)
        except ValueError:
            digest.add_int(-1)
        digest.add_picture(out, name)

    return call


def new_tensor(source, count):
    height, width = source.between(1, 24), source.between(1, 24)
    return np.zeros((count, 3, height, width), source.one_of([np.float32, np.uint8]))


def to_tensor(source, digest):
    tensor = new_tensor(source, 1)
    name = source.one_of(["RGB", "BGR"])
    picture = source.picture(name)
    m, s = source.real(200), source.odd_number()
    one, three = np.float32(1), np.float32(3)
    color = ["bgr", "rgb", "gray"][source.between(0, 2)]
    tavrine.to_tensor(picture, color=color, mean=(m, m + one, 0), scale=(s, 2, s * three),
                      padding=(7, m, 9), out=tensor, format=name)
    digest.add_int(0)
    digest.add_tensor(tensor)


def transform_batch(source, digest):
    tensor = new_tensor(source, 3)
    name = source.one_of(["RGB", "BGR"])
    pictures, areas = [], []
    for _ in range(3):
        pictures.append(source.picture(name))
        areas.append([source.between(*limits) for limits in ((-20, 20), (-20, 20), (1, 90), (1, 70))])
    color = ["bgr", "rgb", "gray"][source.between(0, 2)]
    mode = ["fit", "stretch"][source.between(0, 1)]
    style = dict(mode=mode, color=color, mean=(10, 20, 30), scale=(2, 3, 4), format=name)
    paddings = [[1, 2, 3], [40.5, 50, 60], [255, 0, 128]]
    ratios = np.zeros((3, 2), np.float32)
    try:
        _, ratios = tavrine.transform_batch(pictures, None, areas, padding=paddings, out=tensor, **style)
        digest.add_int(0)
        if tensor.dtype == np.uint8:
            # In C the bands of the other channels keep their zeros.
            marked = np.zeros(tensor.shape, np.float32)
            tavrine.transform_batch(pictures, None, areas, padding=-1e9, out=marked, **style)
            tensor[:, 1:][(marked[:, :1] == -1e9).repeat(2, axis=1)] = 0
    except ValueError:
        # In C the ratios up to the refused region are there.
        digest.add_int(-1)
        tensor[:] = 0
        for i, ((x, y, width, height), picture) in enumerate(zip(areas, pictures)):
            sides = [np.float32(width) / np.float32(tensor.shape[3]),
                     np.float32(height) / np.float32(tensor.shape[2])]
            ratios[i] = max(sides) if mode == "fit" else sides
            if x >= picture.shape[1] or y >= picture.shape[0] or x + width < 1 or y + height < 1:
                break
    digest.add(ratios[:, ::-1].T.tobytes())
    digest.add_tensor(tensor)


def find(function):
    def call(source, digest):
        points = [[source.real(500), source.real(500)] for _ in range(6)]
        forward, inverse = function(points[:3], points[3:])
        digest.add_floats(np.stack([forward.ravel(), inverse.ravel()], axis=1))

    return call


def encode_and_decode(source, digest):
    name = source.one_of(["GREY", "RGB", "NV21"])
    picture = source.picture(name)
    file = tavrine.encode(picture, [None, "jpeg", "bmp", "png"][source.between(1, 3)], format=name)
    digest.add_int(0)
    digest.add(file)
    digest.add_picture(tavrine.decode(file), "RGB")


RANDOM_CALLS = {
    "tavrine_frame_resize": resize,
    "tavrine_frame_scale": scale,
    "tavrine_frame_rotate": rotate,
    "tavrine_frame_crop": crop,
    "tavrine_frame_cvt_color": cvt_color,
    "tavrine_frame_warpaffine": warp(tavrine.warp_affine, 6),
    "tavrine_frame_warpperspective": warp(tavrine.warp_perspective, 9),
    "tavrine_frame_to_tensor": to_tensor,
    "tavrine_frame_transform_to_tensor_batch": transform_batch,
    "tavrine_find_affine_transform": find(tavrine.find_affine),
    "tavrine_find_similarity_transform": find(tavrine.find_similarity),
    "tavrine_frame_encode, tavrine_frame_load_from_memory": encode_and_decode,
}


@pytest.fixture(scope="module")
def hashes():
    return subprocess.check_output([BUILD / "bin/operation_hashes"], text=True).splitlines()


@pytest.mark.parametrize("operation", RANDOM_CALLS)
def test_operation_hash(operation, hashes):
    line = next(line for line in hashes if line.endswith("calls of " + operation))
    source, digest = Source(), Digest()
    for _ in range(int(line.split()[1])):
        RANDOM_CALLS[operation](source, digest)
    assert f"{digest.value:016x}" == line.split()[0]


def rgb_of(nv12, device):
    return tavrine.cvt_color(nv12, "RGB", format="NV12", device=device)


AFFINE = [0.9, 0.2, 5, -0.2, 0.9, 7]
PERSPECTIVE = [1, 0.1, 0, 0, 1, 0, 0.0004, 0.0003, 1]
CONVERSIONS = [  # options of the tool, the raw file that it writes, and the same in Python
    ("--resize 320x180", "nv12",
     lambda nv12, device: tavrine.resize(nv12, (320, 180), format="NV12", device=device)),
    ("--crop 64,32,200,100", "nv12",
     lambda nv12, device: tavrine.crop(nv12, (64, 32, 200, 100), format="NV12", device=device)),
    ("--rotate 90", "nv12",
     lambda nv12, device: tavrine.rotate(nv12, 90, format="NV12", device=device)),
    ("--warp-affine 0.9,0.2,5,-0.2,0.9,7@256x128", "nv12",
     lambda nv12, device: tavrine.warp_affine(nv12, AFFINE, (256, 128), format="NV12", device=device)),
    ("--format GREY --resize 480x270", "grey",
     lambda nv12, device: tavrine.resize(
         tavrine.cvt_color(nv12, "GREY", format="NV12", device=device), (480, 270), device=device)),
    ("--format RGB24 --scale 0.37", "rgb",
     lambda nv12, device: tavrine.scale(rgb_of(nv12, device), 0.37, device=device)),
    ("--format RGB24 --warp-perspective 1,0.1,0,0,1,0,0.0004,0.0003,1", "rgb",
     lambda nv12, device: tavrine.warp_perspective(rgb_of(nv12, device), PERSPECTIVE, device=device)),
]
TENSORS = [
    ("--size 224x224 --mean 124,116,104 --scale 58,57,57 --pad 1,2,3",
     dict(mean=(124, 116, 104), scale=(58, 57, 57), padding=(1, 2, 3))),
    ("--size 112x160 --color bgr --type u8 --pad 9,8,7", dict(color="bgr", dtype="uint8", padding=(9, 8, 7))),
    ("--size 96x96 --color gray --mode stretch --mean 10 --scale 3",
     dict(color="gray", mode="stretch", mean=10, scale=3)),
]


@pytest.fixture(scope="module")
def frame(tmp_path_factory):
    """An NV12 frame, and the raw file of it."""
    nv12 = Source().generator.random_raw(540 * 640).astype(np.uint8).reshape(540, 640)
    path = tmp_path_factory.mktemp("tool") / "frame.nv12"
    path.write_bytes(nv12.tobytes())
    return nv12, path


def run_tool(command, path, options, out, device):
    subprocess.check_call(
        [BUILD / "bin/tavrine-aux", command, "--in", "NV12:640x360", path, *options.split(),
         *(["--device"] if device else []), out])


@pytest.mark.parametrize("device", [False, True], ids=["cpu", "device"])
@pytest.mark.parametrize("options, extension, function", CONVERSIONS, ids=[c[0] for c in CONVERSIONS])
def test_tool_converts_alike(frame, tmp_path, options, extension, function, device):
    nv12, path = frame
    out = tmp_path / f"out.{extension}"
    run_tool("convert", path, options, out, device)
    assert out.read_bytes() == function(nv12, device).tobytes()


@pytest.mark.parametrize("options, style", TENSORS, ids=[t[0] for t in TENSORS])
def test_tool_fills_tensors_alike(frame, tmp_path, options, style):
    nv12, path = frame
    out = tmp_path / "out.npy"
    run_tool("tensor", path, options, out, False)
    expected = np.load(out)
    picture = tavrine.cvt_color(nv12, "GREY" if "gray" in options else "RGB", format="NV12")
    tensor, _ = tavrine.transform_batch(picture, expected.shape[:1:-1], **style)
    assert tensor.dtype == expected.dtype and tensor.tobytes() == expected.tobytes()
