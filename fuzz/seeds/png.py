"""PNG files of every colour type, depth, filter and both orders of rows."""

import random
import struct
import zlib

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
PASSES = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2),
          (0, 1, 1, 2)]


def chunk(kind, body):
    return (struct.pack(">I", len(body)) + kind + body
            + struct.pack(">I", zlib.crc32(kind + body)))


def rows(generator, width, height, bits_per_pixel):
    """Filtered rows; their filters and bytes are random."""
    if width == 0 or height == 0:
        return b""
    size = (width * bits_per_pixel + 7) // 8
    result = b""
    for row in range(height):
        result += bytes([row % 5]) + bytes(generator.choice((0, 1, 7, 255)) for _ in range(size))
    return result


def png(width, height, kind, depth, interlaced=False, before_data=b"", level=9, splits=1, seed=1,
        is_bare=False):
    generator = random.Random(seed)
    bits = CHANNELS[kind] * depth
    if interlaced:
        data = b"".join(
            rows(generator, -(-(width - x) // dx), -(-(height - y) // dy), bits)
            for x, y, dx, dy in PASSES)
    else:
        data = rows(generator, width, height, bits)
    packed = zlib.compress(data, level)
    if is_bare:
        packed = packed[2:-4]
    header = struct.pack(">IIBBBBB", width, height, depth, kind, 0, 0, int(interlaced))
    step = -(-len(packed) // splits)
    parts = [packed[begin : begin + step] for begin in range(0, len(packed), step)]
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + before_data
            + b"".join(chunk(b"IDAT", part) for part in parts) + chunk(b"IEND", b""))


def palette(count, with_alpha=False):
    colors = chunk(b"PLTE", bytes(index * 5 % 256 for index in range(3 * count)))
    return colors + (chunk(b"tRNS", bytes(range(count // 2))) if with_alpha else b"")


def files():
    result = {}
    for kind, depths in ((0, (1, 2, 4, 8, 16)), (2, (8, 16)), (4, (8, 16)), (6, (8, 16))):
        for depth in depths:
            result[f"type{kind}-{depth}.png"] = png(11, 7, kind, depth)
    for depth in (1, 2, 4, 8):
        count = 1 << depth
        result[f"palette-{depth}.png"] = png(
            9, 6, 3, depth, before_data=palette(256 if depth == 8 else count))
    result["palette-alpha.png"] = png(9, 6, 3, 4, before_data=palette(16, with_alpha=True))
    result["interlaced-grey-1.png"] = png(13, 11, 0, 1, interlaced=True)
    result["interlaced-rgb.png"] = png(10, 9, 2, 8, interlaced=True)
    result["interlaced-rgba-16.png"] = png(5, 3, 6, 16, interlaced=True)
    result["color-key.png"] = png(8, 8, 2, 8, before_data=chunk(b"tRNS", b"\0\1\0\7\0\xff"))
    result["color-key-16.png"] = png(8, 8, 0, 16, before_data=chunk(b"tRNS", b"\xff\xff"))
    result["stored.png"] = png(8, 8, 2, 8, level=0)
    result["many-chunks.png"] = png(24, 12, 2, 8, splits=5,
                                    before_data=chunk(b"tEXt", b"Title\0seed"))
    result["phone.png"] = (b"\x89PNG\r\n\x1a\n" + chunk(b"CgBI", b"\x50\0\x20\6")
                           + png(4, 4, 6, 8, is_bare=True)[8:])
    return result
