#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The tool within its sandbox: it is bound while it reads documents, and does whatever it does without. Usage:
sandbox.py TOOL. Ends with "N passed, N failed"."""

import os
import pathlib
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"


def run(*arguments, **options):
    done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, check=False, timeout=60, **options)
    return done.returncode, done.stdout, done.stderr


def same(name, *arguments, code=None, **options):
    """A run's outcome, which is the same within the sandbox and without."""
    within = run(*arguments, **options)
    without = run(arguments[0], "--no-sandbox", *arguments[1:], **options)
    check(name, within == without and code in (None, within[0]), (within, without))
    return within


def bound(*arguments):
    """What holds a worker that waits for requests: its system calls, its privileges."""
    with subprocess.Popen([TOOL, "worker", *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as worker:
        worker.stdin.write(b'{"xml":"<a/>"}\n')
        worker.stdin.flush()
        worker.stdout.readline()
        status = pathlib.Path(f"/proc/{worker.pid}/status").read_text().splitlines()
        worker.stdin.close()
    found = dict(line.split(":\t", 1) for line in status if ":\t" in line)
    return found["Seccomp"], found["NoNewPrivs"]


def ways_to_a_file(folder):
    """What is named is read, however it is named; what is below a folder that is gone through as well."""
    invoice = EXAMPLES / "invoice.xml"
    (folder / "below").mkdir()
    (folder / "below/link.xml").symlink_to(invoice)
    (folder / "names").write_text(f"{folder}/below/link.xml\n{invoice}\n")
    same("a link", "verify", "--json", folder / "below/link.xml", code=0)
    same("a link below a folder", "verify", "--json", "-r", folder, code=2)
    same("a list", "verify", "--json", "--files-from", folder / "names", code=0)
    same("standard input", "verify", "--json", "-", input=invoice.read_bytes(), code=0)
    same("more names than are bound", "verify", "--json", "-j", "8", *[invoice] * 300, code=0)
    with open(invoice, "rb") as file:
        same("a descriptor", "verify", "--json", f"/proc/self/fd/{file.fileno()}", pass_fds=[file.fileno()], code=0)
    for name in ("invocie.xml", "", "absent/x.xml"):
        same(f"a wrong name {name}", "verify", EXAMPLES / name, code=2)
    same("a name in this folder", "verify", "invocie.xml", cwd=EXAMPLES, code=2)


def pages(folder):
    """A page is written where it is asked for."""
    expected = run("report", "--html", "--no-sandbox", EXAMPLES / "invoice.xml")[1]
    (folder / "old.html").write_text("old")
    (folder / "elsewhere").mkdir()
    (folder / "link.html").symlink_to(folder / "elsewhere/page.html")
    (folder / "elsewhere/page.html").write_text("old")
    for name in ("new.html", "old.html", "link.html"):
        code = run("report", "--html", "-o", folder / name, EXAMPLES / "invoice.xml")
        check(f"page {name}", code == (0, b"", b"") and (folder / name).read_bytes() == expected, code)
    check("the link stays", (folder / "link.html").is_symlink())
    found = run("report", "--html", "-o", "/dev/stdout", EXAMPLES / "invoice.xml")
    check("page on a device", found == (0, expected, b""), found)


def every_document():
    files = sorted(str(path) for path in EXAMPLES.glob("*") if path.is_file())
    same("all examples", "verify", "--json", "--timestamps", "--jobs", "8", *files)
    same("all examples, explained", "explain", "--jobs", "1", *files)
    for file in files:
        same(f"digest-input {file}", "digest-input", "--signed-info", file)


with tempfile.TemporaryDirectory() as temporary:
    ways_to_a_file(pathlib.Path(temporary))
    pages(pathlib.Path(temporary))
every_document()
sandbox = run("version", "--verbose")[1].decode().splitlines()[-1]
check("version says what there is", sandbox.startswith("sandbox: "), sandbox)
if "seccomp" in sandbox:
    check("bound", bound() == ("2", "1"), bound())
check("not bound", bound("--no-sandbox")[0] == pathlib.Path("/proc/self/status").read_text().split("Seccomp:\t")[1][0])
finish()
