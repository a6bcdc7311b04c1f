#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Two builds of the tool say the same of every document of the tests and the examples.
Usage: same_reports.py TOOL OTHER_COMMAND..."""

import pathlib
import subprocess
import sys

from checks import check, finish

TOOL, OTHER = sys.argv[1:2], sys.argv[2:]
TOP = pathlib.Path(__file__).resolve().parents[2]
FILES = [*sorted((TOP / "tests/vectors/dsig").rglob("document.xml")), *sorted((TOP / "examples").glob("*.xml"))]


def reports(command):
    done = subprocess.run([*command, "verify", "--json", "--timestamps", "--explain", "--jobs", "1", *map(str, FILES)],
                          capture_output=True, text=True, check=False)
    check(f"{command[-1]}: one report a document", len(done.stdout.splitlines()) == len(FILES), done.stderr)
    return done.stdout.splitlines()


for name, one, other in zip(FILES, reports(TOOL), reports(OTHER)):
    check(str(name.relative_to(TOP)), one == other, other)
finish()
