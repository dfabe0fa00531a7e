#!/usr/bin/env python3
"""Writes the seeds of MachOFuzzer and MachOSignerFuzzer: small thin and universal object files of every byte order and
width."""

import pathlib
import struct

CORPUS = pathlib.Path(__file__).parent / "corpus"

ARM64 = (0x0100000C, 0, 64, "<")
X86_64 = (0x01000007, 3, 64, "<")
I386 = (7, 3, 32, "<")
POWERPC = (18, 0, 32, ">")


def segment(architecture, name, offset, length, sections=()):
    _, _, width, order = architecture
    word = "Q" if width == 64 else "I"
    body = struct.pack(order + "16s4" + word + "4I", name, 0x10000 + offset, length, offset, length, 5, 5,
                       len(sections), 0)
    for section, start, size, flags in sections:
        body += struct.pack(order + "16s16s2" + word + ("8I" if width == 64 else "7I"), section, name,
                            0x10000 + start, size, start, *[0] * 3, flags, *[0] * (3 if width == 64 else 2))
    return struct.pack(order + "2I", 0x19 if width == 64 else 1, 8 + len(body)) + body


def image(architecture, file_type=2, signature=b"", link_edit=True, version=True, fill=b"\xC3"):
    cpu_type, cpu_subtype, width, order = architecture
    text, strings = 1024, b"\0_main\0\0"
    signature_offset = text + 16
    end = signature_offset + len(signature) if signature else text + len(strings)
    commands = [
        segment(architecture, b"__PAGEZERO", 0, 0),
        segment(architecture, b"__TEXT", 0, text,
                [(b"__text", 960, 48, 0x80000400), (b"__info_plist", 1008, 8, 0), (b"__bss", 0, 64, 1)]),
        struct.pack(order + "6I", 2, 24, text, 0, text, len(strings)),
        struct.pack(order + "2I16s", 0x1B, 24, bytes(range(16))),
    ]
    if link_edit:
        commands.append(segment(architecture, b"__LINKEDIT", text, end - text))
    if version:
        commands.append(struct.pack(order + "6I", 0x32, 24, 1, 0xB0000, 0xE0200, 0))
    else:
        commands.append(struct.pack(order + "4I", 0x24, 16, 0xA0900, 0xE0200))
    if signature:
        commands.append(struct.pack(order + "4I", 0x1D, 16, signature_offset, len(signature)))
    body = b"".join(commands)
    header = struct.pack(order + "7I", 0xFEEDFACF if width == 64 else 0xFEEDFACE, cpu_type, cpu_subtype, file_type,
                         len(commands), len(body), 0x85) + (b"\0" * 4 if width == 64 else b"")
    content = (header + body).ljust(1008, fill) + b"<plist/>"
    return (content.ljust(text, b"\0") + strings).ljust(signature_offset if signature else 0, b"\0") + signature


def universal(architectures, uncounted=0, alignment=4, signature=b"signature", fill=b"\xC3"):
    images = [image(architecture, signature=signature, fill=fill) for architecture in architectures]
    entries, content = b"", b""
    offset = start = (8 + 20 * len(images) + (1 << alignment) - 1) >> alignment << alignment
    for (cpu_type, cpu_subtype, _, _), part in zip(architectures, images):
        content = content.ljust(offset - start, b"\0") + part
        entries += struct.pack(">5I", cpu_type, cpu_subtype, offset, len(part), alignment)
        offset = (offset + len(part) + (1 << alignment) - 1) >> alignment << alignment
    return (struct.pack(">2I", 0xCAFEBABE, len(images) - uncounted) + entries).ljust(start, b"\0") + content


SEEDS = {
    "arm64": image(ARM64, signature=b"signature"),
    "x86_64": image(X86_64, 6, version=False),
    "i386": image(I386, 8, signature=b"signature", version=False),
    "ppc": image(POWERPC, signature=b"signature"),
    "withoutLinkEdit": image(X86_64, 11, link_edit=False),
    "object": image(ARM64, 1),
    "universal": universal([X86_64, ARM64]),
    "universalUncounted": universal([I386, ARM64], uncounted=1),
    "universalThree": universal([POWERPC, I386, X86_64], alignment=6),
}

# Images that can be signed have unused bytes behind their load commands, or a signature.
SIGNER_SEEDS = {
    **SEEDS,
    "unsignedARM64": image(ARM64, fill=b"\0"),
    "unsignedI386": image(I386, 6, version=False, fill=b"\0"),
    "unsignedPPC": image(POWERPC, fill=b"\0"),
    "unsignedUniversal": universal([X86_64, ARM64], uncounted=1, alignment=5, signature=b"", fill=b"\0"),
}

for folder, seeds in (("MachOFuzzer", SEEDS), ("MachOSignerFuzzer", SIGNER_SEEDS)):
    (CORPUS / folder).mkdir(exist_ok=True)
    for name, content in seeds.items():
        (CORPUS / folder / name).write_bytes(content)
