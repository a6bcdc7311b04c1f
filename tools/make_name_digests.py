#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints the digests in tests/foundation/x509/path/prepared_names_test.cpp: of every character of a block between
two letters, prepared as RFC 4518 has it. The rules are written down here a second time, over Python's own
character data. Run it from the top folder:  python3 tools/make_name_digests.py
"""

import hashlib
import unicodedata

BLOCKS = ((0x00, 0x2FF), (0x300, 0x58F), (0x1E00, 0x1EFF), (0x2000, 0x200F), (0x2028, 0x202F), (0xFB00, 0xFB06),
          (0xFF01, 0xFF5E))
LEFT_OUT = ({0x7F, 0xAD, 0x34F} | set(range(0x00, 0x09)) | set(range(0x0E, 0x20)) | set(range(0x80, 0x85))
            | set(range(0x86, 0xA0)) | set(range(0x200B, 0x2010)) | set(range(0x202A, 0x202F)))
BLANKS = {0x20, 0x85, 0xA0, 0x2028, 0x2029, 0x202F} | set(range(0x09, 0x0E)) | set(range(0x2000, 0x200B))


def apart(text):
    return unicodedata.normalize("NFKD", text)


def prepared(character):
    if character in LEFT_OUT:
        return "az"
    if character in BLANKS:
        return "a z"
    folded = apart(apart(chr(character)).casefold())
    return " ".join(apart(f"a{folded}z").split(" "))


for first, last in BLOCKS:
    text = "".join(prepared(character) + "\n" for character in range(first, last + 1))
    print(f'{{0x{first:04X}, 0x{last:04X}, "{hashlib.sha256(text.encode()).hexdigest()}"}},')
