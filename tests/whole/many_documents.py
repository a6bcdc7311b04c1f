# SPDX-License-Identifier: MIT
"""What the tests of bulk work share: many documents, and whether each has one right report."""

import importlib.util
import os
import pathlib
import subprocess
import sys
import time

from checks import check

TOP = pathlib.Path(__file__).resolve().parents[2]
BULK = TOP / "examples/bulk"
STATUS = {"invoice.xml": "valid", "invoice-tampered.xml": "invalid", "note-enveloping.xml": "valid", "orders.xml": "valid"}
sys.path.insert(0, str(BULK))


def need(module, package):
    """Goes on where the module can be imported, if need be in the system's interpreter, whose packages apt installs; or skips."""
    if importlib.util.find_spec(module):
        return
    system = "/usr/bin/python3"
    if sys.executable != system and os.path.exists(system):
        found = subprocess.run([system, "-c", f"import {module}"], capture_output=True, check=False)
        if found.returncode == 0:
            os.execv(system, [system, *sys.argv])
    print(f"skipped: {module} is not here (Debian: {package})")
    sys.exit(77)


def use(tool):
    """`xmldsig` now means this file, for the examples and for what they start."""
    folder = pathlib.Path(tool).resolve().parent
    os.environ["PATH"] = f"{folder}{os.pathsep}{os.environ['PATH']}"


def make(folder, count):
    """`count` different files and the status of each: mostly small documents, one in a thousand of 1 MB, some that are none."""
    folder.mkdir()
    texts = {name: (TOP / "examples" / name).read_bytes() for name in STATUS}
    expected = {}
    for i in range(count):
        path = folder / f"{i:06}.xml"
        example = list(STATUS)[i % len(STATUS)]
        text, status = texts[example] + b"\n" * (i % 97 + (1 << 20) * (i % 1000 == 500)), STATUS[example]
        if i % 250 == 249:
            text, status = text[:len(text) // 2], "error"
        path.write_bytes(text)
        expected[str(path)] = status
    return expected


def compare(what, expected, reports):
    """Each document has exactly one report, with its status."""
    found = [(report["file"], report["status"]) for report in reports]
    check(f"{what}: nothing is lost or doubled", len(found) == len(expected) and len(dict(found)) == len(found), f"{len(found)} of {len(expected)}")
    wrong = [(name, status) for name, status in found if expected.get(name) != status]
    check(f"{what}: every status is right", not wrong, wrong[:3])


def own_time():
    """Processor time of this process and of those that it has waited for."""
    return sum(os.times()[:4])


class Clock:
    """Prints how fast something was and what it cost, for docs/bulk.md; no check depends on it. `busy` tells processor time."""

    def __init__(self, what, count, busy=own_time):
        self.what, self.count, self.busy = what, count, busy

    def __enter__(self):
        self.start, self.before = time.perf_counter(), self.busy()
        return self

    def __exit__(self, *_):
        seconds, busy = time.perf_counter() - self.start, self.busy() - self.before
        print(f"{self.what}: {self.count} documents in {seconds:.2f} s, {self.count / seconds:.0f} a second, "
              f"{busy / self.count * 1e6:.0f} us of a processor each", flush=True)
