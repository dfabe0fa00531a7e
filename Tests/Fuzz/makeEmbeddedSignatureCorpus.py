#!/usr/bin/env python3
"""Writes the seeds of EmbeddedSignatureFuzzer: small super blobs with all kinds of parts."""

import pathlib
import struct

FOLDER = pathlib.Path(__file__).parent / "corpus" / "EmbeddedSignatureFuzzer"


def blob(magic, content=b""):
    return struct.pack(">2I", magic, 8 + len(content)) + content


def super_blob(parts, padding=0, gap=b""):
    offset = 12 + 8 * len(parts)
    index, blobs = b"", b""
    for slot, part in parts:
        index += struct.pack(">2I", slot, offset + len(blobs) if part else 0)
        blobs += part + gap
    content = index + blobs
    return struct.pack(">3I", 0xFADE0CC0, 12 + len(content), len(parts)) + content + b"\0" * padding


DIRECTORY = (0, blob(0xFADE0C02, b"directory"))
REQUIREMENTS = (2, blob(0xFADE0C01, b"\0\0\0\0"))
ENTITLEMENTS = (5, blob(0xFADE7171, b"<plist/>"))
SPECIFIC = (6, blob(0xFADE0B01, b"specific"))
DER = (7, blob(0xFADE7172, b"\x30\0"))
CONSTRAINT = (8, blob(0xFADE8181, b"\x30\0"))
ALTERNATE = (0x1000, blob(0xFADE0C02, b"another"))
CMS = (0x10000, blob(0xFADE0B01, b"CMS"))

SEEDS = {
    "empty": super_blob([]),
    "linkerSigned": super_blob([DIRECTORY], padding=16),
    "adHoc": super_blob([DIRECTORY, REQUIREMENTS, (0x10000, blob(0xFADE0B01))]),
    "signed": super_blob([DIRECTORY, REQUIREMENTS, ENTITLEMENTS, DER, ALTERNATE, CMS], padding=100),
    "rare": super_blob([DIRECTORY, SPECIFIC, CONSTRAINT, (0x10002, blob(0xFADE0B01, b"ticket"))]),
    "anyOrder": super_blob([CMS, REQUIREMENTS, DIRECTORY], gap=b"gap"),
    "absentEntry": super_blob([DIRECTORY, (2, b""), CMS]),
    "unwrapped": super_blob([DIRECTORY, (0x10000, blob(0xFADE0C02, b"CMS"))]),
}

FOLDER.mkdir(exist_ok=True)
for name, content in SEEDS.items():
    (FOLDER / name).write_bytes(content)
