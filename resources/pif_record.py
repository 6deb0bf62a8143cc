#!/usr/bin/env python3
"""The program-information file of the self-removal script, made from its fields.

Systems that know such files give the script's window the title and the behaviour that
the record names. The layout is the published one: a basic section, then a chain of
headers that name further sections. All numbers are little-endian; what is not named
here is zero.

    pif_record.py record OUT    the record itself (what the resource compiler embeds)
    pif_record.py table OUT     the same bytes as the hosted program's resource table
"""

import struct
import sys
from pathlib import Path

RECORD_SIZE = 967
NO_NEXT_HEADER = 0xFFFF

BASIC_AT, BASIC_SIZE = 0x000, 0x171
ENHANCED_AT, ENHANCED_SIZE = 0x19D, 104
VMM_AT, VMM_SIZE = 0x21B, 428
FIRST_HEADER, ENHANCED_HEADER, VMM_HEADER = 0x171, 0x187, 0x205


def byte(value):
    return struct.pack("<B", value)


def word(value):
    return struct.pack("<H", value)


def dword(value):
    return struct.pack("<I", value)


def text(value, size):
    """A text and zeros up to the field's size; at least one of them ends the text."""
    data = value.encode("ascii")
    assert len(data) < size, value
    return data.ljust(size, b"\0")


def title(value, size):
    return value.encode("ascii").ljust(size, b" ")


def header(name, following, data_at, data_size):
    return text(name, 16) + word(following) + word(data_at) + word(data_size)


HEADERS = [
    (FIRST_HEADER, header("MICROSOFT PIFEX", ENHANCED_HEADER, BASIC_AT, BASIC_SIZE)),
    (ENHANCED_HEADER, header("WINDOWS 386 3.0", VMM_HEADER, ENHANCED_AT, ENHANCED_SIZE)),
    (VMM_HEADER, header("WINDOWS VMM 4.0", NO_NEXT_HEADER, VMM_AT, VMM_SIZE)),
]

BASIC = [
    (0x000, byte(0x00)),  # reserved
    (0x001, byte(0x78)),  # checksum
    (0x002, title("UnInstaller", 30)),  # window title
    (0x020, word(640)),  # maximum memory, KB
    (0x022, word(0)),  # minimum memory, KB
    # The program file name; behind its end a remainder of the name that stood there before.
    (0x024, text("UnInstall.bat\0P\\UNINST~1.BAT", 63)),
    (0x063, word(0x0010)),  # close the window when the program ends
    (0x065, text("", 64)),  # startup folder
    (0x0A5, text("", 64)),  # parameters
    (0x0E5, byte(0)),  # screen mode
    (0x0E6, byte(1)),  # video pages
    (0x0E7, byte(0)),  # first interrupt vector used directly
    (0x0E8, byte(0xFF)),  # last interrupt vector used directly
    (0x0E9, byte(25)),  # screen rows
    (0x0EA, byte(80)),  # screen columns
    (0x0EB, byte(0)),  # window row
    (0x0EC, byte(0)),  # window column
    (0x0ED, word(7)),  # system memory, KB
    (0x0EF, text("", 64)),  # shared program file
    (0x12F, text("", 64)),  # shared data file
    (0x16F, word(0)),  # further flags
]

ENHANCED = [
    (0x00, word(640)),  # maximum conventional memory, KB
    (0x02, word(0)),  # minimum conventional memory, KB
    (0x04, word(100)),  # foreground priority
    (0x06, word(50)),  # background priority
    (0x08, word(0xFFFF)),  # maximum EMS memory, KB
    (0x0A, word(0)),  # minimum EMS memory, KB
    (0x0C, word(0xFFFF)),  # maximum XMS memory, KB
    (0x0E, word(0)),  # minimum XMS memory, KB
    (0x10, dword(0x00021002)),  # option flags
    (0x14, dword(31)),  # further flags
    (0x18, bytes(80)),  # hot key, optional parameters
]

VMM = [
    (0x058, text("PIFMGR.DLL", 80)),  # icon file
    (0x0A8, word(0)),  # icon index
    (0x0AA, word(0x0002)),
    (0x0B6, word(50)),
    (0x0B8, word(1)),
    (0x0C4, word(1)),
    (0x0C8, word(5)),
    (0x0CA, word(25)),
    (0x0CC, word(3)),
    (0x0CE, word(200)),
    (0x0D0, word(1000)),
    (0x0D2, word(2)),
    (0x0D4, word(10)),
    (0x0D6, word(1)),
    (0x0DE, word(28)),
    (0x0EA, text("Terminal", 32)),  # raster font
    (0x10A, text("Lucida Console", 32)),  # TrueType font
    (0x12C, word(3)),
    (0x13C, word(22)),
    (0x1AA, word(1)),
]

SECTIONS = [
    ("basic", BASIC_AT, BASIC_SIZE, BASIC),
    ("386 enhanced", ENHANCED_AT, ENHANCED_SIZE, ENHANCED),
    ("VMM", VMM_AT, VMM_SIZE, VMM),
    ("headers", 0, RECORD_SIZE, HEADERS),
]


def build():
    """All bytes of the record. A field that overlaps another or leaves its section ends
    the build."""
    record = bytearray(RECORD_SIZE)
    taken = bytearray(RECORD_SIZE)
    for name, start, size, fields in SECTIONS:
        for offset, data in fields:
            end = offset + len(data)
            if end > size:
                sys.exit(f"{name}: the field at {offset:#x} ends at {end:#x}, the section at {size:#x}")
            place = slice(start + offset, start + end)
            if any(taken[place]):
                sys.exit(f"{name}: the field at {offset:#x} overlaps another")
            record[place] = data
            taken[place] = b"\1" * len(data)
    return bytes(record)


def table(record):
    """C++ source of the hosted program's only stored resource."""
    rows = []
    for start in range(0, len(record), 16):
        rows.append("    " + " ".join(f"0x{value:02x}," for value in record[start : start + 16]))
    return "\n".join(
        [
            "// Made by resources/pif_record.py; do not edit.",
            '#include "platform/hosted/process/stored_resources.h"',
            "",
            "namespace hosted {",
            "",
            "namespace {",
            f"constexpr unsigned char kProgramInformation[{len(record)}] = {{",
            *rows,
            "};",
            'constexpr StoredResource kResources[] = {{"CUSTOM", 101, kProgramInformation,',
            "                                           sizeof(kProgramInformation)}};",
            "}  // namespace",
            "",
            "std::span<const StoredResource> StoredResources() { return kResources; }",
            "",
            "}  // namespace hosted",
            "",
        ]
    )


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("record", "table"):
        sys.exit("usage: pif_record.py record|table OUT")
    record = build()
    if sys.argv[1] == "record":
        Path(sys.argv[2]).write_bytes(record)
    else:
        Path(sys.argv[2]).write_text(table(record), encoding="ascii")


if __name__ == "__main__":
    main()
