#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the wheel: the package with the shared library inside, by the standard library alone.

    build_wheel.py --library FILE [--output FOLDER]
    VANTREL_LIBRARY=FILE pip install bindings/python

FILE is best libvantrel.so of the target vantrel_python, which has the C++ runtime within: such a wheel runs
wherever the C library is not older than the one it was linked with, and its tag says so (PEP 600). The same
input gives the same octets; SOURCE_DATE_EPOCH sets the time of the members.
"""

import argparse
import base64
import email.message
import hashlib
import os
import pathlib
import re
import sys
import time
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parents[1]
# ELF, offset 18: for which processor the file is.
MACHINES = {62: "x86_64", 183: "aarch64", 3: "i686", 40: "armv7l", 243: "riscv64", 22: "s390x", 21: "ppc64le"}


def version():
    """Of the library, as its header has it; the package names the same one."""
    numbers = re.findall(r"define VANTREL_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", (TOP / "api/version.h").read_text())
    found = ".".join(numbers)
    if f'VERSION = "{found}"' not in (HERE / "vantrel/_library.py").read_text():
        sys.exit(f"vantrel/_library.py names another version than api/version.h, {found}")
    return found


def platform(octets):
    """The tag of the systems that the library runs on. One that needs the shared C++ runtime, or a C
    library that is not GNU's, runs on systems like this one; nobody knows which else."""
    if octets[:4] != b"\x7fELF":
        sys.exit("the library is no ELF file")
    machine = MACHINES.get(int.from_bytes(octets[18:20], "little" if octets[5] == 1 else "big"))
    if machine is None:
        sys.exit("the library is for a processor that wheels have no name for")
    needed = [int(minor) for minor in re.findall(rb"\0GLIBC_2\.(\d+)(?=[.\0])", octets)]
    if not needed or b"libstdc++.so" in octets:
        return f"linux_{machine}"
    # PEP 599 and before name older ones otherwise; nothing of today is linked with those.
    return f"manylinux_2_{max(17, *needed)}_{machine}"


def metadata():
    message = email.message.Message()
    for name, value in (("Metadata-Version", "2.1"), ("Name", "vantrel"), ("Version", version()),
                        ("Summary", "XML digital-signature verifier"), ("License", "MIT"),
                        ("Requires-Python", ">=3.9"), ("Description-Content-Type", "text/markdown")):
        message[name] = value
    message.set_payload((TOP / "docs/python.md").read_text(encoding="utf-8"))
    return str(message).encode("utf-8")


def wheel_lines(tag):
    return f"Wheel-Version: 1.0\nGenerator: build_wheel.py\nRoot-Is-Purelib: false\nTag: {tag}\n".encode()


def members(library, tag):
    """Name and octets of each file, RECORD last."""
    info = f"vantrel-{version()}.dist-info"
    for path in sorted((HERE / "vantrel").iterdir()):
        if path.suffix == ".py" or path.name == "py.typed":
            yield f"vantrel/{path.name}", path.read_bytes()
    yield "vantrel/libvantrel.so.0", library
    yield f"{info}/LICENSE", (TOP / "LICENSE").read_bytes()
    yield f"{info}/METADATA", metadata()
    yield f"{info}/WHEEL", wheel_lines(tag)


def record_line(name, octets):
    digest = base64.urlsafe_b64encode(hashlib.sha256(octets).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(octets)}\n"


def write_wheel(library, folder):
    """The name of the wheel, which is made in the folder."""
    octets = pathlib.Path(library).read_bytes()
    tag = f"py3-none-{platform(octets)}"
    name = f"vantrel-{version()}-{tag}.whl"
    # The first moment that a ZIP file can name.
    moment = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", 0)), 315532800))[:6]
    record = ""
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    with zipfile.ZipFile(folder / name, "w", zipfile.ZIP_DEFLATED) as wheel:
        def add(member, content, mode):
            entry = zipfile.ZipInfo(member, moment)
            entry.external_attr = mode << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            wheel.writestr(entry, content)

        for member, content in members(octets, tag):
            add(member, content, 0o100755 if member.endswith(".so.0") else 0o100644)
            record += record_line(member, content)
        record_name = f"vantrel-{version()}.dist-info/RECORD"
        add(record_name, record + f"{record_name},,\n", 0o100644)
    return name


# What pip calls (PEP 517); pyproject.toml names this file as the one that builds.
def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    library = os.environ.get("VANTREL_LIBRARY")
    if not library:
        sys.exit("VANTREL_LIBRARY has to name libvantrel.so, which cmake --build DIR --target vantrel_python makes")
    return write_wheel(library, wheel_directory)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--library", required=True, help="libvantrel.so")
    parser.add_argument("--output", default=".", help="folder for the wheel")
    arguments = parser.parse_args()
    print(write_wheel(arguments.library, arguments.output))


if __name__ == "__main__":
    main()
