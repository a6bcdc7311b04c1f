#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compiles the samples of README.md and docs against the library; whole programs verify a document, too.
Samples in Python that use the package run in a copy of the examples, with the shared library SHARED ("-": they are
passed over). Usage: samples_test.py CXX CC LIBRARY SHARED [FLAGS...]. Ends with "N passed, N failed"."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

CXX, CC, LIBRARY, SHARED = sys.argv[1:5]
FLAGS = sys.argv[5:]
TOP = pathlib.Path(__file__).resolve().parents[2]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", "-Wno-unused-variable"]
INCLUDES = ["-I", str(TOP), "-I", str(TOP / "include")]
BLOCK = re.compile(r"^```(cpp|c|python)\n(.*?)^```$", re.M | re.S)
USES_PACKAGE = re.compile(r"^import .*\bvantrel\b", re.M)
# What a piece of a program has around it: its text, and what it does not use itself.
PIECE = """#include <vantrel/verify.h>
#include <iostream>
void sample(std::string_view text);
void sample([[maybe_unused]] std::string_view text) {{
{}
}}
"""


def run(command):
    done = subprocess.run(command, text=True, capture_output=True, check=False)
    return done.returncode, done.stdout + done.stderr


def build(language, code, folder):
    """The compiled sample, or "" with what the compiler says."""
    source = folder / f"sample.{language}"
    whole = "int main(" in code
    source.write_text(code if whole else PIECE.format(code))
    compiler = [CXX, "-std=c++20"] if language == "cpp" else [CC, "-std=c11"]
    program = folder / "sample"
    code, output = run([*compiler, *FLAGS, *WARNINGS, *INCLUDES, "-c", str(source), "-o", f"{program}.o"])
    if code != 0 or not whole:
        return code == 0, output, None
    code, output = run([CXX, *FLAGS, f"{program}.o", LIBRARY, "-pthread", "-o", str(program)])
    return code == 0, output, program


def run_python(code, folder):
    place = shutil.copytree(TOP / "examples", folder / "examples")
    done = subprocess.run([sys.executable, "-W", "error", "-c", code], cwd=place, text=True, capture_output=True,
                          check=False, env={**os.environ, "PYTHONPATH": str(TOP / "bindings/python"),
                                            "PYTHONDONTWRITEBYTECODE": "1", "VANTREL_LIBRARY": SHARED})
    return done.returncode == 0, done.stdout + done.stderr


def check(language, code, folder):
    if language == "python":
        return run_python(code, folder)
    good, output, program = build(language, code, folder)
    if not good or program is None:
        return good, output
    results = [run([str(program), str(TOP / "examples" / name)])
               for name in ("invoice.xml", "invoice-tampered.xml", "absent.xml")]
    return [code for code, _ in results] == [0, 1, 1], str(results)


passed = failed = 0
for document in (TOP / "README.md", *sorted((TOP / "docs").glob("*.md"))):
    for match in BLOCK.finditer(document.read_text()):
        if match.group(1) == "python" and (SHARED == "-" or not USES_PACKAGE.search(match.group(2))):
            continue
        with tempfile.TemporaryDirectory() as folder:
            good, output = check(*match.groups(), pathlib.Path(folder))
        passed += good
        failed += not good
        if not good:
            line = document.read_text().count("\n", 0, match.start()) + 1
            print(f"FAILED: {document.relative_to(TOP)}:{line}\n{output[:2000]}")
if passed + failed < 5:
    failed += 1
    print("FAILED: samples are missing")
print(f"{passed} passed, {failed} failed")
sys.exit(1 if failed else 0)
