#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes foundation/text/charset_tables.cpp: the upper halves of the single-byte character sets.

The mappings are those of Python's codecs, which follow the tables published by the Unicode
Consortium. Run it from the top folder:  python3 tools/make_charset_tables.py
"""

# Python codec, then the names under which it is known (lower case, "-", "_" and spaces left out).
CHARSETS = [
    ("ascii", "usascii ascii iso646us ansix3.41968 us text"),
    ("latin-1", "iso88591 latin1 l1 cp819 ibm819"),
    ("iso8859-2", "iso88592 latin2 l2"),
    ("iso8859-3", "iso88593 latin3 l3"),
    ("iso8859-4", "iso88594 latin4 l4"),
    ("iso8859-5", "iso88595 cyrillic"),
    ("iso8859-6", "iso88596 arabic"),
    ("iso8859-7", "iso88597 greek"),
    ("iso8859-8", "iso88598 iso88598i hebrew"),
    ("iso8859-9", "iso88599 latin5 l5"),
    ("iso8859-10", "iso885910 latin6 l6"),
    ("iso8859-11", "iso885911 tis620 windows874 cp874"),
    ("iso8859-13", "iso885913 latin7 l7"),
    ("iso8859-14", "iso885914 latin8 l8"),
    ("iso8859-15", "iso885915 latin9 l9"),
    ("iso8859-16", "iso885916 latin10 l10"),
    ("cp1250", "windows1250 cp1250"),
    ("cp1251", "windows1251 cp1251"),
    ("cp1252", "windows1252 cp1252 ansi"),
    ("cp1253", "windows1253 cp1253"),
    ("cp1254", "windows1254 cp1254"),
    ("cp1255", "windows1255 cp1255"),
    ("cp1256", "windows1256 cp1256"),
    ("cp1257", "windows1257 cp1257"),
    ("cp1258", "windows1258 cp1258"),
    ("koi8-r", "koi8r koi8"),
    ("koi8-u", "koi8u"),
    ("cp437", "ibm437 cp437 437"),
    ("cp850", "ibm850 cp850 850"),
    ("cp852", "ibm852 cp852 852"),
    ("cp855", "ibm855 cp855 855"),
    ("cp857", "ibm857 cp857 857"),
    ("cp858", "ibm858 cp858 ibm00858"),
    ("cp860", "ibm860 cp860 860"),
    ("cp863", "ibm863 cp863 863"),
    ("cp866", "ibm866 cp866 866"),
    ("mac-roman", "macintosh mac macroman"),
    ("mac-cyrillic", "maccyrillic xmaccyrillic"),
]

HEAD = """\
// Made by tools/make_charset_tables.py; not edited by hand.
#include "foundation/text/charset_tables.h"

namespace vantrel::text {

// clang-format off
namespace {

constexpr SingleByteCharset kCharsets[] = {
"""

TAIL = """\
};

} // namespace
// clang-format on

std::span<const SingleByteCharset> singleByteCharsets() noexcept { return kCharsets; }

} // namespace vantrel::text
"""


def code_point(codec, byte):
    try:
        return ord(bytes([byte]).decode(codec))
    except UnicodeDecodeError:
        return 0


def main():
    with open("foundation/text/charset_tables.cpp", "w", encoding="ascii", newline="\n") as out:
        out.write(HEAD)
        for codec, names in CHARSETS:
            for byte in range(128):
                if code_point(codec, byte) != byte:
                    raise SystemExit(f"{codec} differs from ASCII at {byte}")
            points = [code_point(codec, byte) for byte in range(128, 256)]
            out.write(f'    {{"{names}", {{\n')
            for row in range(0, 128, 8):
                cells = ", ".join(f"0x{point:04X}" for point in points[row : row + 8])
                out.write(f"        {cells},\n")
            out.write("    }},\n")
        out.write(TAIL)


main()
