"""Programs of the harness `sequence`, as it reads them."""

import struct

STEPS = ["make", "part", "transfer", "resize", "crop", "rotate", "convert", "warp", "store", "fill",
         "batch", "scale", "release"]
GREY, RGB24, BGR24, NV12, NV21, YU12, BGRA, ARGB, Y16 = range(9)
PNG, BMP, JPEG, UNKNOWN = range(4)
INTO_SLOT, INTO_NEW = 0, 1
HOST, UNDEFINED, DEVICE = 0, 2, 3
COPY, UPLOAD, DOWNLOAD = range(3)
NO_NUMBERS = 0


def program(*steps):
    return bytes([len(steps) - 1]) + b"".join(steps)


def step(name, *content, failure=None):
    index = STEPS.index(name)
    if failure is not None:
        choice = next(value for value in range(0xF0, 0x100) if value % len(STEPS) == index)
        return bytes([choice, *failure]) + flat(content)
    return bytes([index]) + flat(content)


def flat(content):
    return b"".join(bytes([item]) if isinstance(item, int) else item for item in content)


def size(width, height):
    return bytes([0, width - 1, height - 1])


def long_size(width, height):
    if width > height:
        return b"\xe0" + struct.pack("<I", width - 1) + bytes([height - 1])
    return b"\xe1" + struct.pack("<I", height - 1) + bytes([width - 1])


def make(slot, form, width, height, padding=0, memory=HOST, first=1):
    return step("make", form, size(width, height), padding, first, slot, memory)


def part(source, slot, x, y, less_width, less_height):
    """What is left of the source from x and y on, less so many columns and rows."""
    return step("part", source, slot, x, y, less_width, less_height)


def crop(x, y, width, height, *slots):
    return step("crop", 0, x & 0xFF, 0, y & 0xFF, size(width, height), *slots)


def resize(width, height, *slots, failure=None):
    return step("resize", size(width, height), *slots, failure=failure)


def rotate(code, *slots):
    return step("rotate", code + 1, *slots)


def convert(form, *slots, failure=None):
    return step("convert", form, *slots, failure=failure)


def shift(x, y, width, height, *slots):
    return step("warp", 1, size(width, height), x & 0xFF, y & 0xFF, 0, *slots)


def perspective(width, height, *slots):
    numbers = (16, 3, 0, 0xFC, 15, 20, 0, 0, 16)
    return step("warp", 0, size(width, height), *(b"\0\0" + bytes([n]) for n in numbers), 1, *slots)


def tensor(images, channels, rows, columns, memory, element):
    return bytes([images - 1, channels - 1, rows - 1, columns - 1, memory, element])


def files():
    halves = [part(0, 1, 0, 0, 32, 0), part(0, 2, 32, 0, 0, 0)]
    colors = [convert(form, 0, 1, INTO_NEW) for form in range(6)]
    result = {
        "rotations": program(make(0, RGB24, 37, 21, 5), *(rotate(code, 0, 1, INTO_NEW)
                                                           for code in range(3))),
        "rotations-yuv": program(make(0, NV12, 38, 22), make(1, YU12, 34, 18),
                                 rotate(0, 0, 2, INTO_NEW), rotate(1, 1, 3, INTO_NEW),
                                 rotate(2, 2, 2, INTO_NEW)),
        "colors-rgb": program(make(0, RGB24, 66, 20, 3), *colors),
        "colors-bgr": program(make(0, BGR24, 34, 20), *colors),
        "colors-nv12": program(make(0, NV12, 66, 20, 4), *colors),
        "colors-nv21": program(make(0, NV21, 34, 18), *colors),
        "colors-yu12": program(make(0, YU12, 34, 18), *colors),
        "colors-grey": program(make(0, GREY, 34, 18, 7), *colors),
        "contrast": program(make(0, Y16, 40, 30), convert(GREY, 0, 1, INTO_NEW),
                            convert(RGB24, 1, 2, INTO_NEW)),
        "halves": program(make(0, RGB24, 64, 24), *halves, rotate(1, 1, 2, INTO_SLOT),
                          resize(20, 20, 1, 2, INTO_SLOT), step("transfer", COPY, 1, 2, INTO_SLOT)),
        "halves-yuv": program(make(0, NV12, 64, 24), *halves, rotate(1, 1, 2, INTO_SLOT),
                              convert(NV12, 1, 2, INTO_SLOT), resize(20, 20, 1, 2, INTO_SLOT)),
        "in-place": program(make(0, RGB24, 32, 32), rotate(0, 0, 0, INTO_SLOT),
                            convert(BGR24, 0, 0, INTO_SLOT), crop(3, 5, 20, 20, 0, 0, INTO_SLOT),
                            part(0, 1, 1, 1, 0, 0), crop(0, 0, 30, 30, 0, 1, INTO_SLOT)),
        "part-outlives": program(make(0, BGRA, 40, 30, 4), part(0, 1, 7, 5, 3, 2),
                                 step("release", 0), resize(50, 20, 1, 2, INTO_NEW),
                                 part(2, 3, 1, 1, 1, 1), rotate(2, 3, 2, INTO_NEW)),
        "crops": program(make(0, RGB24, 40, 30), make(1, NV21, 40, 30), make(2, Y16, 40, 30),
                         crop(-5, -7, 60, 50, 0, 3, INTO_NEW), crop(-4, 6, 40, 40, 1, 4, INTO_NEW),
                         crop(3, 20, 30, 30, 2, 5, INTO_NEW), crop(-2, -2, 30, 20, 0, 3, INTO_SLOT),
                         crop(2, 4, 31, 21, 1, 4, INTO_NEW)),
        "resizes": program(make(0, RGB24, 60, 36), resize(30, 18, 0, 1, INTO_NEW),
                           resize(20, 12, 0, 1, INTO_SLOT), resize(15, 9, 0, 1, INTO_NEW),
                           resize(140, 100, 0, 1, INTO_NEW), make(2, NV12, 60, 36),
                           resize(46, 50, 2, 3, INTO_NEW), step("scale", 0, 48, 2, 4, INTO_NEW)),
        "long": program(step("make", GREY, long_size(9000, 2), 1, 1, 0, HOST),
                        step("resize", long_size(3, 5000), 0, 1, INTO_NEW),
                        rotate(0, 1, 2, INTO_NEW), rotate(2, 0, 3, INTO_NEW),
                        step("make", YU12, b"\xff\0\0", 0, 0, 4, UNDEFINED),
                        step("resize", b"\xff\0\7", 0, 4, INTO_NEW)),
        "shifts": program(make(0, RGB24, 30, 20, 2), make(1, GREY, 50, 40), make(2, BGRA, 20, 20),
                          shift(-3, 5, 40, 30, 0, 3, INTO_NEW), shift(7, -9, 20, 30, 1, 4, INTO_NEW),
                          shift(1, 2, 20, 20, 2, 5, INTO_NEW), part(1, 3, 9, 3, 2, 2),
                          shift(0, 0, 9, 9, 1, 3, INTO_SLOT)),
        "perspective": program(make(0, RGB24, 40, 30), make(1, NV12, 40, 30),
                               perspective(50, 40, 0, 2, INTO_NEW),
                               perspective(50, 40, 1, 3, INTO_NEW)),
        "stored": program(make(0, RGB24, 20, 10, 3), make(1, GREY, 21, 9), make(2, NV12, 20, 10),
                          step("store", PNG, 0, 0, 3), step("store", PNG, 1, 1, 4),
                          step("store", BMP, 0, 2, 5), step("store", JPEG, 0, 3, 5),
                          rotate(0, 5, 5, INTO_NEW), step("store", UNKNOWN, 0, 0, 0)),
        "device": program(make(0, NV12, 128, 64, memory=DEVICE), convert(RGB24, 0, 1, INTO_NEW),
                          make(2, GREY, 128, 80, memory=DEVICE), resize(64, 64, 2, 3, INTO_NEW),
                          part(2, 4, 16, 3, 7, 2), rotate(0, 4, 5, INTO_NEW),
                          step("transfer", DOWNLOAD, 5, 5, INTO_NEW),
                          step("transfer", UPLOAD, 5, 3, INTO_NEW), resize(70, 70, 4, 1, INTO_NEW)),
        "tensor": program(make(0, BGR24, 40, 30), make(1, GREY, 50, 10),
                          step("fill", tensor(2, 3, 20, 60, 0, 0), 0, 2, 1, NO_NUMBERS),
                          step("fill", 1, tensor(2, 3, 20, 60, 0, 1), 0, 1, 0, NO_NUMBERS),
                          step("fill", 0, 0, 3, 1, NO_NUMBERS), step("fill", 0, 1, 3, 0, NO_NUMBERS),
                          step("batch", 1, 0, *([0] + [0, 3, 0, 3, 0, 30, 0, 20]) * 2)),
        "failures": program(make(0, RGB24, 64, 64), convert(NV12, 0, 1, INTO_NEW, failure=(1, 0)),
                            resize(30, 30, 0, 2, INTO_NEW, failure=(1, 1)),
                            make(3, GREY, 64, 64, memory=DEVICE),
                            resize(80, 80, 3, 4, INTO_NEW, failure=(2, 1, 2, 0, 0))),
    }
    return result
