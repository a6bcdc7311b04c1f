#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The wheel for Python, installed where nothing else is. Usage: wheel.py LIBRARY, the library of vantrel_python.
Exits with 77 where venv or pip are missing."""

import base64
import csv
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import venv
import zipfile

from checks import check, finish

LIBRARY = sys.argv[1]
TOP = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = re.compile(r"^```python\n(.*?)^```$", re.M | re.S)


def run(*command, **settings):
    # Nothing of this tree is to be found by way of the environment.
    clean = {name: value for name, value in os.environ.items() if not name.startswith(("PYTHON", "VANTREL", "PIP"))}
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False, env=clean,
                          **settings)


def build(folder):
    done = run(sys.executable, TOP / "bindings/python/build_wheel.py", "--library", LIBRARY, "--output", folder)
    check("the wheel is built", done.returncode == 0, done.stderr)
    return pathlib.Path(folder, done.stdout.strip())


def check_record(wheel):
    """Every member but RECORD itself, with its hash and size."""
    with zipfile.ZipFile(wheel) as archive:
        names = archive.namelist()
        rows = {row[0]: row[1:] for row in csv.reader(archive.read(names[-1]).decode().splitlines())}
        check("RECORD names every member", sorted(rows) == sorted(names) and names[-1].endswith("RECORD"), names)
        for name in names[:-1]:
            octets = archive.read(name)
            digest = base64.urlsafe_b64encode(hashlib.sha256(octets).digest()).decode().rstrip("=")
            check(f"RECORD of {name}", rows[name] == [f"sha256={digest}", str(len(octets))], rows[name])


def new_venv(folder):
    try:
        venv.create(folder, with_pip=True)
    except (subprocess.CalledProcessError, ImportError) as error:
        print(f"skipped: there is no venv with pip here ({error})")
        sys.exit(77)
    return pathlib.Path(folder, "bin/python")


with tempfile.TemporaryDirectory() as place:
    wheel = build(f"{place}/one")
    again = build(f"{place}/two")
    check("the same octets again", wheel.read_bytes() == again.read_bytes())
    check("the tag says which C library", re.search(r"-py3-none-manylinux_2_\d\d_\w+\.whl$", wheel.name), wheel.name)
    check_record(wheel)

    python = new_venv(f"{place}/venv")
    done = run(python, "-m", "pip", "install", "--no-index", "--quiet", wheel)
    check("pip installs it", done.returncode == 0, done.stderr)
    # Beside the examples, as a reader tries it.
    sample = SAMPLE.search((TOP / "docs/python.md").read_text()).group(1)
    done = run(python, "-c", sample, cwd=TOP / "examples")
    check("the first sample of the guide", done.returncode == 0 and "CN=Example Signer" in done.stdout, done)
    for name, code in (("invoice.xml", 0), ("invoice-tampered.xml", 1), ("absent.xml", 2)):
        check(f"python -m vantrel {name}", run(python, "-m", "vantrel", TOP / "examples" / name).returncode == code)
    run(python, "-m", "pip", "uninstall", "--yes", "--quiet", "vantrel")
    check("nothing is left of it", not list(pathlib.Path(place, "venv").rglob("vantrel*")))
finish()
