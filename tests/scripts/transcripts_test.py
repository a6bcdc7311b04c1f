#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the commands that the documents show and compares what they print with what is shown there: blocks
```console of README.md, docs and examples. A line "..." stands for any lines, "..." in a line for any text.
Usage: transcripts_test.py TOOL. Exits with 77 where openssl is absent; else ends with "N passed, N failed"."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

TOOL = pathlib.Path(sys.argv[1]).resolve()
TOP = pathlib.Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```console\n(.*?)^```$", re.M | re.S)


def commands(block):
    """Pairs of a command and what it is to print."""
    for part in re.split(r"^\$ ", block, flags=re.M)[1:]:
        command, _, expected = part.partition("\n")
        yield command, expected


def pattern(expected):
    """A regular expression for a whole output."""
    out = ""
    for line in expected.splitlines():
        if line == "...":
            out += r"(?:.*\n)*?"
        else:
            out += ".*".join(re.escape(piece) for piece in line.split("...")) + r"\n"
    return out


def folder_like_the_tree(name):
    """The commands write beside the examples, not into the tree, and find the tool by both of its names."""
    folder = pathlib.Path(name)
    shutil.copytree(TOP / "examples", folder / "examples")
    (folder / "xmldsig").symlink_to(TOOL)
    return folder


passed = failed = 0
if not shutil.which("openssl"):
    print("skipped: openssl is not installed")
    sys.exit(77)
for document in (TOP / "README.md", *sorted((TOP / "docs").glob("*.md")), TOP / "examples/README.md"):
    for match in BLOCK.finditer(document.read_text()):
        with tempfile.TemporaryDirectory() as name:
            folder = folder_like_the_tree(name)
            for command, expected in commands(match.group(1)):
                done = subprocess.run(["sh", "-c", command], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                      env=dict(os.environ, PATH=f"{folder}:{os.environ['PATH']}"), text=True, check=False)
                good = re.fullmatch(pattern(expected), done.stdout) is not None
                passed += good
                failed += not good
                if not good:
                    line = document.read_text().count("\n", 0, match.start()) + 1
                    print(f"FAILED: {document.relative_to(TOP)}:{line}: {command}\n{done.stdout}")
if passed + failed < 10:
    failed += 1
    print("FAILED: transcripts are missing")
print(f"{passed} passed, {failed} failed")
sys.exit(1 if failed else 0)
