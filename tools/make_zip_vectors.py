#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes tests/vectors/zip/*.vec: compressed data by zlib, archives by zipfile, and the same with
one thing changed that readers see differently. Run in the top folder; the output is the same on
every run with the same zlib."""

import base64
import io
import random
import struct
import zipfile
import zlib

DATE = (2020, 1, 1, 0, 0, 0)


def raw_deflate(data, level=9, strategy=zlib.Z_DEFAULT_STRATEGY, window=15, flush_every=0):
    packer = zlib.compressobj(level, zlib.DEFLATED, -window, 9, strategy)
    out = b""
    for start in range(0, len(data), flush_every or max(len(data), 1)):
        out += packer.compress(data[start:start + (flush_every or len(data))])
        if flush_every:
            out += packer.flush(zlib.Z_FULL_FLUSH)
    return out + packer.flush()


def texts():
    rand = random.Random(1)
    words = [bytes(rand.choices(b"abcdefghijklmnop", k=rand.randint(1, 9))) for _ in range(300)]
    skewed = bytes(min(255, int(rand.expovariate(0.05))) for _ in range(4000))
    yield "empty", b""
    yield "one byte", b"x"
    yield "zeros", bytes(300000)
    yield "words", b" ".join(rand.choices(words, k=900))
    yield "noise", rand.randbytes(3000)
    yield "skewed", skewed
    yield "far", rand.randbytes(600) + bytes(32768 - 600) + b"." + bytes(70000)
    for distance in (1, 2, 3, 5, 7, 8, 15, 16, 17):
        yield f"distance {distance}", rand.randbytes(distance) * (600 // distance)


# Codes of every length, as no usual packer makes them: a Fibonacci distribution.
def long_codes():
    counts = [1, 1]
    while len(counts) < 18:
        counts.append(counts[-1] + counts[-2])
    data = b"".join(bytes([65 + i]) * n for i, n in enumerate(counts))
    shuffled = bytearray(data)
    random.Random(2).shuffle(shuffled)
    return bytes(shuffled)


def write_case(out, **values):
    for key, value in values.items():
        out.write(f"{key} = {value}\n")
    out.write("\n")


def write_inflate(path):
    with open(path, "w") as out:
        out.write("# Raw DEFLATE streams by zlib, through tools/make_zip_vectors.py.\n\n[sound]\n")
        cases = [(name, data, {}) for name, data in texts()]
        cases += [("stored", b"stored " * 30, {"level": 0}),
                  ("fixed", b"fixed codes, fixed codes" * 9, {"strategy": zlib.Z_FIXED}),
                  ("literals", b"no copies at all" * 20, {"strategy": zlib.Z_HUFFMAN_ONLY}),
                  ("runs", b"a" * 500 + b"b" * 700, {"strategy": zlib.Z_RLE}),
                  ("blocks", b"many blocks of their own " * 60, {"flush_every": 100}),
                  ("long codes", long_codes(), {"strategy": zlib.Z_HUFFMAN_ONLY})]
        for name, data, how in cases:
            write_case(out, Name=name, Packed=base64.b64encode(raw_deflate(data, **how)).decode(),
                       Size=len(data), Crc=f"{zlib.crc32(data):08x}")


class Archive:
    """An archive whose every field can be set, made of (name, data) pairs."""

    def __init__(self, *members, comment=b""):
        self.members = [dict(name=name.encode(), data=data, method=8) for name, data in members]
        self.comment = comment
        self.end = {}
        self.before_directory = b""

    def bytes(self):
        body, directory = b"", b""
        for m in self.members:
            packed = raw_deflate(m["data"]) if m["method"] == 8 else m["data"]
            crc = m.get("crc", zlib.crc32(m["data"]))
            flags = m.get("flags", 0)
            sizes = (crc, len(packed), m.get("size", len(m["data"])))
            offset = m.get("offset", len(body))
            local_sizes = m.get("local_sizes", (0, 0, 0) if flags & 8 else sizes)
            local_name = m.get("local_name", m["name"])
            body += struct.pack("<IHHHHHIIIHH", 0x04034B50, 20, m.get("local_flags", flags),
                                m.get("local_method", m["method"]), 0, 0x5021, *local_sizes,
                                len(local_name), len(m.get("extra", b"")))
            body += local_name + m.get("extra", b"") + packed
            if flags & 8:
                body += m.get("descriptor", struct.pack("<IIII", 0x08074B50, *sizes))
            body += m.get("behind", b"")
            directory += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 20, 20, flags, m["method"], 0,
                                     0x5021, *sizes, len(m["name"]), len(m.get("wide", b"")), 0,
                                     m.get("disk", 0), m.get("internal", 0), 0, m.get("directory_offset", offset))
            directory += m["name"] + m.get("wide", b"")
        body += self.before_directory
        count = self.end.get("count", len(self.members))
        end = struct.pack("<IHHHHIIH", 0x06054B50, self.end.get("disk", 0), self.end.get("disk", 0), count,
                          count, len(directory), self.end.get("offset", len(body)), len(self.comment))
        return self.end.get("prefix", b"") + body + directory + self.end.get("wide", b"") + end + self.comment


def changed(**values):
    archive = Archive(("a.txt", b"first " * 20), ("b.txt", b"second " * 20))
    archive.members[1].update(values)
    return archive.bytes()


def whole(**values):
    archive = Archive(("a.txt", b"first " * 20), ("b.txt", b"second " * 20),
                      comment=values.pop("comment", b""))
    archive.before_directory = values.pop("before_directory", b"")
    archive.end.update(values)
    return archive.bytes()


def moved(prefix):
    """Data in front that every offset counts in."""
    first = Archive(("a.txt", b"first " * 20))
    first.members[0]["directory_offset"] = len(prefix)
    first.end.update(prefix=prefix, offset=len(prefix) + 35 + len(raw_deflate(b"first " * 20)))
    return first.bytes()


def named(*names):
    return Archive(*((name, b"" if name.endswith("/") else b"text") for name in names)).bytes()


def by_zipfile(**how):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name, data, method in (("mimetype", b"text/plain", 0), ("dir/", b"", 0),
                                   ("dir/caf\u00e9.txt", b"some text " * 50, 8)):
            info = zipfile.ZipInfo(name, DATE)
            info.compress_type = method
            if how.get("wide") and data:
                with archive.open(info, "w", force_zip64=True) as member:
                    member.write(data)
            else:
                archive.writestr(info, data)
        archive.comment = how.get("comment", b"")
    return buffer.getvalue()


class Pipe(io.RawIOBase):
    """A stream that cannot go back, so that zipfile writes descriptors."""

    def __init__(self):
        self.data = b""

    def writable(self):
        return True

    def write(self, piece):
        self.data += bytes(piece)
        return len(piece)


def streamed():
    pipe = Pipe()
    with zipfile.ZipFile(pipe, "w") as archive:
        info = zipfile.ZipInfo("streamed.txt", DATE)
        info.compress_type = 8
        archive.writestr(info, b"streamed " * 40)
    return pipe.data


def wide_end(archive):
    """The same archive with a ZIP64 end before the usual one, which leaves all open."""
    end = archive[-22:]
    count, size, offset = struct.unpack("<HII", end[10:20])
    record = struct.pack("<IQHHIIQQQQ", 0x06064B50, 44, 45, 45, 0, 0, count, count, size, offset)
    locator = struct.pack("<IIQI", 0x07064B50, 0, len(archive) - 22, 1)
    open_end = struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 0xFFFF, 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0)
    return archive[:-22] + record + locator + open_end


SOUND = {
    "zipfile": by_zipfile(),
    "zipfile, ZIP64 sizes": by_zipfile(wide=True),
    "zipfile, with a comment": by_zipfile(comment=b"a comment"),
    "streamed": streamed(),
    "ZIP64 end": wide_end(named("a", "b/c")),
    "descriptor without signature": changed(
        flags=8, descriptor=struct.pack("<III", zlib.crc32(b"second " * 20),
                                        len(raw_deflate(b"second " * 20)), 140)),
    "padding among the fields": changed(extra=b"\0\0\0"),
    "marked as text": changed(internal=1),
    "no members": Archive().bytes(),
}

SECOND = b"second " * 20
EXACT = len(raw_deflate(SECOND))
REFUSED = {
    "names": (named("a", "a"), "two members of the archive have the name"),
    "case": (named("A.txt", "a.TXT"), "differ only by case"),
    "separators": (named("a/b", "a\\b"), "differ only by case or separators"),
    "file and folder": (named("a", "a/b"), "stands below a member that is a file"),
    "climbing": (named("x/../../y"), "leads out of its folder"),
    "climbing backwards": (named("x\\..\\y"), "leads out of its folder"),
    "absolute": (named("/etc/passwd"), "absolute name"),
    "drive": (named("C:x"), "absolute name"),
    "empty step": (named("a//b"), "empty step"),
    "dot": (named("./a"), "empty step"),
    "control": (named("a\nb"), "control character"),
    "NUL": (named("a\0b"), "control character"),
    "no name": (named(""), "has no name"),
    "not UTF-8": (changed(name=b"caf\xe9"), "not UTF-8"),
    "folder with contents": (changed(name=b"b/"), "folder with contents"),
    "other local name": (changed(local_name=b"c.txt"), "has the name \"c.txt\" in its own header"),
    "other local sum": (changed(local_sizes=(1, EXACT, 140)), "other values in its own header"),
    "other local size": (changed(local_sizes=(zlib.crc32(SECOND), EXACT, 141)), "other values"),
    "other local method": (changed(local_method=0), "other values in its own header"),
    "other local flags": (changed(local_flags=2), "other values in its own header"),
    "second name": (changed(extra=struct.pack("<HHBI", 0x7075, 10, 1, 0) + b"c.txt"), "damaged header"),
    "encrypted": (changed(flags=1), "is encrypted"),
    "encrypted directory": (changed(flags=1 << 13), "is encrypted"),
    "method": (changed(method=12, data=b"x"), "unknown method"),
    "stored with two sizes": (changed(method=0, size=3), "two sizes"),
    "descriptor": (changed(flags=8, descriptor=struct.pack("<IIII", 0x08074B50, 1, EXACT, 140)),
                   "other values than the directory"),
    "no descriptor": (changed(flags=8, descriptor=b""), "followed by data"),
    "data between": (changed(behind=b"hidden"), "followed by data that is no member"),
    "data in front": (whole(prefix=b"#!/bin/sh\n"), "does not stand where its end says"),
    "data in front, offsets moved": (moved(b"#!/bin/sh\n"), "stands behind data that is no member"),
    "data before the directory": (whole(before_directory=b"hidden"), "followed by data"),
    "data behind": (whole() + b"more", "cut short, or something stands behind it"),
    "overlap": (changed(directory_offset=0), "has the name|overlaps another one"),
    "end in the comment": (whole(comment=whole()[-22:] + b"x"), "holds the end of another"),
    "count too small": (whole(count=1), "has more than it says"),
    "count too large": (whole(count=3), "directory of the archive is damaged"),
    "volumes": (whole(disk=1), "several volumes"),
    "member in another volume": (changed(disk=1), "damaged"),
    "ZIP64 lacks": (changed(wide=b"", size=0xFFFFFFFF), "directory of the archive is damaged"),
    "ZIP64 end differs": (wide_end(named("a"))[:-22] + named("a", "b")[-22:], "disagree|does not stand"),
    "wrong sum": (changed(crc=1), "another check sum"),
    "wrong size": (changed(size=139), "another size"),
    "too large a size": (changed(size=141), "another size"),
}


def write_archives(path):
    with open(path, "w") as out:
        out.write("# Archives by Python's zipfile, and by tools/make_zip_vectors.py field by field.\n\n[sound]\n")
        for name, data in SOUND.items():
            with zipfile.ZipFile(io.BytesIO(data)) as archive:
                members = [f"{i.filename}:{i.file_size}:{i.CRC:08x}" for i in archive.infolist()
                           if not i.filename.endswith("/")]
            write_case(out, Name=name, Archive=base64.b64encode(data).decode(),
                       **({"Members": "|".join(members)} if members else {}))
        out.write("# Fault: part of what is said; alternatives between bars.\n\n[refused]\n")
        for name, (data, fault) in REFUSED.items():
            write_case(out, Name=name, Archive=base64.b64encode(data).decode(), Fault=fault)


write_inflate("tests/vectors/zip/inflate.vec")
write_archives("tests/vectors/zip/archives.vec")
