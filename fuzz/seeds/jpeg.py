"""JPEG files whose coefficients are random: sequential and progressive, every sampling."""

import random
import struct

from fuzz.seeds.bits import BitWriter

# One table serves all: symbols (run, size), the common ones with 8 bits, the others with 12.
SHORT = [run << 4 | size for run in range(16) for size in range(8)]
LONG = [run << 4 | size for run in range(16) for size in range(8, 16)]
CODES = {symbol: (code, 8) for code, symbol in enumerate(SHORT)}
CODES.update({symbol: ((len(SHORT) << 4) + code, 12) for code, symbol in enumerate(LONG)})


def segment(marker, body):
    return struct.pack(">BBH", 0xFF, marker, len(body) + 2) + body


def huffman_table(kind, number):
    counts = bytes(7) + bytes([len(SHORT), 0, 0, 0, len(LONG), 0, 0, 0, 0])
    return segment(0xC4, bytes([kind << 4 | number]) + counts + bytes(SHORT + LONG))


def size_of(value):
    return abs(value).bit_length()


class Scan:
    """Entropy-coded data of one scan."""

    def __init__(self):
        self.segments = []
        self.writer = BitWriter(high_first=True)

    def symbol(self, symbol):
        self.writer.put(*CODES[symbol])

    def value(self, value):
        size = size_of(value)
        self.writer.put(value if value >= 0 else value + (1 << size) - 1, size)

    def restart(self):
        number = len(self.segments)
        self.segments.append(self.stuffed() + bytes([0xFF, 0xD0 + number % 8]))
        self.writer = BitWriter(high_first=True)

    def stuffed(self):
        return self.writer.bytes(1).replace(b"\xff", b"\xff\x00")

    def bytes(self):
        return b"".join(self.segments) + self.stuffed()


def put_dc(scan, difference):
    scan.symbol(size_of(difference))
    scan.value(difference)


def put_ac(scan, coefficients):
    run = 0
    for value in coefficients:
        if value == 0:
            run += 1
            continue
        while run > 15:
            scan.symbol(0xF0)
            run -= 16
        scan.symbol(run << 4 | size_of(value))
        scan.value(value)
        run = 0
    if run:
        scan.symbol(0x00)


def put_ac_refinement(scan, coefficients, low):
    """The next bit of a band. Coefficients that were seen before only get it appended."""
    run = 0
    pending = []
    for value in coefficients:
        now = abs(value) >> low
        if now > 1:
            pending.append(now & 1)
        elif now == 0:
            run += 1
            if run == 16:
                scan.symbol(0xF0)
                for bit in pending:
                    scan.writer.put(bit, 1)
                pending, run = [], 0
        else:
            scan.symbol(run << 4 | 1)
            scan.writer.put(1 if value > 0 else 0, 1)
            for bit in pending:
                scan.writer.put(bit, 1)
            pending, run = [], 0
    if run or pending:
        scan.symbol(0x00)
        for bit in pending:
            scan.writer.put(bit, 1)


def toward_zero(value, low):
    return value >> low if value >= 0 else -(-value >> low)


class Picture:
    def __init__(self, width, height, samplings, seed):
        self.generator = random.Random(seed)
        self.width, self.height, self.samplings = width, height, samplings
        self.most_h = max(h for h, _ in samplings)
        self.most_v = max(v for _, v in samplings)
        self.columns = -(-width // (8 * self.most_h))
        self.rows = -(-height // (8 * self.most_v))
        self.blocks = [self.random_blocks(h, v) for h, v in samplings]

    def random_blocks(self, h, v):
        return [
            [self.random_block() for _ in range(self.columns * h)]
            for _ in range(self.rows * v)
        ]

    def random_block(self):
        block = [self.generator.randint(-60, 60)] + [0] * 63
        for _ in range(self.generator.randint(0, 6)):
            block[self.generator.randint(1, 63)] = self.generator.randint(-9, 9)
        return block

    def frame_header(self, marker, identifiers):
        body = struct.pack(">BHHB", 8, self.height, self.width, len(self.samplings))
        for identifier, (h, v) in zip(identifiers, self.samplings):
            body += bytes([identifier, h << 4 | v, 0])
        return segment(marker, body)

    def interleaved(self, restart_interval, scan, put):
        """Calls put(component, block) in the order of the minimal coded units."""
        for unit in range(self.columns * self.rows):
            if restart_interval and unit and unit % restart_interval == 0:
                scan.restart()
                put(None, None)
            y, x = divmod(unit, self.columns)
            for component, (h, v) in enumerate(self.samplings):
                for row in range(v):
                    for column in range(h):
                        put(component, self.blocks[component][y * v + row][x * h + column])

    def alone(self, component):
        """The blocks of a scan of one component: only those that hold pixels."""
        h, v = self.samplings[component]
        columns = -(-self.width * h // (8 * self.most_h))
        rows = -(-self.height * v // (8 * self.most_v))
        for row in self.blocks[component][:rows]:
            yield from row[:columns]


def scan_header(identifiers, begin, end, high, low):
    body = bytes([len(identifiers)])
    for identifier in identifiers:
        body += bytes([identifier, 0])
    return segment(0xDA, body + bytes([begin, end, high << 4 | low]))


def dc_scan(picture, restart_interval, low, put_rest):
    scan = Scan()
    predictions = [0] * len(picture.samplings)

    def put(component, block):
        if component is None:
            predictions[:] = [0] * len(predictions)
            return
        value = block[0] >> low
        put_dc(scan, value - predictions[component])
        predictions[component] = value
        put_rest(scan, block)

    picture.interleaved(restart_interval, scan, put)
    return scan.bytes()


def sequential_scans(picture, identifiers, restart_interval):
    data = dc_scan(picture, restart_interval, 0, lambda scan, block: put_ac(scan, block[1:]))
    return scan_header(identifiers, 0, 63, 0, 0) + data


def progressive_scans(picture, identifiers, restart_interval):
    result = scan_header(identifiers, 0, 0, 0, 1)
    result += dc_scan(picture, restart_interval, 1, lambda scan, block: None)
    for component, identifier in enumerate(identifiers):
        for begin, end, high, low in ((1, 5, 0, 0), (6, 63, 0, 1), (6, 63, 1, 0)):
            scan = Scan()
            for index, block in enumerate(picture.alone(component)):
                if restart_interval and index and index % restart_interval == 0:
                    scan.restart()
                band = block[begin : end + 1]
                if high:
                    put_ac_refinement(scan, band, low)
                else:
                    put_ac(scan, [toward_zero(value, low) for value in band])
            result += scan_header([identifier], begin, end, high, low) + scan.bytes()
    refinement = Scan()

    def put_dc_bit(component, block):
        if component is not None:
            refinement.writer.put(block[0] & 1, 1)

    picture.interleaved(restart_interval, refinement, put_dc_bit)
    return result + scan_header(identifiers, 0, 0, 1, 0) + refinement.bytes()


def jpeg(width, height, samplings, progressive=False, restart_interval=0, adobe=None,
         identifiers=(1, 2, 3, 4), seed=1):
    picture = Picture(width, height, samplings, seed)
    identifiers = list(identifiers)[: len(samplings)]
    head = b"\xff\xd8"
    if adobe is None:
        head += segment(0xE0, b"JFIF\0\1\1\0\0\1\0\1\0\0")
    else:
        head += segment(0xEE, b"Adobe\0\x64\0\0\0\0" + bytes([adobe]))
    head += segment(0xDB, b"\0" + bytes(1 + place // 4 for place in range(64)))
    head += picture.frame_header(0xC2 if progressive else 0xC0, identifiers)
    head += huffman_table(0, 0) + huffman_table(1, 0)
    if restart_interval:
        head += segment(0xDD, struct.pack(">H", restart_interval))
    scans = progressive_scans if progressive else sequential_scans
    return head + scans(picture, identifiers, restart_interval) + b"\xff\xd9"


def files():
    grey, full, half, wide = [(1, 1)], [(1, 1)] * 3, [(2, 2), (1, 1), (1, 1)], [(2, 1)] + [(1, 1)] * 2
    return {
        "grey.jpg": jpeg(19, 13, grey),
        "color-444.jpg": jpeg(17, 9, full),
        "color-420.jpg": jpeg(33, 18, half, seed=2),
        "color-422.jpg": jpeg(30, 11, wide, seed=3),
        "color-odd-sampling.jpg": jpeg(40, 20, [(1, 2), (4, 1), (1, 1)], seed=4),
        "restart.jpg": jpeg(40, 24, half, restart_interval=2, seed=5),
        "progressive-grey.jpg": jpeg(25, 17, grey, progressive=True, seed=6),
        "progressive-420.jpg": jpeg(20, 18, half, progressive=True, seed=7),
        "progressive-restart.jpg": jpeg(24, 10, full, progressive=True, restart_interval=1, seed=8),
        "rgb-ids.jpg": jpeg(16, 8, full, identifiers=b"RGB", seed=9),
        "adobe-rgb.jpg": jpeg(16, 8, full, adobe=0, seed=10),
        "cmyk.jpg": jpeg(9, 9, [(1, 1)] * 4, adobe=0, seed=11),
        "ycck.jpg": jpeg(9, 9, [(1, 1)] * 4, adobe=2, seed=12),
    }
