#!/usr/bin/env python3
"""Writes the seeds of CodeDirectoryFuzzer: one small code directory per version of the format."""

import pathlib
import struct

FOLDER = pathlib.Path(__file__).parent / "corpus" / "CodeDirectoryFuzzer"


def directory(version, hash_type, hash_size, special, pages, page_log2, limit, team=b""):
    fixed = {0x20001: 44, 0x20100: 48, 0x20200: 52, 0x20300: 64, 0x20400: 88, 0x20500: 96}[version]
    text = b"com.example\0" + (team + b"\0" if team else b"")
    hash_offset = fixed + len(text) + special * hash_size
    length = hash_offset + pages * hash_size
    blob = struct.pack(">IIIIIIIIIBBBBI", 0xFADE0C02, length, version, 2, hash_offset, fixed, special, pages, limit,
                       hash_size, hash_type, 0, page_log2, 0)
    rest = b"\0" * 4
    if version >= 0x20200:
        rest += struct.pack(">I", fixed + 12 if team else 0)
    if version >= 0x20300:
        rest += struct.pack(">IQ", 0, 0)
    if version >= 0x20400:
        rest += struct.pack(">QQQ", 0, 4096, 1)
    if version >= 0x20500:
        rest += struct.pack(">II", 0x000E0400, 0)
    blob += rest[:fixed - 44]
    return blob + text + bytes(range(1, special + 1)) * hash_size + b"\x55" * (pages * hash_size)


SEEDS = {
    "earliest": directory(0x20001, 1, 20, 2, 1, 0, 10),
    "generic": directory(0x20100, 2, 32, 3, 1, 0, 10),
    "team": directory(0x20200, 2, 32, 3, 1, 0, 10, b"TEAM123456"),
    "limit64": directory(0x20300, 3, 20, 3, 2, 12, 5000),
    "segment": directory(0x20400, 4, 48, 7, 2, 12, 5000),
    "runtime": directory(0x20500, 2, 32, 5, 3, 12, 12288, b"T"),
    "empty": directory(0x20100, 2, 32, 0, 0, 0, 0),
}

FOLDER.mkdir(exist_ok=True)
for name, content in SEEDS.items():
    (FOLDER / name).write_bytes(content)
