#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Puts the page together: index.html with its style, scripts, samples and the module in it, so that it
works from a disk and from any host. Usage: assemble.py MODULE FOLDER."""

import base64
import hashlib
import pathlib
import re
import sys

WEB = pathlib.Path(__file__).resolve().parent
TOP = WEB.parent
SAMPLES = ("invoice.xml", "invoice-tampered.xml")


def read(path):
    return path.read_bytes().decode("utf-8")


def data_block(name, text):
    """A text that the page's script reads; a browser does nothing with it."""
    if re.search(r"</?script|<!--|\r", text, re.I):
        sys.exit(f"{name} cannot stand in a page as it is")
    return f'<script type="text/plain" id="{name}">{text}</script>\n'


def policy(script):
    """Nothing is loaded or sent, and no script runs but the page's own. The frame with the report has this
    policy on top of its own, which allows one style sheet that differs from report to report; so styles
    cannot be named by their hash here."""
    digest = base64.b64encode(hashlib.sha256(script.encode()).digest()).decode()
    return (f"default-src 'none'; script-src 'sha256-{digest}' 'wasm-unsafe-eval'; worker-src blob:; connect-src 'none'; "
            "style-src 'unsafe-inline'; img-src data:; base-uri 'none'; form-action 'none'")


def main():
    module, folder = map(pathlib.Path, sys.argv[1:3])
    # The worker is a script of the old kind, since modules cannot be loaded from a disk.
    verifier = re.sub(r"^export ", "", read(TOP / "bindings/wasm/verifier.js"), flags=re.M)
    blocks = [data_block("module", base64.b64encode(module.read_bytes()).decode()),
              data_block("verifier", verifier), data_block("worker", read(WEB / "worker.js"))]
    blocks += [data_block(name, read(TOP / "examples" / name)) for name in SAMPLES]
    script = read(WEB / "page.js")
    parts = {"POLICY": policy(script), "STYLE": read(WEB / "style.css"), "DATA": "".join(blocks), "SCRIPT": script}
    page = re.sub(r"@([A-Z]+)@", lambda match: parts[match[1]], read(WEB / "index.html"))
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "index.html").write_bytes(page.encode())
    print(f"{len(page)} octets in {folder / 'index.html'}")


main()
