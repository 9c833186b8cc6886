"""The formats that store rows as they are or in runs: BMP, TGA, PNM, PSD, PIC and HDR."""

import random
import struct


def noise(count, seed=1):
    generator = random.Random(seed)
    return bytes(generator.choice((0, 3, 3, 128, 255)) for _ in range(count))


def bmp(width, height, bits, header_size=40, compression=0, masks=b"", colors=0):
    row = (width * bits + 31) // 32 * 4
    if header_size == 12:
        info = struct.pack("<IHHHH", 12, width, height, 1, bits)
        palette = noise(3 * colors)
    else:
        info = struct.pack("<IiiHHIIiiII", header_size, width, height, 1, bits, compression, 0,
                           2835, 2835, colors, 0)
        if header_size == 56:
            info += bytes(16) + masks
        else:
            info += masks + bytes(max(0, header_size - 40 - len(masks)))
        palette = noise(4 * colors)
    offset = 14 + len(info) + len(palette)
    pixels = noise(row * abs(height), 2)
    return (b"BM" + struct.pack("<IHHI", offset + len(pixels), 0, 0, offset) + info + palette
            + pixels)


def masks(*values):
    return struct.pack("<" + "I" * len(values), *values)


def bmp_files():
    masks_565 = masks(0xF800, 0x07E0, 0x001F)
    masks_8888 = masks(0xFF0000, 0xFF00, 0xFF, 0xFF000000)
    return {
        "1.bmp": bmp(11, 5, 1, colors=2),
        "4.bmp": bmp(7, 5, 4, colors=16),
        "8.bmp": bmp(7, 5, 8, colors=256),
        "8-old.bmp": bmp(6, 5, 8, header_size=12, colors=256),
        "16.bmp": bmp(7, 5, 16),
        "16-masks.bmp": bmp(7, 5, 16, compression=3, masks=masks_565),
        "24.bmp": bmp(9, 6, 24),
        "24-top-down.bmp": bmp(9, -6, 24),
        "24-old.bmp": bmp(9, 6, 24, header_size=12),
        "32.bmp": bmp(5, 6, 32),
        "32-v4.bmp": bmp(5, 6, 32, header_size=108, compression=3, masks=masks_8888),
        "32-v5.bmp": bmp(5, 6, 32, header_size=124, compression=3, masks=masks_8888),
        "32-v3.bmp": bmp(5, 6, 32, header_size=56, compression=3, masks=masks_8888[:12]),
    }


def tga(width, height, kind, bits, colors=0, color_bits=24, flags=0, comment=b""):
    header = struct.pack("<BBBHHBHHHHBB", len(comment), int(colors > 0), kind, 0, colors,
                         color_bits if colors else 0, 0, 0, width, height, bits, flags)
    size = (bits + 7) // 8
    if kind < 8:
        pixels = noise(width * height * size)
    else:
        pixels, left = b"", width * height
        for index in range(width * height):
            run = min(left, 1 + index % 9)
            if run == 0:
                break
            if index % 2:
                pixels += bytes([0x80 | (run - 1)]) + noise(size, index)
            else:
                pixels += bytes([run - 1]) + noise(run * size, index)
            left -= run
    return header + comment + noise(colors * ((color_bits + 7) // 8)) + pixels


def tga_files():
    return {
        "color.tga": tga(7, 5, 2, 24),
        "color-16.tga": tga(7, 5, 2, 16),
        "color-alpha.tga": tga(7, 5, 2, 32, flags=0x28, comment=b"seed"),
        "grey.tga": tga(9, 5, 3, 8),
        "grey-alpha.tga": tga(9, 5, 3, 16),
        "palette.tga": tga(8, 5, 1, 8, colors=256),
        "palette-16.tga": tga(8, 5, 1, 16, colors=300, color_bits=16),
        "runs.tga": tga(12, 9, 10, 24),
        "runs-alpha.tga": tga(12, 9, 10, 32, flags=0x20),
        "runs-grey.tga": tga(12, 9, 11, 8),
        "runs-palette.tga": tga(12, 9, 9, 8, colors=16, color_bits=32),
    }


def pnm_files():
    return {
        "grey.pgm": b"P5\n# seed\n7 5\n255\n" + noise(35),
        "grey-16.pgm": b"P5 7 5 65535\n" + noise(70),
        "color.ppm": b"P6 7 5 255 " + noise(105),
        "color-16.ppm": b"P6\t4 3\n1023\n" + noise(72),
    }


def runs(row):
    """A row in the runs of PSD."""
    result, left = b"", row
    while left:
        count = min(len(left), 5)
        if len(result) % 2:
            result += bytes([257 - count]) + left[:1] if count > 1 else b"\0" + left[:1]
        else:
            result += bytes([count - 1]) + left[:count]
        left = left[count:]
    return result


def psd(width, height, channels, depth=8, packed=False):
    head = (b"8BPS" + struct.pack(">HIHHIIHH", 1, 0, 0, channels, height, width, depth, 3)
            + struct.pack(">III", 0, 8, 0)[:8] + b"resource" + struct.pack(">I", 0))
    planes = noise(width * height * channels * depth // 8)
    if not packed:
        return head + b"\0\0" + planes
    rows = [runs(planes[begin : begin + width]) for begin in range(0, len(planes), width)]
    return head + b"\0\1" + b"".join(struct.pack(">H", len(row)) for row in rows) + b"".join(rows)


def pic(width, height, kinds):
    """Rows in packets of (kind, channels): kind 0 plain, 1 runs, 2 mixed."""
    result = b"\x53\x80\xf6\x34" + bytes(84) + b"PICT"
    result += struct.pack(">HHfHH", width, height, 1.0, 3, 0)
    for index, (kind, channels) in enumerate(kinds):
        result += bytes([int(index + 1 < len(kinds)), 8, kind, channels])
    for y in range(height):
        for kind, channels in kinds:
            size = bin(channels).count("1")
            if kind == 0:
                result += noise(width * size, y)
            elif kind == 1:
                result += bytes([width]) + noise(size, y)
            else:
                result += bytes([0x80 | (width - 4)]) + noise(size, y)
                result += bytes([0]) + noise(size, y + 1)
                result += bytes([128]) + struct.pack(">H", 2) + noise(size, y + 2)
    return result


def hdr(width, height, packed):
    head = b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\nEXPOSURE=1\n\n"
    head += b"-Y %d +X %d\n" % (height, width)
    if not packed:
        return head + noise(width * height * 4)
    for y in range(height):
        head += struct.pack(">BBH", 2, 2, width)
        for _ in range(4):
            head += bytes([128 + width - 4]) + noise(1, y) + bytes([4]) + noise(4, y)
    return head


def files():
    return {
        **bmp_files(),
        **tga_files(),
        **pnm_files(),
        "plain.psd": psd(6, 5, 3),
        "alpha.psd": psd(6, 5, 4),
        "grey.psd": psd(6, 5, 1),
        "16.psd": psd(6, 5, 3, depth=16),
        "runs.psd": psd(9, 6, 4, packed=True),
        "plain.pic": pic(8, 4, [(0, 0xE0)]),
        "runs.pic": pic(8, 4, [(1, 0xE0), (1, 0x10)]),
        "mixed.pic": pic(8, 4, [(2, 0xE0)]),
        "flat.hdr": hdr(6, 4, packed=False),
        "runs.hdr": hdr(12, 4, packed=True),
    }
