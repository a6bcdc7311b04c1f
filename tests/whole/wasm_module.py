#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The WebAssembly module against the tool. Usage: wasm_module.py TOOL. The reports of all documents of the tree are
the same, octet for octet, and so are the pages; options and their errors; a module that runs out of memory says so,
wherever that happens, and goes on; what it asks of a system; the samples of docs/web.md. Skipped where there is no
module or no node. Ends with "N passed, N failed"."""

import base64
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from checks import check, finish
from wasm_build import TOP, built, program

TOOL = pathlib.Path(sys.argv[1]).resolve()
EXAMPLES = TOP / "examples"
PACKAGE = built("bindings/wasm/build.sh", "npm/vantrel.wasm")[0].parent
NODE = program("node")
# The clock and random numbers are what it is given; the others are answered with a refusal (verifier.js).
GIVEN = {"clock_time_get", "getentropy", "proc_exit"}
driver = subprocess.Popen([NODE, TOP / "tests/whole/wasm_driver.mjs", PACKAGE], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)


def ask(what, **request):
    driver.stdin.write(json.dumps({"ask": what, **request}, default=str) + "\n")
    driver.stdin.flush()
    return json.loads(driver.stdout.readline())


def tool(*arguments):
    return subprocess.run([TOOL, *arguments], capture_output=True, text=True, check=False).stdout


def documents():
    files = sorted({*EXAMPLES.glob("*.xml"), *(TOP / "tests/vectors").rglob("*.xml"), *(TOP / "fuzz/corpus/verify_fuzz").glob("*")})
    lines = tool("verify", "--json", *files).splitlines()
    check("a line for each document", len(lines) == len(files) > 100, f"{len(lines)} of {len(files)}")
    differing = []
    for file, line in zip(files, lines):
        answer = ask("json", file=file).get("answer", "")
        # A file of the tool has octets only when it could be read to the end.
        differing += [] if answer == line else [f"{file}\n{line}\n{answer}"]
    check("the reports of all documents are those of the tool", not differing, differing[:1])
    print(f"{len(files)} documents")
    for name in ("invoice.xml", "invoice-tampered.xml", "orders.xml", "letter-detached.xml"):
        page = ask("page", file=EXAMPLES / name, title=str(EXAMPLES / name))
        check(f"the page about {name}", page.get("answer") == tool("report", "--html", EXAMPLES / name))


def octets(path, as_what="bytes"):
    return {as_what: base64.b64encode(path.read_bytes()).decode()}


def options():
    keys = EXAMPLES / "keys"
    with tempfile.TemporaryDirectory() as folder:
        changed = pathlib.Path(folder) / "changed.xml"
        changed.write_bytes((EXAMPLES / "invoice.xml").read_bytes().replace(b"118.00", b"119.00"))
        explained = json.loads(ask("json", file=changed, options={"explain": True})["answer"])
        check("a search finds the cause", explained["signatures"][0]["references"][0]["cause"]["code"] == "changed-text", explained)
        der = pathlib.Path(folder) / "signer.der"
        der.write_bytes(base64.b64decode("".join((keys / "signer.pub").read_text().splitlines()[1:-1])))
        forms = [(keys / "signer.pub").read_text(), octets(keys / "signer.pub"), octets(der), octets(der, "octets"), octets(keys / "signer.pem")]
        for i, key in enumerate(forms):
            report = json.loads(ask("json", file=EXAMPLES / "invoice.xml", options={"key": key})["answer"])
            check(f"a key in form {i} is the caller's", "key-from-document" not in report["signatures"][0]["warnings"], report)
    secret = {"hmacKey": (keys / "secret.bin").read_bytes().hex()}
    report = json.loads(ask("json", file=EXAMPLES / "transfer-hmac.xml", options=secret)["answer"])
    check("a secret", report["status"] == "valid", report)
    for wrong, expected in (({"nope": 1}, "no option nope"), ({"key": "x"}, "neither PEM"), ({"key": {"file": "/etc/hostname"}}, "key")):
        answer = ask("json", file=EXAMPLES / "invoice.xml", options=wrong)
        check(f"{wrong} is refused", answer.get("code") == "bad-options" and expected in answer["error"], answer)
    check("a text is no document", ask("text")["code"] == "TypeError")


def memory():
    """In every size of memory up to one that suffices: right or no verdict, and the next document is checked."""
    outcomes = []
    with tempfile.TemporaryDirectory() as folder:
        large = pathlib.Path(folder) / "large.xml"
        large.write_text((EXAMPLES / "orders.xml").read_text().replace("</o:Order>", "</o:Order>" + "<o:Note>.</o:Note>" * 60000, 1))
        for pages in range(0, 220, 3):
            answer = ask("inMemory", file=large, pages=pages)["answer"]
            outcome = answer.get("code") or answer["report"]["status"]
            outcomes.append(outcome)
            # A report that cannot grow has reached its limit, wherever that is.
            says = outcome == "error" and any(word in answer["report"]["error"] for word in ("memory", "reportOctets"))
            check(f"{pages} pages more", outcome in ("valid", "no-memory") or says, answer)
            check(f"goes on after {pages}", answer["goesOn"] == "no-signature", answer)
    check("both ends of the sweep", outcomes[0] != "valid" and outcomes[-1] == "valid", outcomes)
    print("memory:", {outcome: outcomes.count(outcome) for outcome in outcomes})
    answer = ask("faulty", file=EXAMPLES / "orders.xml")
    check("a fault ends one call only", answer.get("answer") == {"code": "stopped", "status": "valid"}, answer)


def system():
    imports = {one["name"] for one in ask("imports")["answer"]}
    print("imports:", ", ".join(sorted(imports)))
    check("the module asks for functions of WASI only", all(one["kind"] == "function" for one in ask("imports")["answer"]))
    check("among them time and random numbers", GIVEN - {"proc_exit"} <= imports, imports)
    version = tool("--version")
    check("the version is the tool's", ask("version")["answer"] in version, version)


def samples():
    """The programs of docs/web.md, each run beside the examples with the package installed."""
    blocks = re.findall(r"^```js\n(.*?)^```$", (TOP / "docs/web.md").read_text(), re.M | re.S)
    check("docs/web.md has samples", len(blocks) > 1)
    for block in blocks:
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "node_modules").mkdir()
            os.symlink(PACKAGE, folder / "node_modules/vantrel")
            os.symlink(EXAMPLES, folder / "examples")
            (folder / "sample.mjs").write_text(block)
            done = subprocess.run([NODE, "sample.mjs"], cwd=folder, capture_output=True, text=True, check=False)
            says = "\n".join(re.findall(r"// prints: (.*)", block))
            check("a sample of docs/web.md", done.returncode == 0 and done.stdout.strip() == says, done.stdout + done.stderr)


documents()
options()
memory()
system()
samples()
driver.stdin.close()
driver.wait()
finish()
