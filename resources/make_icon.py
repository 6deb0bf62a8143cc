#!/usr/bin/env python3
"""Makes the program's icon from the drawing in icon.txt.

    make_icon.py icon.txt OUT.ico

The drawing has 32 lines of 32 characters, each one of the 16 colours of the standard
palette, or "." where the icon is transparent. Lines that start with "#" are remarks.
"""

import struct
import sys
from pathlib import Path

SIDE = 32
TRANSPARENT = "."
# The standard palette in its own order: character and colour as red, green, blue.
PALETTE = {
    "k": (0x00, 0x00, 0x00),  # black
    "m": (0x80, 0x00, 0x00),  # maroon
    "g": (0x00, 0x80, 0x00),  # green
    "o": (0x80, 0x80, 0x00),  # olive
    "n": (0x00, 0x00, 0x80),  # navy
    "p": (0x80, 0x00, 0x80),  # purple
    "t": (0x00, 0x80, 0x80),  # teal
    "s": (0xC0, 0xC0, 0xC0),  # silver
    "d": (0x80, 0x80, 0x80),  # dark grey
    "r": (0xFF, 0x00, 0x00),  # red
    "l": (0x00, 0xFF, 0x00),  # lime
    "y": (0xFF, 0xFF, 0x00),  # yellow
    "b": (0x00, 0x00, 0xFF),  # blue
    "f": (0xFF, 0x00, 0xFF),  # fuchsia
    "a": (0x00, 0xFF, 0xFF),  # aqua
    "w": (0xFF, 0xFF, 0xFF),  # white
}


def read_drawing(path):
    rows = [line for line in path.read_text(encoding="ascii").splitlines() if line[:1] != "#"]
    known = set(PALETTE) | {TRANSPARENT}
    if len(rows) != SIDE:
        sys.exit(f"{path}: {len(rows)} rows instead of {SIDE}")
    for number, row in enumerate(rows, 1):
        if len(row) != SIDE or not set(row) <= known:
            sys.exit(f"{path}: row {number} is not {SIDE} characters of the palette: {row}")
    return rows


def image(rows):
    """The picture as an icon keeps it: rows from the bottom up, two points a byte, then
    the mask, one bit a point, set where the icon is transparent."""
    codes = {character: code for code, character in enumerate(PALETTE)}
    codes[TRANSPARENT] = codes["k"]
    header = struct.pack("<IiiHHIIiiII", 40, SIDE, 2 * SIDE, 1, 4, 0, 0, 0, 0, 16, 0)
    palette = b"".join(bytes((blue, green, red, 0)) for red, green, blue in PALETTE.values())
    colours = bytearray()
    mask = bytearray()
    for row in reversed(rows):
        for left, right in zip(row[::2], row[1::2]):
            colours.append(codes[left] << 4 | codes[right])
        bits = "".join("1" if point == TRANSPARENT else "0" for point in row)
        mask += int(bits, 2).to_bytes(SIDE // 8, "big")
    return header + palette + bytes(colours) + bytes(mask)


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: make_icon.py icon.txt OUT.ico")
    data = image(read_drawing(Path(sys.argv[1])))
    folder = struct.pack("<HHH", 0, 1, 1)
    entry = struct.pack("<BBBBHHII", SIDE, SIDE, 16, 0, 1, 4, len(data), len(folder) + 16)
    Path(sys.argv[2]).write_bytes(folder + entry + data)


if __name__ == "__main__":
    main()
