"""Inputs of the harnesses that do not take files: the tool's texts and calls of the library."""

import random
import struct

COMMANDS = [
    ["info", "photo.jpg", "-v"],
    ["info", "--in", "NV12:1920x1080", "frame.yuv", "other.yuv"],
    ["convert", "photo.jpg", "--crop", "100,50,640,480", "--rotate", "90", "--scale", "0.5",
     "small.png"],
    ["convert", "--in", "Y16:640x480", "depth.y16", "--format", "GREY", "depth.png"],
    ["convert", "a.png", "--warp-affine", "-1,0,639,0,1,0@640x480", "mirrored.png"],
    ["convert", "a.png", "--warp-perspective", "1,0,0,0,1,0,0.001,0,1", "b.bmp"],
    ["convert", "a.jpg", "b.jpg", "--rotate", "90", "--resize", "320x240", "--ext", "jpg",
     "folder/"],
    ["convert", "--device", "a.jpg", "--format=NV21", "a.nv21"],
    ["align", "photo.jpg", "face.png", "--points", "412,305,489,322,441,398", "--size", "96x112"],
    ["tensor", "photo.jpg", "input.npy", "--size", "224x224", "--mean", "124,116,104", "--scale",
     "58,57,57", "--pad", "0.5", "--color", "bgr", "--mode", "stretch"],
    ["tensor", "photo.jpg", "input.npy", "--size", "8x8", "--type", "u8", "--color", "gray",
     "--regions", "faces.txt"],
    ["version", "--verbose"],
    ["--version"],
    ["convert", "--help"],
    ["--help"],
    ["convert", "--", "-a.jpg", "-b.png"],
]

REGIONS = ["100,50,640,480\n", "# faces\n\n 1 , 2,3 ,4 # one\r\n-5,-6,2147483647,8", "1,2,3", "1,2,3,x"]
LAYOUTS = ["NV12:1920x1080", "YU12:7x8", "RGB24:2147483647x2147483647", "GREY:1X1", "ABC:4x4"]


def tool_files():
    result = {f"command-{index:02}": ("\n".join(command)).encode().join((b"c", b""))
              for index, command in enumerate(COMMANDS)}
    result.update({f"regions-{index}": b"r" + text.encode() for index, text in enumerate(REGIONS)})
    result.update({f"layout-{index}": b"l" + text.encode() for index, text in enumerate(LAYOUTS)})
    return result


def area(x, y, width, height):
    if all(-128 <= value < 128 for value in (x, y, width, height)):
        return struct.pack("<BbBbBbBb", 0, x, 0, y, 0, width, 0, height)
    return b"".join(b"\xff" + struct.pack("<i", value) for value in (x, y, width, height))


def call(choices, color, element, channels, rows, columns, mode, areas, numbers=None, failure=0,
         seed=1):
    """As the harness reads it: every number one less than meant where its least is 1."""
    generator = random.Random(seed)
    result = bytes([choices, color + 1, element, len(areas) - 1, channels - 1, rows - 1,
                    columns - 1])
    result += bytes(generator.randrange(8) for _ in range(3))
    result += b"\0" if numbers is None else b"\1" + struct.pack("<9f", *numbers)
    result += bytes([mode])
    for region in areas:
        result += bytes([generator.randrange(6), generator.randrange(10, 140),
                         generator.randrange(10, 100), generator.randrange(25),
                         generator.randrange(256)]) + area(*region)
    return result + bytes([failure, 3])


def batch_files():
    usual = (120, 115, 100, 57, 58, 59, 1, 2, 3)
    strange = (float("nan"), 1e30, -1, 0, float("inf"), 1e-40, float("nan"), -5, 1e20)
    least, most = -(1 << 31), (1 << 31) - 1
    plain = [(0, 0, 40, 30), (-5, -9, 60, 60)]
    result = {
        "fit": call(0, 1, 0, 3, 16, 24, 0, plain, usual),
        "stretch": call(0, 0, 0, 3, 16, 24, 1, plain, usual, seed=2),
        "bytes": call(0, 1, 1, 3, 20, 33, 1, plain, usual, seed=3),
        "grey": call(0, 2, 0, 1, 16, 24, 0, plain, None, seed=4),
        "strange-numbers": call(0, 1, 0, 3, 16, 24, 0, plain, strange, seed=5),
        "strange-bytes": call(0, 0, 1, 4, 16, 24, 1, plain, strange, seed=6),
        "huge-areas": call(0, 1, 0, 3, 9, 7, 1, [(least, least, most, most), (-7, 0, most, 1)]),
        "empty-area": call(0, 1, 0, 3, 9, 7, 0, [(1, 1, 0, 0), (1, 1, -3, 5)], seed=8),
        "unscaled": call(0, 1, 0, 3, 8, 8, 1, [(3, 2, 8, 8)], usual, seed=9),
        "single": call(1, 1, 0, 3, 40, 70, 0, [(0, 0, 1, 1)], usual, seed=10),
        "single-bytes": call(1, 0, 1, 3, 12, 18, 0, [(0, 0, 1, 1)] * 3, usual, seed=11),
        "frames-on-device": call(6, 1, 0, 3, 16, 24, 0, plain, usual, seed=12),
        "tensor-on-device": call(24, 1, 0, 3, 16, 24, 1, plain, usual, seed=13),
        "all-on-device": call(30, 0, 0, 3, 16, 24, 1, plain, usual, seed=14),
        "failing": call(0, 1, 0, 3, 16, 24, 1, plain, usual, failure=1, seed=15),
        "signed": call(0, 1, 4, 3, 16, 24, 1, plain, usual, seed=16),
    }
    return result
