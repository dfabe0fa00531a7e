#!/usr/bin/env python3
"""Writes the seeds of PropertyListFuzzer, and the binary ones of EntitlementsFuzzer: makePropertyListCorpus.py corpus"""

import datetime
import pathlib
import plistlib
import struct
import sys

VALUE = {
    "array": ["a", "b", [], {}],
    "data": bytes(range(20)),
    "date": datetime.datetime(2024, 2, 29, 12, 30, 15),
    "false": False,
    "integers": [0, 255, 256, 65536, 1 << 40, -1],
    "reals": [0.5, -1e300, float("inf"), float("nan")],
    "string": "M\u00fcnchen \U0001f600",
    "true": True,
    "long": {f"key{i}": i for i in range(20)},
}


def binary(objects, reference_size=1, root=0):
    """A binary list of the bytes of its objects."""
    content, offsets = b"bplist00", []
    for item in objects:
        offsets.append(len(content))
        content += item
    table = b"".join(struct.pack(">H", offset) for offset in offsets)
    trailer = bytes(6) + bytes([2, reference_size]) + struct.pack(">QQQ", len(objects), root, len(content))
    return content + table + trailer


SEEDS = {
    "every-type.xml.plist": plistlib.dumps(VALUE),
    "every-type.binary.plist": plistlib.dumps(VALUE, fmt=plistlib.FMT_BINARY),
    "utf16.plist": plistlib.dumps(["a"]).decode().encode("utf-16"),
    "references.plist": b"<plist><array><string>&lt;&#65;&#x1F600;<![CDATA[<a>]]><!-- b --></string>"
    b"<integer>0x1F</integer><string>\x14\r\n</string></array></plist>",
    "old-style.plist": b"// a\n{ a = ( b, \"c\\U00fc\\101\", <0fbd 77>, ); 'd' = { }; }",
    "table.strings": b'/* Title */\n"title" = "Update";\nOK;\n',
    "cycle.binary.plist": binary([b"\xa1\x00"]),
    "shared.binary.plist": binary([b"\xa2\x01\x01", b"\xa1\x02", b"\x09"]),
    "shared-strings.binary.plist": binary([b"\xa3\x01\x01\x02", b"\x51a", b"\xd1\x01\x01"]),
    "unordered.binary.plist": binary([b"\x62\x00\xfc\x20\xac", b"\xa2\x00\x02", b"\x33\x40\x00\x00\x00\x00\x00\x00\x00"],
                                     root=1),
    "huge-count.binary.plist": binary([b"\xaf\x13\x7f" + b"\xff" * 7]),
    "uid.binary.plist": binary([b"\x80\x01"]),
}


# Entitlements know neither data, dates nor real numbers.
ENTITLEMENTS = {
    "rights.binary.plist": plistlib.dumps(
        {"get-task-allow": True, "groups": ["TEAM123456.group", -129], "nested": {"a": False}}, fmt=plistlib.FMT_BINARY),
    "shared.binary.plist": SEEDS["shared.binary.plist"],
}


def main():
    corpus = pathlib.Path(sys.argv[1])
    for target, seeds in (("PropertyListFuzzer", SEEDS), ("EntitlementsFuzzer", ENTITLEMENTS)):
        folder = corpus / target
        folder.mkdir(parents=True, exist_ok=True)
        for name, content in seeds.items():
            (folder / name).write_bytes(content)


main()
