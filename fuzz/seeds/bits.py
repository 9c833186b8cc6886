"""Writers of bit streams."""


class BitWriter:
    """Bits into bytes, the first in the highest or in the lowest place."""

    def __init__(self, high_first):
        self.high_first = high_first
        self.bits = []

    def put(self, value, count):
        places = range(count - 1, -1, -1) if self.high_first else range(count)
        self.bits.extend((value >> place) & 1 for place in places)

    def bytes(self, filler):
        bits = self.bits + [filler] * (-len(self.bits) % 8)
        result = bytearray()
        for begin in range(0, len(bits), 8):
            eight = bits[begin : begin + 8]
            if not self.high_first:
                eight = eight[::-1]
            result.append(int("".join(map(str, eight)), 2))
        return bytes(result)
