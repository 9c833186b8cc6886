"""Compares the pictures that the library loads with those of Pillow. See scripts/compare-pictures.

    compare_pictures.py LIBRARY [--time] [FOLDER...]
"""
import argparse
import collections
import ctypes
import hashlib
import os
import sys
import time
import warnings
from pathlib import Path

import numpy as np
from PIL import Image, UnidentifiedImageError

DEFAULT_FOLDERS = ["/usr/share", "fuzz/corpus/picture"]

SUFFIXES = {".jpg", ".jpeg", ".png", ".gif", ".bmp", ".tga", ".psd", ".pnm", ".pgm", ".ppm",
            ".pbm", ".hdr", ".pic"}

HEAD_BYTES = 32

# A file's first bytes say what it is. TGA has no signature.
SIGNATURES = [(b"\xff\xd8", "JPEG"), (b"\x89PNG\r\n\x1a\n", "PNG"), (b"GIF8", "GIF"),
              (b"BM", "BMP"), (b"8BPS", "PSD"), (b"#?R", "HDR"), (b"\x53\x80\xf6\x34", "PIC")]
SIGNATURES += [(b"P%d" % number, "PNM") for number in range(1, 7)]

FORMATS = ["JPEG", "PNG", "GIF", "BMP", "TGA", "PSD", "PNM", "HDR", "PIC"]
PILLOW_NAMES = {name: [name] for name in ("JPEG", "PNG", "GIF", "BMP", "TGA", "PSD")}
PILLOW_NAMES["PNM"] = ["PPM"]  # it cannot read HDR and PIC

# The library loads these as RGB24, also when every colour in them is grey.
ALWAYS_COLORED = {"GIF", "BMP", "PSD"}

# How much two good decoders of JPEG may differ: the inverse transform, the enlargement of chroma
# and the conversion to RGB are rounded differently.
JPEG_LEVELS = 3

TIMED_FORMATS = ["JPEG", "GIF", "BMP", "PNG"]
TIMED_PIXELS = 256 * 256  # in smaller files the time of the Python calls counts
TIMED_ROUNDS = 3

EXACT, WITHIN, DIFFERENT = "exact", f"within {JPEG_LEVELS}", "different"
REFUSED_HERE, REFUSED_THERE, REFUSED = "refused here", "refused by Pillow", "refused by both"
OUTCOMES = [EXACT, WITHIN, DIFFERENT, REFUSED_HERE, REFUSED_THERE, REFUSED]
LISTED = [DIFFERENT, REFUSED_HERE, REFUSED_THERE]


class Frame(ctypes.Structure):
    """tavrine_frame_t of include/tavrine_types.h."""
    _fields_ = [("core_word", ctypes.c_uint32), ("pixel_format", ctypes.c_uint32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("strides", ctypes.c_int32 * 4), ("core_words", ctypes.c_size_t * 2),
                ("plane_count", ctypes.c_int32), ("planes", ctypes.c_void_p * 4),
                ("extra", ctypes.c_uint64)]


# Pillow expands grey with alpha of 16 bits to RGBA. This byte of the file says what it was.
PNG_COLOR_TYPE, PNG_GREY_ALPHA = 25, 4

CHANNELS = {0x59455247: 1, 0x18424752: 3}  # of GREY and RGB24


class Library:
    def __init__(self, path):
        library = ctypes.CDLL(os.path.abspath(path))
        self._load = library.tavrine_frame_load
        self._load.argtypes = [ctypes.c_char_p]
        self._load.restype = ctypes.POINTER(Frame)
        self._free = library.tavrine_frame_free
        self._free.argtypes = [ctypes.POINTER(ctypes.POINTER(Frame))]
        self._free.restype = None

    def load(self, path):
        """An array of H x W or H x W x 3 bytes, or None."""
        frame = self._load(os.fsencode(path))
        if not frame:
            return None
        record = frame.contents
        channels = CHANNELS[record.pixel_format]
        row_bytes = record.width * channels
        stride = record.strides[0] or row_bytes
        size = stride * (record.height - 1) + row_bytes
        data = np.frombuffer(ctypes.string_at(record.planes[0], size), np.uint8)
        shape = (record.height, record.width, channels)
        pixels = np.lib.stride_tricks.as_strided(data, shape, (stride, channels, 1))
        self._free(ctypes.byref(frame))
        return pixels[..., 0] if channels == 1 else pixels

    def decode(self, path):
        """Loads and releases the frame: what is timed."""
        self._free(ctypes.byref(self._load(os.fsencode(path))))


def fill_undrawn(picture, area, pixels):
    """Transparent pixels of a GIF are black, and those around its first picture, which covers
    `area`, have the background colour, or are black when that has index 0."""
    filled = np.zeros_like(pixels)
    background = picture.info.get("background", 0)
    if background > 0 and picture.global_palette is not None:
        palette = np.frombuffer(picture.global_palette.palette, np.uint8).reshape(-1, 3)
        if background < len(palette):
            filled[:] = palette[background]
    left, top, right, bottom = area
    drawn = pixels[top:bottom, left:right].copy()
    if "transparency" in picture.info:
        indices = np.asarray(picture)[top:bottom, left:right]
        drawn[indices == picture.info["transparency"]] = 0
    filled[top:bottom, left:right] = drawn
    return filled


def to_bytes(picture, kind, head, area):
    """The pixels as the library promises them: without alpha, the high byte of 16 bits."""
    if kind == "PNG" and picture.mode == "RGBA" and head[PNG_COLOR_TYPE] == PNG_GREY_ALPHA:
        pixels = np.asarray(picture)[..., 0]
    elif picture.mode.startswith("I"):
        pixels = (np.asarray(picture).astype(np.int64) >> 8).astype(np.uint8)
    elif picture.mode in ("1", "L", "LA"):
        pixels = np.asarray(picture.convert("L"))
    else:
        pixels = np.asarray(picture.convert("RGB"))
    if kind in ALWAYS_COLORED and pixels.ndim == 2:
        pixels = np.repeat(pixels[..., np.newaxis], 3, axis=2)
    return fill_undrawn(picture, area, pixels) if kind == "GIF" else pixels


def load_with_pillow(path, kind, head):
    """An array like that of Library.load, or None, and why it is None."""
    if kind not in PILLOW_NAMES:
        return None, "does not know the format"
    try:
        with Image.open(path, formats=PILLOW_NAMES[kind]) as picture:
            area = picture.tile[0][1] if kind == "GIF" else None
            picture.load()
            return to_bytes(picture, kind, head, area), ""
    except UnidentifiedImageError:
        return None, "not identified"
    except Exception as error:  # broken files raise errors of many types
        return None, str(error)


def decode_with_pillow(path, kind):
    with Image.open(path, formats=PILLOW_NAMES[kind]) as picture:
        picture.load()


def kind_of(path, head):
    for signature, kind in SIGNATURES:
        if head.startswith(signature):
            return kind
    return "TGA" if path.suffix.lower() == ".tga" else None


def find_pictures(folders):
    """Paths, formats and first bytes. Of files with the same content only the first counts."""
    seen = set()
    for folder in folders:
        for path in sorted(Path(folder).rglob("*")):
            if path.suffix.lower() not in SUFFIXES or path.is_symlink() or not path.is_file():
                continue
            content = path.read_bytes()
            head = content[:HEAD_BYTES]
            kind = kind_of(path, head)
            digest = hashlib.sha256(content).digest()
            if kind is not None and digest not in seen:
                seen.add(digest)
                yield path, kind, head


def shape_text(pixels):
    return f"{pixels.shape[1]}x{pixels.shape[0]} {'GREY' if pixels.ndim == 2 else 'RGB24'}"


def compare(ours, theirs, refusal, kind):
    """An outcome and what to say about it."""
    if ours is None and theirs is None:
        return REFUSED, ""
    if ours is None:
        return REFUSED_HERE, shape_text(theirs)
    if theirs is None:
        return REFUSED_THERE, f"{shape_text(ours)}; Pillow: {refusal}"
    if ours.shape != theirs.shape:
        return DIFFERENT, f"{shape_text(ours)}, Pillow {shape_text(theirs)}"
    difference = np.abs(ours.astype(np.int16) - theirs)
    largest = int(difference.max())
    if largest == 0:
        return EXACT, ""
    if kind == "JPEG" and largest <= JPEG_LEVELS:
        return WITHIN, ""
    share = np.count_nonzero(difference) / difference.size
    return DIFFERENT, f"by up to {largest} levels, {share:.2%} of the samples"


def print_table(counts):
    print("| format | files | " + " | ".join(OUTCOMES) + " |")
    print("| --- |" + " --: |" * (1 + len(OUTCOMES)))
    for kind in FORMATS:
        if kind in counts:
            cells = [counts[kind].total(), *(counts[kind][outcome] for outcome in OUTCOMES)]
            print(f"| {kind} | " + " | ".join(f"{cell:,}" for cell in cells) + " |")


def fastest(decode, *arguments):
    times = []
    for _ in range(TIMED_ROUNDS):
        start = time.perf_counter()
        decode(*arguments)
        times.append(time.perf_counter() - start)
    return min(times)


def print_times(library, timed):
    print(f"\nFiles of {TIMED_PIXELS:,} pixels and more that both read; the fastest of "
          f"{TIMED_ROUNDS} rounds. Pillow leaves palettes as they are.\n")
    print("| format | files | megapixels | this library, s | Pillow, s | ratio |")
    print("| --- | --: | --: | --: | --: | --: |")
    for kind in TIMED_FORMATS:
        files = timed[kind]
        if not files:
            continue
        ours = sum(fastest(library.decode, path) for path, _ in files)
        theirs = sum(fastest(decode_with_pillow, path, kind) for path, _ in files)
        megapixels = sum(pixels for _, pixels in files) / 1e6
        print(f"| {kind} | {len(files):,} | {megapixels:,.1f} | {ours:.3f} | {theirs:.3f} | "
              f"{ours / theirs:.2f} |")


def main():
    parser = argparse.ArgumentParser(description="Compares loaded pictures with those of Pillow.")
    parser.add_argument("library")
    parser.add_argument("folders", nargs="*", metavar="FOLDER",
                        help="default: " + " ".join(DEFAULT_FOLDERS))
    parser.add_argument("--time", action="store_true", help="compare the speed, too")
    arguments = parser.parse_intermixed_args()
    folders = arguments.folders or DEFAULT_FOLDERS
    for folder in folders:
        if not Path(folder).is_dir():
            sys.exit(f"{folder} is not a folder")

    warnings.simplefilter("ignore")
    Image.MAX_IMAGE_PIXELS = (1 << 29) // 3  # the library's limit, in pixels of RGB24
    library = Library(arguments.library)
    counts = collections.defaultdict(collections.Counter)
    listed = collections.defaultdict(list)
    timed = collections.defaultdict(list)
    for path, kind, head in find_pictures(folders):
        ours = library.load(path)
        theirs, refusal = load_with_pillow(path, kind, head)
        outcome, remark = compare(ours, theirs, refusal, kind)
        counts[kind][outcome] += 1
        if outcome in LISTED:
            listed[outcome].append(f"{kind:4} {path}: {remark}")
        if ours is not None and theirs is not None:
            pixels = ours.shape[0] * ours.shape[1]
            if pixels >= TIMED_PIXELS:
                timed[kind].append((path, pixels))
    if not counts:
        sys.exit("no pictures found")
    print_table(counts)
    for outcome in LISTED:
        if listed[outcome]:
            print(f"\n{outcome}:")
            print("\n".join("  " + line for line in sorted(listed[outcome])))
    if arguments.time:
        print_times(library, timed)


main()
