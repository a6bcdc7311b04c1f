#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What verifications take of memory: files and parts of packages that are larger than what the process may have,
documents whose canonical form is larger than what it may take beside the text, and a request that is longer than any. Usage: memory.py TOOL. Exits
with 77 where openssl or a limit of memory is absent; else ends with "N passed, N failed"."""

import base64
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import zipfile

import signing
from checks import check, finish
from signing import DS, ENVELOPED, EXC, INC, SHA256, ref, signature

try:
    import resource
except ImportError:
    resource = None
if resource is None or not shutil.which("openssl"):
    print("skipped: openssl or a limit of memory is absent")
    sys.exit(77)

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
MB = 1 << 20
LARGE = 320 * MB
MAY_HAVE = 80 * MB  # address space; what is large is four times that


# A process that was forked keeps the peak of the one it came from, so a small one stands between.
RUNNER = """
import os, resource, subprocess, sys
if sys.argv[1] != "0":
    resource.setrlimit(resource.RLIMIT_AS, (int(sys.argv[1]), int(sys.argv[1])))
child = subprocess.Popen(sys.argv[2:])
_, status, usage = os.wait4(child.pid, 0)
print(os.waitstatus_to_exitcode(status), usage.ru_maxrss)
"""


def run(*arguments, limit=0, command=("verify", "--quiet"), stdin=None):
    """The exit code and the peak of resident memory in MB."""
    done = subprocess.run((sys.executable, "-c", RUNNER, str(limit), TOOL, *command, *arguments),
                          capture_output=True, check=True, stdin=stdin)
    code, peak = map(int, done.stdout.splitlines()[-1].split())
    return code, peak / 1024


def ref_to(uri, digest):
    return (f'<Reference URI="{uri}"><DigestMethod Algorithm="{SHA256}"></DigestMethod>'
            f"<DigestValue>{base64.b64encode(digest).decode()}</DigestValue></Reference>")


def zeros(size):
    """The digest of so many of them."""
    piece, digest = bytes(MB), hashlib.sha256()
    for _ in range(size // MB):
        digest.update(piece)
    return digest.digest()


def larger_than_memory(folder):
    digest = zeros(LARGE)
    with open(folder / "large.bin", "wb") as file:
        file.truncate(LARGE)
    document = folder / "detached.xml"
    for name, expected in (("as signed", digest), ("another", bytes(32))):
        document.write_text(signature(ref_to("large.bin", expected)))
        code, peak = run("--ref-dir", str(folder), "--key", str(folder / "pub.pem"), str(document), limit=MAY_HAVE)
        check(f"a detached file, {name}", code == (0 if expected == digest else 1), (code, peak))
        check(f"a detached file, {name}: peak", peak < 32, peak)
    (folder / "large.bin").unlink()
    text = ('<asic:XAdESSignatures xmlns:asic="http://uri.etsi.org/02918/v1.2.1#">'
            f'{signature(ref_to("large.bin", digest))}</asic:XAdESSignatures>')
    package = folder / "package.asice"
    with zipfile.ZipFile(package, "w") as archive:
        archive.writestr("mimetype", "application/vnd.etsi.asic-e+zip")
        with archive.open(zipfile.ZipInfo("large.bin"), "w", force_zip64=True) as member:
            for _ in range(LARGE // MB):
                member.write(bytes(MB))
        archive.writestr("META-INF/signatures.xml", text)
    code, peak = run("--key", str(folder / "pub.pem"), str(package), limit=MAY_HAVE)
    check("a part of a package", code == 0, (code, peak))
    check("a part of a package: peak", peak < 32, peak)


def larger_form(folder):
    """A text that is held once, with canonical forms of twice its size, some of which do not match."""
    line = "<p:a><q:b x=\"1\">text</q:b></p:a>"
    space = ' xmlns:p="urn:example:of:some:length:p" xmlns:q="urn:example:of:some:length:q"'
    inner = line * (24 * MB // len(line))
    exclusive = inner.replace("<p:a>", '<p:a xmlns:p="urn:example:of:some:length:p">').replace(
        "<q:b ", '<q:b xmlns:q="urn:example:of:some:length:q" ')
    listed = (f'<Transform Algorithm="{EXC}"><InclusiveNamespaces xmlns="{EXC}" PrefixList="p q">'
              "</InclusiveNamespaces></Transform>")
    forms = {
        "inclusive": (f"<r{space}>{inner}</r>", INC),
        "exclusive": (f"<r>{exclusive}</r>", EXC),
        "exclusive with a list": (f"<r{space}>{inner}</r>", listed),
        "another": ("<r></r>", EXC),
    }
    for name, (form, transform) in forms.items():
        document = folder / "enveloped.xml"
        document.write_text(f'<r{space}>{inner}{signature(ref("", form.encode(), ENVELOPED, transform))}</r>')
        size = document.stat().st_size / MB
        code, peak = run("--key", str(folder / "pub.pem"), str(document))
        check(name, code == (1 if name == "another" else 0), code)
        # The text, and 16 octets of structure for each of its elements.
        check(f"{name}: peak", peak < 2.2 * size + 8, (peak, size))


def longer_request(folder):
    """A line of the worker's that is four times as long as any may be; what can be answered is kept, no more."""
    with open(folder / "requests", "wb") as requests:
        requests.truncate(1024 * MB)  # octets of no request, and no end of the line
    with open(folder / "requests", "rb") as requests:
        code, peak = run(command=("worker",), stdin=requests)
    check("a request of a gigabyte", code == 0, code)
    check("a request of a gigabyte: peak", peak < 800, peak)


with tempfile.TemporaryDirectory() as name:
    signing.begin(pathlib.Path(name))
    larger_than_memory(pathlib.Path(name))
    larger_form(pathlib.Path(name))
    longer_request(pathlib.Path(name))
finish()
