#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The library within another project, by add_subdirectory and by FetchContent: it changes nothing of the project,
installs nothing, and compiles there. Usage: embedding.py COMPILER GENERATOR.

One archive is built; with VANTREL_PACKAGES=1 in the environment a program with the whole library, which takes
minutes."""

import os
import pathlib
import subprocess
import sys
import tempfile

from checks import check, finish

COMPILER, GENERATOR = sys.argv[1:3]
TOP = pathlib.Path(__file__).resolve().parents[2]
WHOLE = os.environ.get("VANTREL_PACKAGES") == "1"


def run(*command):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False)


def build(folder, target):
    done = run("cmake", "--build", folder, "--target", target, "-j", os.cpu_count())
    check(f"{folder.name}: {target} is built", done.returncode == 0, done.stdout[-1000:])
    return done.returncode == 0


with tempfile.TemporaryDirectory() as place:
    for way in ("add_subdirectory", "FetchContent"):
        folder = pathlib.Path(place, way)
        # Without precompiled headers ccache, where the caller uses it, has most of the second one.
        done = run("cmake", "-G", GENERATOR, "-S", TOP / "tests/consumer/embedded", "-B", folder, f"-DWAY={way}",
                   f"-DLIBRARY={TOP}", f"-DCMAKE_CXX_COMPILER={COMPILER}", "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON",
                   *([f"-DCMAKE_CXX_COMPILER_LAUNCHER={os.environ['VANTREL_LAUNCHER']}"]
                     if "VANTREL_LAUNCHER" in os.environ else []))
        check(f"{way}: the project is as it was", done.returncode == 0, done.stderr)
        if done.returncode != 0:
            continue
        run("cmake", "--install", folder, "--prefix", folder / "installed")
        check(f"{way}: nothing is installed", not (folder / "installed").exists())
        if not WHOLE:
            build(folder, "vantrel_cpu")
            continue
        built = build(folder, "verify")
        for name, code in (("invoice.xml", 0), ("invoice-tampered.xml", 1)) if built else ():
            check(f"{way}: {name}", run(folder / "verify", TOP / "examples" / name).returncode == code)
if not WHOLE:
    print("a whole program was not built; VANTREL_PACKAGES=1 asks for it")
finish()
