#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compiles by itself every header of the product and of the test support that no source of its own includes
first; those that one does are compiled so by the preset clang, which has no precompiled headers there.
Usage: headers_test.py COMPILER [TOP] [--public]: only those that users include. Ends with "N passed, N failed"."""

import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

COMPILER = sys.argv[1]
TOP = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else __file__).resolve()
if TOP.is_file():
    TOP = TOP.parents[2]
FOLDERS = ("include",) if "--public" in sys.argv else ("foundation", "dsig", "api", "include", "cli", "bindings", "tests/support")
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-I", str(TOP),
         "-I", str(TOP / "include")]

# For those whom users include, under their warnings; the whole interface in the next standard, too.
PUBLIC_FLAGS = [*FLAGS, "-Wconversion", "-Wsign-conversion", "-Wshadow"]
IN_ALL_STANDARDS = ("include/vantrel/verify.h", "include/vantrel/vantrel.h", "include/vantrel/ClsXmlDSig.h")

FIRST_INCLUDE = re.compile(r'^#include ["<]([^">]+)', re.M)


def compile_alone(header):
    source = f'#include "{header}"\n'
    code, errors = 0, ""
    runs = [PUBLIC_FLAGS if header.startswith("include/") else FLAGS]
    if header in IN_ALL_STANDARDS:
        # C++23 by the name that older compilers have for it.
        runs.append([*PUBLIC_FLAGS, "-std=c++2b"])
    for flags in runs:
        done = subprocess.run([COMPILER, *flags, "-x", "c++", "-"], input=source, text=True,
                              capture_output=True, check=False)
        code, errors = code or done.returncode, errors + done.stderr
    return header, code, errors


def has_own_source(header):
    source = (TOP / header).with_suffix(".cpp")
    return source.is_file() and FIRST_INCLUDE.search(source.read_text()).group(1) == header


headers = sorted(path.relative_to(TOP).as_posix()
                 for folder in FOLDERS
                 for path in (TOP / folder).rglob("*.h"))
headers = [header for header in headers if not has_own_source(header)]
failed = 0
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    for header, code, errors in pool.map(compile_alone, headers):
        if code != 0:
            failed += 1
            print(f"FAILED: {header}\n{errors[:2000]}")
if not headers:
    failed = 1
    print("FAILED: no headers found")
print(f"{len(headers) - failed} passed, {failed} failed")
sys.exit(1 if failed else 0)
