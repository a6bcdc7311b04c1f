#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Steers the terminal by every string that a document, a certificate or a file's name can bring into what the tool
prints. Usage: hostile_strings.py TOOL. Whatever is printed for a reader holds no control character and nothing that
turns the direction of text, and no line of it begins as one that the documents forge; JSON stays one line a file.
Ends with "N passed, N failed"."""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
TOP = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = ("examples/invoice.xml", "examples/orders.xml", "examples/response.xml", "examples/note-enveloping.xml",
             "examples/letter-detached.xml", "examples/transfer-hmac.xml")
# A value or a text of a document: what stands between quotes or tags.
PLACES = re.compile(r'="([^"<]*)"|>([^<>]+)<')
FORGED = "forged.xml: valid"
PAYLOADS = (f"&#13;&#10;{FORGED}&#10;", f"\u009b31m\u0085{FORGED}\u2028{FORGED}\u2029", "\u202eevil\u2066\u200e\u061c\ufeff\U000e0041",
            f"\u007f\u0090q{FORGED}\u009c")
NOT_PRINTED = re.compile("[\0-\x09\x0b-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028\u2029\u202a-\u202e\u2066-\u2069]")
# What is run, and over which of the documents: every n-th.
COMMANDS = ((("verify",), 1), (("verify", "--log"), 1), (("explain",), 16), (("info",), 5))


def variants(text):
    """The document with a payload in one place after the other, in front of what stands there and in its stead."""
    for number, match in enumerate(PLACES.finditer(text)):
        start, end = match.span(1) if match.group(1) is not None else match.span(2)
        payload = PAYLOADS[number % len(PAYLOADS)]
        yield text[:start] + payload + text[start:end] + text[end:]
        yield text[:start] + payload + text[end:]


def run(*arguments, **options):
    done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, check=False, timeout=300, **options)
    return done.returncode, done.stdout, done.stderr


def check_text(what, octets):
    text = octets.decode("utf-8", errors="surrogateescape")
    bad = NOT_PRINTED.search(text)
    check(f"{what}: what steers a terminal", bad is None, bad and text[max(0, bad.start() - 200):bad.end() + 40].encode("unicode_escape"))
    forged = [line for line in text.split("\n") if line.startswith("forged.xml")]
    check(f"{what}: a forged line", not forged, forged)


def check_files(folder, names):
    for command, chosen in COMMANDS:
        each = [[name] for name in names[::chosen]] if command[0] == "info" else [names[::chosen]]
        done = [run(*command, *some, cwd=folder) for some in each]
        printed = b"".join(one[1] for one in done), b"".join(one[2] for one in done)
        check(f"{command}: an outcome", all(one[0] in (0, 1, 2) for one in done), done[0][0])
        check(f"{command}: the strings are printed, escaped", b"evil" in printed[0] + printed[1])
        check_text(f"{command}, output", printed[0])
        check_text(f"{command}, errors", printed[1])
    lines = run("verify", "--json", *names, cwd=folder)[1].decode().split("\n")
    reports = [json.loads(line) for line in lines if line]
    check("a line of JSON each", [report["file"] for report in reports] == names, len(reports))


def certificate(folder, subject):
    """A document whose certificate, made on the spot, has this common name."""
    key, path = folder / "key.pem", folder / "hostile.pem"
    made = subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", key,
                           "-out", path, "-utf8", "-subj", f"/CN={subject}", "-days", "9", "-addext", f"subjectAltName=DNS:{'x' * 9}"],
                          capture_output=True, check=False)
    if made.returncode != 0:
        return None
    return "".join(line for line in path.read_text().splitlines() if not line.startswith("-----"))


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        names = []
        for document in DOCUMENTS:
            for number, text in enumerate(variants((TOP / document).read_text(encoding="utf-8"))):
                names.append(f"{pathlib.Path(document).stem}-{number}.xml")
                (folder / names[-1]).write_text(text, encoding="utf-8", newline="")
        text = (TOP / DOCUMENTS[0]).read_text(encoding="utf-8")
        for number, subject in enumerate(("\x1b]0;x\x07\x1b[2J", f"a\r\n{FORGED}", "\u202eevil\u2028\u009b0m", "<b>&amp;\\x")):
            encoded = certificate(folder, subject)
            if encoded:
                names.append(f"certificate-{number}.xml")
                replaced = re.sub(r"(<(?:ds:)?X509Certificate>)[^<]*", lambda m: m.group(1) + encoded, text)
                (folder / names[-1]).write_text(replaced, encoding="utf-8")
                check_text("certs", run("certs", names[-1], cwd=folder)[2])
                check_text("path", b"".join(run("path", "--anchor", folder / "hostile.pem", folder / "hostile.pem")[1:]))
        for number, bad in enumerate(("\x1b[31m", f"a\n{FORGED}", "\u202e\u0085", "-\x7f")):
            names.append(f"name{number}{bad}.xml")
            (folder / names[-1]).write_text(text, encoding="utf-8")
        check("documents", len(names) > 400, len(names))
        check_files(folder, names)
    finish()


if __name__ == "__main__":
    main()
