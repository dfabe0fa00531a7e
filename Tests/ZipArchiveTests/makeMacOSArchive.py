#!/usr/bin/env python3
"""Writes a zip archive laid out as macOS's own archive tool lays one out.

Usage: makeMacOSArchive.py ARCHIVE

A bundle Example.app with a tool, a link and a folder. Entries are made "on Unix" by version 2.1, deflated with sizes behind
the data (links and empty files stored), carry the field "UX", and have UTF-8 names that are not declared as such. Folders
and AppleDouble files below __MACOSX follow what they belong to; the AppleDouble file of the tool holds a quarantine mark,
a part of a code signature, and a resource fork that is left blank.
"""

import struct
import sys
import zlib

TIME = 1_600_000_000
DOS_DATE = (40 << 9) | (9 << 5) | 13
DOS_TIME = 12 << 11


def apple_double(attributes):
    table, data = b"", b""
    offset = 120 + sum((11 + len(name) + 1 + 3) & ~3 for name, _ in attributes)
    for name, value in attributes:
        entry = struct.pack(">IIHB", offset + len(data), len(value), 0, len(name) + 1) + name.encode() + b"\0"
        table += entry + b"\0" * (-len(entry) % 4)
        data += value
    total = offset + len(data)
    header = b"ATTR" + struct.pack(">IIII12xHH", 0x1234, total, offset, len(data), 0, len(attributes))
    fork = struct.pack(">IIII", 256, 256, 0, 30) + b"This resource fork intentionally left blank   "
    fork = fork.ljust(256, b"\0") + struct.pack(">IIII", 256, 256, 0, 30) + b"\0" * 10 + b"\x1c\0\x1e\xff"
    fork = fork.ljust(286, b"\0")
    finder_length = total - 50
    return (struct.pack(">II16sH", 0x00051607, 0x00020000, b"Mac OS X        ", 2) +
            struct.pack(">III", 9, 50, finder_length) + struct.pack(">III", 2, total, len(fork)) +
            b"\0" * 34 + header + table + data + fork)


ATTRIBUTES = [("com.apple.cs.CodeDirectory", b"directory\0"), ("com.apple.quarantine", b"0081;5f5e1000;Browser;")]
ENTRIES = [
    ("Example.app/", 0o040755, b""),
    ("Example.app/Contents/", 0o040755, b""),
    ("Example.app/Contents/größe", 0o100644, b"text " * 1000),
    ("Example.app/Contents/tool", 0o100755, b"#!/bin/sh\n"),
    ("__MACOSX/", 0o040775, b""),
    ("__MACOSX/Example.app/", 0o040775, b""),
    ("__MACOSX/Example.app/Contents/", 0o040775, b""),
    ("__MACOSX/Example.app/Contents/._tool", 0o100755, apple_double(ATTRIBUTES)),
    ("Example.app/Contents/empty", 0o100600, b""),
    ("Example.app/Contents/link", 0o120755, b"tool"),
]


def main():
    archive, directory = b"", b""
    for text, mode, content in ENTRIES:
        name = text.encode()
        is_deflated = mode >> 12 == 0o10 and content
        data = zlib.compress(content)[2:-4] if is_deflated else content
        flags, method = (8, 8) if is_deflated else (0, 0)
        crc = zlib.crc32(content)
        numbers = (crc, len(data), len(content))
        times = struct.pack("<II", TIME, TIME)
        local_extra = struct.pack("<HH", 0x5855, 12) + times + struct.pack("<HH", 501, 20)
        extra = struct.pack("<HH", 0x5855, 8) + times
        common = struct.pack("<HHHH", flags, method, DOS_TIME, DOS_DATE)
        offset = len(archive)
        archive += (b"PK\3\4" + struct.pack("<H", 20 if is_deflated else 10) + common +
                    struct.pack("<III", *((0, 0, 0) if is_deflated else numbers)) +
                    struct.pack("<HH", len(name), len(local_extra)) + name + local_extra + data)
        if is_deflated:
            archive += b"PK\7\x08" + struct.pack("<III", *numbers)
        directory += (b"PK\1\2" + struct.pack("<BBH", 21, 3, 20 if is_deflated else 10) + common +
                      struct.pack("<III", *numbers) + struct.pack("<HHHHHI", len(name), len(extra), 0, 0, 0, (mode << 16) | 0x4000) +
                      struct.pack("<I", offset) + name + extra)
    end = b"PK\5\6" + struct.pack("<HHHHIIH", 0, 0, len(ENTRIES), len(ENTRIES), len(directory), len(archive), 0)
    with open(sys.argv[1], "wb") as file:
        file.write(archive + directory + end)


if __name__ == "__main__":
    main()
