# SPDX-License-Identifier: MIT
"""The WebAssembly module for tests: built when VANTREL_WASM is set, else taken when it is there and younger than
the sources. Else the test is skipped, since building takes minutes."""

import os
import pathlib
import shutil
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
SOURCES = ("foundation", "dsig", "api", "bindings", "include", "web", "examples")
SKIPPED = 77


def skip(why):
    print(f"skipped: {why}")
    sys.exit(SKIPPED)


def is_current(results):
    if not all(path.is_file() for path in results):
        return False
    made = min(path.stat().st_mtime for path in results)
    sources = (path for folder in SOURCES for path in (TOP / folder).rglob("*") if path.is_file())
    return all(path.stat().st_mtime <= made for path in sources)


def built(script, *results):
    """Paths of what the script makes."""
    paths = [TOP / "build" / name for name in results]
    if os.environ.get("VANTREL_WASM"):
        done = subprocess.run([TOP / script], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        print(done.stdout, end="")
        if done.returncode == SKIPPED:
            sys.exit(SKIPPED)
        if done.returncode != 0:
            sys.exit(f"{script} failed")
    elif not is_current(paths):
        skip(f"{script} has not been run since the sources changed; VANTREL_WASM=1 runs it here")
    return paths


def program(name):
    found = shutil.which(name)
    if found is None:
        skip(f"{name} is not installed")
    return found
