"""GIF files: the pixels are packed for real, so that every code length is met."""

import random
import struct

from fuzz.seeds.bits import BitWriter


def packed(indices, bits):
    clear, end = 1 << bits, (1 << bits) + 1
    writer = BitWriter(high_first=False)
    size = bits + 1
    writer.put(clear, size)
    table = {(index,): index for index in range(clear)}
    following = clear + 2
    current = ()
    for index in indices:
        longer = current + (index,)
        if longer in table:
            current = longer
            continue
        writer.put(table[current], size)
        if following < 4096:
            table[longer] = following
            if following == 1 << size and size < 12:
                size += 1
            following += 1
        current = (index,)
    writer.put(table[current], size)
    writer.put(end, size)
    return writer.bytes(0)


def blocks(data):
    result = b""
    for begin in range(0, len(data), 255):
        part = data[begin : begin + 255]
        result += bytes([len(part)]) + part
    return result + b"\0"


def image(x, y, width, height, bits, interlaced=False, own_palette=False, seed=1):
    generator = random.Random(seed)
    indices = [generator.choice((0, 1, 1, generator.randrange(1 << bits)))
               for _ in range(width * height)]
    flags = (0x40 if interlaced else 0) | (0x80 | (bits - 1) if own_palette else 0)
    header = b"," + struct.pack("<HHHHB", x, y, width, height, flags)
    colors = bytes(place * 7 % 256 for place in range(3 << bits)) if own_palette else b""
    return header + colors + bytes([bits]) + blocks(packed(indices, bits))


def control(disposal, transparent):
    return b"!\xf9\x04" + struct.pack("<BHBB", disposal << 2 | int(transparent), 5, 1, 0)


def gif(width, height, bits, body, version=b"89a"):
    screen = struct.pack("<HHBBB", width, height, 0xF0 | (bits - 1), 1, 0)
    colors = bytes(place * 11 % 256 for place in range(3 << bits))
    return b"GIF" + version + screen + colors + body + b";"


def files():
    comment = b"!\xfe" + blocks(b"seed")
    return {
        "plain.gif": gif(20, 15, 4, image(0, 0, 20, 15, 4)),
        "two-colors.gif": gif(9, 9, 2, image(0, 0, 9, 9, 2), version=b"87a"),
        "interlaced.gif": gif(12, 21, 3, image(0, 0, 12, 21, 3, interlaced=True)),
        "part.gif": gif(16, 16, 3, control(2, True) + image(3, 4, 9, 8, 3)),
        "own-palette.gif": gif(8, 8, 2, comment + image(0, 0, 8, 8, 5, own_palette=True)),
        "animated.gif": gif(10, 10, 3, control(1, False) + image(0, 0, 10, 10, 3)
                            + control(3, True) + image(2, 2, 5, 5, 3, seed=2)
                            + control(2, True) + image(1, 0, 6, 9, 3, seed=3)),
        "long-codes.gif": gif(40, 36, 8, image(0, 0, 40, 36, 6, own_palette=True)),
    }
