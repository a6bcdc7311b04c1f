#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Documents that name other files, hosts and programs wherever a document can: the tool, without its sandbox,
opens what the command line names and nothing else, as strace sees it. Usage: opened_files.py TOOL. Ends with
"N passed, N failed"; exits with 77 without strace."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

from checks import check, finish

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
# What the start of any process may open, and how many processors there are.
OF_THE_SYSTEM = re.compile(r"/(etc/ld\.so|lib|usr/lib|sys/devices/system/cpu|sys/kernel/mm/transparent_hugepage|proc/self/maps)")
CALLS = "openat,open,openat2,creat,socket,connect,execve,execveat,fork,vfork,clone,clone3,mkdir,unlink,rename,truncate"
DS = "http://www.w3.org/2000/09/xmldsig#"
NONE = "A" * 27 + "="


def signature(references="", key=""):
    return (f'<Signature xmlns="{DS}"><SignedInfo>'
            '<CanonicalizationMethod Algorithm="http://www.w3.org/TR/2001/REC-xml-c14n-20010315"/>'
            '<SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/>' + references
            + f'</SignedInfo><SignatureValue>AAAA</SignatureValue><KeyInfo>{key}</KeyInfo></Signature>')


def reference(uri, transforms=""):
    return (f'<Reference URI="{uri}"><Transforms>{transforms}</Transforms>'
            f'<DigestMethod Algorithm="{DS}sha1"/><DigestValue>{NONE}</DigestValue></Reference>')


def uris(secret):
    path = secret.resolve()
    return (f"file://{path}", f"file://localhost{path}", str(path), f"../{path.name}", f"%2e%2e/{path.name}",
            f"..%2f{path.name}", f"a/../../{path.name}", f"link/{path.name}", "outside", f"\\\\host\\{path.name}",
            f"//127.0.0.1:9/{path.name}", "http://127.0.0.1:9/x", "ftp://127.0.0.1:9/x", "\x7f/x", f"c:{path}",
            "/dev/stdin", "/proc/self/mem", f"jar:file://{path}!/x", f"|cat {path}", f"data:text/xml,{path}", f"{path}%00.xml")


def documents(secret):
    """(what is tried, the document)"""
    path = secret.resolve()
    plain = signature(reference(""))
    yield "an entity of a file", f'<!DOCTYPE a [<!ENTITY e SYSTEM "file://{path}">]><a>&e;{plain}</a>'
    yield "an entity in an attribute", f'<!DOCTYPE a [<!ENTITY e SYSTEM "{path}">]><a b="&e;">{plain}</a>'
    yield "an entity of a host", f'<!DOCTYPE a [<!ENTITY e SYSTEM "http://127.0.0.1:9/e">]><a>&e;{plain}</a>'
    yield "an unparsed entity", f'<!DOCTYPE a [<!NOTATION n SYSTEM "/bin/sh"><!ENTITY e SYSTEM "{path}" NDATA n>]><a>{plain}</a>'
    yield "a parameter entity", f'<!DOCTYPE a [<!ENTITY % p SYSTEM "file://{path}"> %p;]><a>{plain}</a>'
    yield "an external subset", f'<!DOCTYPE a SYSTEM "{path}"><a>{plain}</a>'
    yield "a public one", f'<!DOCTYPE a PUBLIC "-//A//B//EN" "http://127.0.0.1:9/d.dtd"><a>{plain}</a>'
    yield "a style sheet", f'<?xml-stylesheet type="text/xsl" href="{path}"?><a>{plain}</a>'
    yield "an inclusion", f'<a><x:include xmlns:x="http://www.w3.org/2001/XInclude" href="{path}" parse="text"/>{plain}</a>'
    yield "a schema", ('<a xmlns:s="http://www.w3.org/2001/XMLSchema-instance" '
                       f's:noNamespaceSchemaLocation="{path}" xml:base="{path.parent}/">{plain}</a>')
    sheet = ('<x:stylesheet version="1.0" xmlns:x="http://www.w3.org/1999/XSL/Transform">'
             f'<x:include href="{path}"/><x:template match="/"><x:copy-of select="document(\'{path}\')"/></x:template></x:stylesheet>')
    yield "a transform by XSLT", "<a>" + signature(reference("", (
        f'<Transform Algorithm="http://www.w3.org/TR/1999/REC-xslt-19991116">{sheet}</Transform>'))) + "</a>"
    for call in (f"document('{path}')", f"doc('{path}')", f"unparsed-text('{path}')", f"system('cat {path}')"):
        yield f"XPath's {call}", "<a>" + signature(reference("", (
            f'<Transform Algorithm="http://www.w3.org/TR/1999/REC-xpath-19991116"><XPath>{call}</XPath></Transform>'))) + "</a>"
    for uri in uris(secret):
        if "\x7f" not in uri and "\0" not in uri:
            yield f"a reference to {uri}", "<a>" + signature(reference(uri)) + "</a>"
            yield f"a key at {uri}", "<a>" + signature(reference(""), (
                f'<RetrievalMethod URI="{uri}" Type="{DS}rawX509Certificate"/><KeyName>{uri}</KeyName>')) + "</a>"
            yield f"a manifest that lists {uri}", "<a>" + signature(reference("#m")).replace(
                "</Signature>", f'<Object><Manifest Id="m">{reference(uri)}</Manifest></Object></Signature>') + "</a>"


def traced(folder, *arguments, **options):
    """(exit code, what was opened or tried to, the system's own left out)"""
    trace = folder / "trace"
    done = subprocess.run(["strace", "-f", "-qq", "-y", "-s", "4096", "-e", f"trace={CALLS}", "-o", str(trace), TOOL, *map(str, arguments)],
                          capture_output=True, check=False, timeout=120, **options)
    calls = [line.split(None, 1)[1] for line in trace.read_text(errors="replace").splitlines()]
    started = [call for call in calls if call.startswith("execve(")]
    others = [call for call in calls[1:] if not call.startswith(("clone", "+++", "<..."))]
    names = [re.search(r'"([^"]*)"', call) for call in others]
    foreign = [call for call, name in zip(others, names) if not (name and OF_THE_SYSTEM.match(name.group(1)))]
    return done.returncode, foreign, len(started)


def opens_only(what, folder, allowed, *arguments, **options):
    code, foreign, started = traced(folder, *arguments, **options)
    strange = [call for call in foreign if not any(f'"{name}"' in call for name in allowed)]
    check(f"{what}: {arguments[0]}", code in (0, 1, 2) and not strange and started == 1, (code, strange))


def main():
    if shutil.which("strace") is None or subprocess.run(["strace", "-o", os.devnull, "true"], check=False,
                                                        capture_output=True).returncode != 0:
        print("strace is not there, or may not trace")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "data").mkdir()
        secret = folder / "secret.txt"
        secret.write_text("secret")
        (folder / "data/outside").symlink_to(secret)
        (folder / "data/link").symlink_to(folder)
        (folder / "data/inside.txt").write_text("inside")
        document = folder / "document.xml"
        # The means: what is opened is seen.
        document.write_text("<a>" + signature(reference("inside.txt")) + "</a>")
        inside = [call for call in traced(folder, "verify", "--no-sandbox", "--ref-dir", folder / "data", document)[1]
                  if "inside.txt" in call]
        check("a file that may be opened is seen", inside, inside)
        below = (folder, folder / "data", document)
        for what, text in documents(secret):
            document.write_text(text)
            opens_only(what, folder, below, "verify", "--no-sandbox", "--ref-dir", folder / "data", document)
        document.write_text(next(documents(secret))[1])
        for command in (("explain", "--no-sandbox"), ("report", "--no-sandbox"), ("info",), ("c14n",), ("certs",)):
            opens_only("an entity of a file", folder, below, *command, document)
        request = json.dumps({"xml": "<a>" + signature(reference(f"file://{secret}")) + "</a>"}) + "\n"
        opens_only("a request", folder, (), "worker", "--no-sandbox", input=request.encode())
        package = folder / "package.asice"
        with zipfile.ZipFile(package, "w") as parts:
            parts.writestr("mimetype", "application/vnd.etsi.asic-e+zip")
            parts.writestr("../secret.txt", "x")
            parts.writestr("META-INF/signatures.xml", "<a>" + signature("".join(map(reference, (
                "../secret.txt", str(secret), f"file://{secret}", "%2e%2e/secret.txt")))) + "</a>")
        opens_only("a package", folder, (package,), "verify", "--no-sandbox", package)
    finish()


if __name__ == "__main__":
    main()
