#!/usr/bin/env python3
"""Makes the seed of UpdateFileNameFuzzer that is no text: names with NUL characters, escaped and as they are.

Usage: Tests/Fuzz/makeUpdateFileNameCorpus.py

Writes corpus/UpdateFileNameFuzzer/nul beside this script. The lines are those that the fuzz target reads.
"""

import pathlib

SEED = pathlib.Path(__file__).resolve().parent / "corpus" / "UpdateFileNameFuzzer" / "nul"
SEED.write_bytes(b"https://example.org/a%00b\nExample\0.pkg\nExam\0ple\n.\n")
