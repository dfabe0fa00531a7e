#!/usr/bin/env python3
"""Makes the seeds of LauncherBusFuzzer: messages of both ends, whole, broken and hostile.

Usage: Tests/Fuzz/makeLauncherBusCorpus.py

Writes the folder corpus/LauncherBusFuzzer beside this script. The wire format is that of the D-Bus specification,
section "Message Protocol", little-endian.
"""

import pathlib
import struct

FOLDER = pathlib.Path(__file__).resolve().parent / "corpus" / "LauncherBusFuzzer"
OBJECT = "/io/quillon/UpdateInstallerLauncher"
INTERFACE = "io.quillon.UpdateInstallerLauncher"
CALL, RETURN, ERROR, SIGNAL = 1, 2, 3, 4


def padded(data, boundary):
    return data + b"\0" * (-len(data) % boundary)


def string(text):
    data = text.encode() if isinstance(text, str) else text
    return struct.pack("<I", len(data)) + data + b"\0"


def signature(text):
    return bytes([len(text)]) + text.encode() + b"\0"


def variant(kind, data, offset, boundary):
    """A variant at `offset` of the message, its value aligned."""
    head = signature(kind)
    return head + b"\0" * (-(offset + len(head)) % boundary) + data


def dictionary(entries):
    """The body of "a{sv}"; entries are (key, type, value bytes, alignment)."""
    content = b""
    for key, kind, data, boundary in entries:
        content = padded(content, 8)
        content += string(key)
        # Entries begin 8 bytes behind the array's length and padding, so offsets in `content` align as they stand.
        content += variant(kind, data, len(content), boundary)
    return padded(struct.pack("<I", len(content)), 8) + content


def message(kind, fields, body, flags=0, serial=1, body_length=None):
    data = b""
    for code, field_type, value in fields:
        data = padded(data, 8)
        data += bytes([code])
        data += variant(field_type, value, len(data), 1 if field_type == "g" else 4)
    length = len(body) if body_length is None else body_length
    head = struct.pack("<BBBBIII", ord("l"), kind, flags, 1, length, serial, len(data))
    return padded(head + data, 8) + body


def fields(member=None, body_signature="a{sv}", interface=INTERFACE, reply_to=None):
    found = [(1, "o", string(OBJECT))] if member else []
    if member:
        found += [(2, "s", string(interface)), (3, "s", string(member))]
    if reply_to is not None:
        found.append((5, "u", struct.pack("<I", reply_to)))
    if body_signature:
        found.append((8, "g", signature(body_signature)))
    return found


def text(key, value):
    return (key, "s", string(value), 4)


def call(body, **more):
    return message(CALL, fields("LaunchReplacement", **more), body)


PLAIN = dictionary([text("bundleIdentifier", "org.example.App"), ("applicationBuild", "x", struct.pack("<q", 42), 8),
                    ("allowsSameBuildReplacement", "b", struct.pack("<I", 1), 4)])
EVENT = message(SIGNAL, fields("ReportProgress"), dictionary([text("event", "handoffStarted")]))
REPLY = dictionary([text("result", "launched")])

SEEDS = {
    "request": b"s" + call(PLAIN),
    "request-twice": b"s" + call(PLAIN) * 2,
    "request-flood": b"s" + call(PLAIN) * 20,
    "request-empty": b"s" + call(dictionary([])),
    "request-cut": b"s" + call(PLAIN)[:-7],
    "request-signature": b"s" + call(string("text"), body_signature="s"),
    "request-member": b"s" + message(CALL, fields("Reboot"), PLAIN),
    "request-interface": b"s" + call(PLAIN, interface="org.freedesktop.DBus.Peer"),
    "request-key-twice": b"s" + call(dictionary([text("key", "a"), text("key", "b")])),
    "request-nested": b"s" + call(dictionary([("key", "as", struct.pack("<I", 6) + string("x"), 4)])),
    "request-variants": b"s" + call(dictionary([("key", "v", signature("v") * 60 + signature("y") + b"\1", 1)])),
    "request-integers": b"s" + call(dictionary([("y", "y", b"\xff", 1), ("n", "n", b"\0\x80", 2), ("q", "q", b"\xff\xff", 2),
                                                ("i", "i", b"\0\0\0\x80", 4), ("u", "u", b"\xff" * 4, 4),
                                                ("t", "t", b"\xff" * 8, 8), ("d", "d", b"\0" * 6 + b"\xf8\x7f", 8)])),
    "request-not-utf8": b"s" + call(dictionary([text("key", b"\xff\xfe")])),
    "request-nul": b"s" + call(dictionary([text("key", b"a\0b")])),
    "request-huge": b"s" + message(CALL, fields("LaunchReplacement"), PLAIN, body_length=0x7FFFFFF),
    "request-no-reply": b"s" + message(CALL, fields("LaunchReplacement"), PLAIN, flags=1),
    "reply": b"h" + EVENT + message(RETURN, fields(reply_to=1), REPLY),
    "reply-twice": b"h" + message(RETURN, fields(reply_to=1), REPLY) * 2,
    "reply-error": b"h" + message(ERROR, [(4, "s", string("org.example.Error"))] + fields(reply_to=1, body_signature=None), b""),
    "reply-to-nothing": b"h" + message(RETURN, fields(reply_to=4711), REPLY),
    "event-member": b"h" + message(SIGNAL, fields("Other"), REPLY),
    "host-request": b"h" + call(PLAIN),
    "host-line-too-many": b"HDATA\r\nOK 0123456789abcdef0123456789abcdef\r\nERROR\r\n\r\n\r\n",
    "host-other-protocol": b"HHTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n",
    "host-refused": b"HREJECTED EXTERNAL\r\nREJECTED\r\nERROR\r\n",
    "service-other-protocol": b"SGET / HTTP/1.1\r\n\r\n",
    "service-anonymous": b"S\0AUTH ANONYMOUS\r\nBEGIN\r\n",
    "service-lines": b"S\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n" + call(PLAIN),
}


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    for name, data in SEEDS.items():
        (FOLDER / name).write_bytes(data)


if __name__ == "__main__":
    main()
