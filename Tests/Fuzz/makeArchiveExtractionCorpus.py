#!/usr/bin/env python3
"""Makes the seeds of ArchiveExtractionFuzzer: archives of every feature, and hostile ones.

Usage: Tests/Fuzz/makeArchiveExtractionCorpus.py

Writes the folder corpus/ArchiveExtractionFuzzer beside this script. The format is that of PKWARE's APPNOTE.TXT.
"""

import pathlib
import struct
import zlib

FOLDER = pathlib.Path(__file__).resolve().parent / "corpus" / "ArchiveExtractionFuzzer"
FILE, DIRECTORY, LINK, FIFO = 0o100644, 0o040755, 0o120777, 0o010644
STORED, DEFLATED = 0, 8


def deflated(content):
    compressor = zlib.compressobj(9, zlib.DEFLATED, -15)
    return compressor.compress(content) + compressor.flush()


def archive(*entries, zip64=False, descriptors=False, comment=b""):
    """Each entry: name, content, mode and optionally method, extra field, flags."""
    body, directory = b"", b""
    for name, content, mode, *more in entries:
        method, extra, flags = (more + [STORED, b"", 0][len(more):])[:3]
        data = deflated(content) if method == DEFLATED else content
        flags |= 8 if descriptors else 0
        numbers = (zlib.crc32(content), len(data), len(content))
        offset = len(body)
        common = struct.pack("<HHHH", flags, method, 0, 0x5021)
        shown = (numbers[0], 0xFFFFFFFF, 0xFFFFFFFF) if zip64 else numbers
        wide = struct.pack("<HHQQQ", 1, 24, len(content), len(data), offset) if zip64 else b""
        wide_local = struct.pack("<HHQQ", 1, 16, len(content), len(data)) if zip64 else b""
        body += (b"PK\3\4\x14\0" + common + struct.pack("<III", *((0, 0, 0) if descriptors else shown)) +
                 struct.pack("<HH", len(name), len(wide_local)) + name + wide_local + data)
        if descriptors:
            body += b"PK\7\x08" + struct.pack("<III", *numbers)
        directory += (b"PK\1\2\x14\3\x14\0" + common + struct.pack("<III", *shown) +
                      struct.pack("<HHHHHI", len(name), len(extra + wide), 0, 0, 0, mode << 16) +
                      struct.pack("<I", 0xFFFFFFFF if zip64 else offset) + name + extra + wide)
    end = b""
    count, length, start = len(entries), len(directory), len(body)
    if zip64:
        end = (b"PK\6\6" + struct.pack("<QHHIIQQQQ", 44, 45, 45, 0, 0, count, count, length, start) +
               b"PK\6\7" + struct.pack("<IQI", 0, start + length, 1))
        count, length, start = 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF
    end += b"PK\5\6" + struct.pack("<HHHHIIH", 0, 0, count, count, length, start, len(comment)) + comment
    return body + directory + end


def apple_double():
    value = b"signature"
    entry = struct.pack(">IIHB", 136, len(value), 0, 2) + b"a\0".ljust(5, b"\0")
    total = 120 + len(entry) + len(value)
    return (struct.pack(">II16sH", 0x00051607, 0x00020000, b"Mac OS X        ", 2) +
            struct.pack(">IIIIII", 9, 50, total - 50, 2, total, 4) + b"\0" * 34 + b"ATTR" +
            struct.pack(">IIII12xHH", 0, total, 136, len(value), 0, 1) + entry + value + b"fork")


TIMES = struct.pack("<HHBI", 0x5455, 5, 1, 1_600_000_000)
UNICODE = struct.pack("<HHBI", 0x7075, 14, 1, zlib.crc32(b"a")) + "größeé".encode()[:9]
SEEDS = {
    "empty": archive(),
    "bundle": archive((b"A.app/", b"", DIRECTORY), (b"A.app/tool", b"#!/bin/sh\n", 0o100755, STORED, TIMES),
                      (b"A.app/Current", b"tool", LINK), (b"A.app/text", b"text " * 99, FILE, DEFLATED)),
    "descriptors": archive((b"a", b"a" * 99, FILE, DEFLATED), descriptors=True),
    "zip64": archive((b"a", b"a" * 99, FILE, DEFLATED), (b"b/", b"", DIRECTORY), zip64=True),
    "comment": archive((b"a", b"content", FILE), comment=b"a comment"),
    "apple-double": archive((b"a", b"content", FILE), (b"__MACOSX/._a", apple_double(), FILE, DEFLATED),
                            (b"b/", b"", 0o040555), (b"._b", apple_double(), FILE)),
    "unicode": archive((b"a", b"content", FILE, STORED, UNICODE), (b"gr\x94\xe1e", b"", FILE)),
    "old-names": archive((b"./a/./b", b"", FILE), (b"./", b"", DIRECTORY)),
    "traversal": archive((b"../around/evil", b"content", FILE)),
    "absolute": archive((b"/tmp/evil", b"content", FILE)),
    "through-link": archive((b"a", b"../around", LINK), (b"a/evil", b"content", FILE)),
    "link-out": archive((b"a", b"../around", LINK)),
    "links-out-together": archive((b"a/b/up", b"../..", LINK), (b"c", b"a/b/up/../around", LINK)),
    "links": archive((b"a", b"b", LINK), (b"b", b"a", LINK), (b"c/d", b"../a/x", LINK)),
    "case": archive((b"Read", b"", FILE), (b"read", b"", FILE)),
    "fifo": archive((b"a", b"", FIFO)),
    "bomb": archive((b"a", b"\0" * 3_000_000, FILE, DEFLATED)),
}


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    for name, data in SEEDS.items():
        (FOLDER / name).write_bytes(data)


if __name__ == "__main__":
    main()
