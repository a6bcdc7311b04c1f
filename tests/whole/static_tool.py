#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The static tool, alone in an otherwise empty root folder, as tools/docker/Dockerfile puts it.
Usage: static_tool.py TOOL STATIC_TOOL. Exits with 77 where nobody may change the root folder."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL, STATIC = sys.argv[1:3]
TOP = pathlib.Path(__file__).resolve().parents[2]
if os.geteuid() != 0:
    print("skipped: only root may change the root folder")
    sys.exit(77)


def run(*command):
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False)


dynamic = run("readelf", "-d", STATIC).stdout
check("it needs no library", "NEEDED" not in dynamic, dynamic)
with tempfile.TemporaryDirectory() as root:
    shutil.copy(STATIC, f"{root}/xmldsig")
    shutil.copytree(TOP / "examples", f"{root}/examples")
    names = sorted(path.name for path in (TOP / "examples").glob("*.xml"))
    options = ["--json", "--key", "examples/keys/signer.pem", "--hmac-key-file", "examples/keys/secret.bin", "--ref-dir",
               "examples"]
    files = [f"examples/{name}" for name in names]
    inside = run("chroot", root, "/xmldsig", "verify", *options, *files)
    outside = subprocess.run([TOOL, "verify", *options, *files], capture_output=True, text=True, check=False, cwd=TOP)
    check("one report a file", len(inside.stdout.splitlines()) == len(names) > 3, inside.stderr)
    check("the same reports as outside", (inside.stdout, inside.returncode) == (outside.stdout, outside.returncode))
    done = run("chroot", root, "/xmldsig", "explain", "--jobs", "2", "examples/invoice-tampered.xml", *files)
    check("it searches, by two threads", done.returncode == 1 and "[content-changed]" in done.stdout, done)
    check("it leaves nothing behind", sorted(os.listdir(root)) == ["examples", "xmldsig"], os.listdir(root))
finish()
