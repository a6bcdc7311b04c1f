#!/usr/bin/env python3
"""Compiles every header of the product and of the test support by itself.
Usage: headers_test.py COMPILER [TOP]. Ends with "N passed, N failed"."""

import concurrent.futures
import os
import pathlib
import subprocess
import sys

COMPILER = sys.argv[1]
TOP = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else __file__).resolve()
if TOP.is_file():
    TOP = TOP.parents[2]
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-I", str(TOP)]


def compile_alone(header):
    # Twice, so that a missing guard shows as well.
    source = f'#include "{header}"\n#include "{header}"\n'
    done = subprocess.run([COMPILER, *FLAGS, "-x", "c++", "-"], input=source, text=True,
                          capture_output=True, check=False)
    return header, done.returncode, done.stderr


headers = sorted(path.relative_to(TOP).as_posix()
                 for folder in ("foundation", "dsig", "cli", "bindings", "tests/support")
                 for path in (TOP / folder).rglob("*.h"))
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
