"""The pixels of a PNG file as a browser makes one: eight bits a channel, not interlaced."""
import struct
import zlib


def chunks(data):
    at = 8
    while at < len(data):
        length, kind = struct.unpack_from(">I4s", data, at)
        yield kind, data[at + 8:at + 8 + length]
        at += length + 12


def nearest(left, above, corner):
    """The predictor that the format calls Paeth's."""
    guess = left + above - corner
    return min((abs(guess - value), order, value) for order, value in enumerate((left, above, corner)))[2]


# By the number that each line begins with: what a byte is guessed to be from those to the left, above, and between.
GUESSES = (lambda left, above, corner: 0, lambda left, above, corner: left, lambda left, above, corner: above,
           lambda left, above, corner: (left + above) // 2, nearest)


def unfiltered(kind, line, before, size):
    """A line as it was before the encoder took the difference to its guesses."""
    guess, out = GUESSES[kind], bytearray(line)
    for i, value in enumerate(line):
        left, corner = (out[i - size], before[i - size]) if i >= size else (0, 0)
        out[i] = (value + guess(left, before[i], corner)) & 0xFF
    return out


def pixels(data):
    """Lines of (red, green, blue)."""
    found = list(chunks(data))
    width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", dict(found)[b"IHDR"])
    if (depth, interlaced) != (8, 0) or colour not in (2, 6):
        raise ValueError("a form of PNG that is not read here")
    size = 3 if colour == 2 else 4
    raw = zlib.decompress(b"".join(part for kind, part in found if kind == b"IDAT"))
    step = width * size
    lines, before = [], bytes(step)
    for row in range(height):
        start = row * (step + 1)
        before = unfiltered(raw[start], raw[start + 1:start + 1 + step], before, size)
        lines.append([tuple(before[i:i + 3]) for i in range(0, step, size)])
    return lines
