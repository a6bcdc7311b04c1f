#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Requests to `xmldsig worker`: thousands in order and as they are done, each option form against the command
line, hostile lines, a document past its time, input that ends in the middle; and the example of docs/bulk.md.
Usage: worker_test.py TOOL. Ends with "N passed, N failed"."""

import base64
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
TOP = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = TOP / "examples"
DS = "http://www.w3.org/2000/09/xmldsig#"
REQUESTS = int(sys.argv[2]) if len(sys.argv) > 2 else 20000

def start(*arguments):
    return subprocess.Popen([TOOL, "worker", *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)


def answers(lines, *arguments):
    """The answers to whole lines of octets; the exit code is checked."""
    with start(*arguments) as worker:
        out, errors = worker.communicate(b"".join(line + b"\n" for line in lines))
    check(f"exit code of {arguments}", worker.returncode == 0, errors)
    check(f"nothing on standard error of {arguments}", errors == b"", errors)
    return [json.loads(line) for line in out.splitlines()]


def line(**members):
    return json.dumps(members).encode()


def verified(*arguments):
    done = subprocess.run([TOOL, "verify", "--json", *arguments], capture_output=True, check=False)
    return [json.loads(text) for text in done.stdout.splitlines()]


def without(answer, *members):
    return {name: value for name, value in answer.items() if name not in members}


def many(folder):
    """Some documents in thousands of requests, handed over in three ways."""
    files = []
    for i in range(60):
        text = (EXAMPLES / ("invoice.xml", "invoice-tampered.xml", "orders.xml")[i % 3]).read_bytes()
        path = folder / f"{i}.xml"
        path.write_bytes(text + b"\n" * i if i % 20 else b"<a>" + b"x" * i)
        files.append(str(path))
    expected = verified(*files)
    lines = []
    for i in range(REQUESTS):
        octets = pathlib.Path(files[i % 60]).read_bytes() if i % 3 else b""
        source = ({"file": files[i % 60]}, {"xml": octets.decode()}, {"base64": base64.b64encode(octets).decode()})[i % 3]
        lines.append(line(id=i, **source))
    for arguments in ([], ["--unordered", "--jobs", "5"], ["--jobs", "1"]):
        found = answers(lines if "1" not in arguments else lines[:500], *arguments)
        ids = [answer["id"] for answer in found]
        check(f"every request is answered once, {arguments}", sorted(ids) == list(range(len(found))) and len(found) in (REQUESTS, 500))
        if "--unordered" not in arguments:
            check(f"in order, {arguments}", ids == sorted(ids))
        wrong = [answer for answer in found
                 if without(answer, "id", "file") != without(expected[answer["id"] % 60], "file")
                 or answer["file"] != ("" if answer["id"] % 3 else files[answer["id"] % 60])]
        check(f"the answers are those of verify --json, {arguments}", not wrong, wrong[:1])


def options():
    """What a request asks for is what the same options on the command line ask for."""
    keys = EXAMPLES / "keys"
    pem = (keys / "signer.pub").read_text()
    der = "".join(pem.splitlines()[1:-1])
    certificate = (keys / "signer.pem").read_text()
    cases = [
        ("invoice.xml", ["--key", str(keys / "signer.pub")], {"key": pem}),
        ("invoice.xml", ["--key", str(keys / "signer.pub")], {"key": [der]}),
        ("invoice.xml", ["--key", str(keys / "signer.pub")], {"key": [{"file": str(keys / "signer.pub")}]}),
        ("invoice.xml", ["--cert", str(keys / "signer.pem")], {"cert": [certificate]}),
        ("invoice.xml", ["--cert", str(keys / "signer.pem")], {"cert": "".join(certificate.splitlines()[1:-1])}),
        ("transfer-hmac.xml", ["--hmac-key-file", str(keys / "secret.bin")], {"hmacKeyFile": {"file": str(keys / "secret.bin")}}),
        ("transfer-hmac.xml", ["--hmac-key", "AAAA", "--hmac-encoding", "base64"], {"hmacKey": "AAAA", "hmacEncoding": "base64"}),
        ("letter-detached.xml", ["--ref-dir", str(EXAMPLES)], {"refDir": [str(EXAMPLES)]}),
        ("letter-detached.xml", ["--ref-data", f"0={EXAMPLES}/letter.txt"], {"refData": f"0={EXAMPLES}/letter.txt"}),
        ("letter-detached.xml", ["--ignore-external"], {"ignoreExternal": True}),
        ("orders.xml", ["--signature", "0", "--no-references"], {"signature": 0, "noReferences": True}),
        ("invoice-tampered.xml", ["--explain", "--effort", "1"], {"explain": True, "effort": 1}),
        ("invoice.xml", ["--limit", "keyOperations=0"], {"limit": ["keyOperations=0"], "key": []}),
    ]
    lines = [line(id=i, file=str(EXAMPLES / name), options=given) for i, (name, _, given) in enumerate(cases)]
    for (name, arguments, given), answer in zip(cases, answers(lines), strict=True):
        check(f"{name} {given}", without(answer, "id") == verified(*arguments, str(EXAMPLES / name))[0], answer)
    # Those of the command line hold where a request says nothing, and can be taken back.
    invoice = str(EXAMPLES / "invoice.xml")
    found = answers([line(id=1, file=invoice), line(id=2, file=invoice, options={"key": None, "noReferences": False})],
                    "--key", str(keys / "ec.pub"), "--no-references")
    check("defaults", without(found[0], "id") == verified("--key", str(keys / "ec.pub"), "--no-references", invoice)[0], found)
    check("defaults taken back", without(found[1], "id") == verified(invoice)[0], found)


def hostile():
    """Lines that are no request: id and a piece of the error of each answer."""
    invoice = str(EXAMPLES / "invoice.xml").encode()
    deep = b"[" * 100000
    cases = [
        (b"", None, None),
        (b" \t\r", None, None),
        (b"x", "absent", "no JSON"),
        (b"[]", "absent", "one of file, xml and base64"),
        (b'{"id":"a\\u00e9", "xml":"<a', "a\u00e9", "no JSON"),
        (b'{"id":[1,{"b":null}], "xml":', [1, {"b": None}], "no JSON"),
        (b'{"xml":"<a/>"', "absent", "no JSON"),
        (b'{"id":1,"more":' + deep, 1, "no JSON"),
        (b'{"id":1,"xml":"<a/>","more":' + deep[:150] + b"]" * 150 + b"}", 1, ""),
        (b'{"id":' + deep, "absent", "no JSON"),
        (b'{"id":1,"xml":"\x00"}', 1, "no JSON"),
        (b'{"id":1,"xml":"<a>\xff</a>"}', 1, "no JSON"),
        (b'{"id":"\xff","xml":"<a/>"}', "absent", "no JSON"),
        (b'{"id":1,"xml":"<a>\\u0000</a>"}', 1, "not well-formed"),
        (b'{"id":1,"xml":"\\ud800"}', 1, "no JSON"),
        (b'{"id":1,"id":2,"xml":"<a/>"}', 1, "id stands twice"),
        (b'{"xml":"<a/>","id":1,"xml":"<b/>"}', 1, "xml stands twice"),
        (b'{"xml":"<a/>","file":"a","id":1}', 1, "one of file"),
        (b'{"file":7,"id":1}', 1, "file"),
        (b'{"file":"a\\u0000b","id":1}', 1, "file"),
        (b'{"file":"-","id":1}', 1, "file"),
        (b'{"base64":"PGEvPg*","id":1}', 1, "base64"),
        (b'{"xml":["<a/>"],"id":1}', 1, "xml is a text"),
        (b'{"xml":"<a/>","timeoutMs":0,"id":1}', 1, "timeoutMs"),
        (b'{"xml":"<a/>","timeoutMs":1e3,"id":1}', 1, "timeoutMs"),
    ]
    cases += [(b'{"file":"%s","id":1,"options":%s}' % (invoice, given), 1, error) for given, error in [
        (b"7", "no JSON object"), (b'{"noSuch":1}', "there is no option noSuch"), (b'{"json":true}', "there is no option json"),
        (b'{"jobs":1}', "there is no option jobs"), (b'{"ignoreExternl":true}', "ignoreExternal is one"),
        (b'{"signature":0,"signature":0}', "signature stands twice"), (b'{"signature":[0,0]}', "takes one value"),
        (b'{"signature":"0"}', "signature takes a number"), (b'{"signature":-1}', "takes a number"), (b'{"noReferences":1}', "true or false"),
        (b'{"noReferences":[]}', "true or false"), (b'{"key":7}', "PEM text"), (b'{"key":{"file":"-"}}', "PEM text"),
        (b'{"key":{"file":"a","b":1}}', "PEM text"), (b'{"key":""}', "PEM text"), (b'{"cert":"AAAA"}', "the option cert: "),
        (b'{"hmacKeyFile":"AAAA"}', "hmacKey takes"), (b'{"hmacEncoding":"rot13"}', "hmacEncoding takes one of hex"),
        (b'{"refDir":["a\\u0000"]}', "refDir takes a text"), (b'{"id":"a","signature":0}', "exclude each other"),
        (b'{"key":{"file":"no/such"}}', "No such file")]]
    cases.append((b'{"id":"last","file":"%s"}' % invoice, "last", ""))
    found = answers([text for text, _, _ in cases])
    told = [case for case in cases if case[2] is not None]
    check("one answer a request, none for blank lines", len(found) == len(told), len(found))
    for (text, identity, error), answer in zip(told, found):
        holds = answer.get("id", "absent") == identity and answer["signatures" if error == "" else "error"] is not None
        holds = holds and (answer["status"] == "error" and error in answer["error"] if error else answer["status"] != "error")
        check(f"hostile {text[:80]}", holds, answer)
    # An id comes back as it was written.
    raw = rb'{"a" :[1.50,-0, 1E2],"b":"\u00e9\/"}'
    done = subprocess.run([TOOL, "worker"], input=b'{"xml":"<a/>", "id": ' + raw + b" }", capture_output=True, check=False)
    check("verbatim", done.stdout.startswith(b'{"id":' + raw + b","), done.stdout)
    # Longer than any request may be; what follows is answered.
    huge = b'{"id":"huge","xml":"' + b"x" * (300 << 20) + b'"}'
    found = answers([huge, line(id=2, xml="<a/>")], "--jobs", "2")
    check("huge line", [(a["id"], a["status"]) for a in found] == [("huge", "error"), (2, "no-signature")] and "longer than" in found[0]["error"], found)


def past_its_time():
    """Work for much longer than the time that the request allows; the verdict is then not told."""
    reference = (f'<Reference URI=""><Transforms><Transform Algorithm="{DS}enveloped-signature"/></Transforms>'
                 f'<DigestMethod Algorithm="{DS}sha1"/><DigestValue>AAAA</DigestValue></Reference>')
    text = (f'<a>{"<b>text</b>" * 30000}<Signature xmlns="{DS}"><SignedInfo>'
            '<CanonicalizationMethod Algorithm="http://www.w3.org/TR/2001/REC-xml-c14n-20010315"/>'
            f'<SignatureMethod Algorithm="{DS}rsa-sha1"/>{reference * 40}</SignedInfo><SignatureValue>AAAA</SignatureValue></Signature></a>')
    found = answers([line(id=1, xml=text, timeoutMs=1), line(id=2, xml=text, timeoutMs=3600000), line(id=3, xml="<a/>")])
    check("past its time", found[0]["status"] == "error" and "timeoutMs" in found[0]["error"] and not found[0]["signatures"], found[0])
    check("in time", found[1]["status"] == "invalid" and len(found[1]["signatures"][0]["references"]) == 40)
    check("the worker goes on", found[2]["status"] == "no-signature")


def conversation(folder):
    """Answers come when they are due, not when some buffer is full; input may end anywhere."""
    pipe = folder / "pipe"
    os.mkfifo(pipe)
    with start("--jobs", "3") as worker:
        for i in range(3):
            worker.stdin.write(line(id=i, xml="<a/>") + b"\n")
            worker.stdin.flush()
            check("one question, one answer", json.loads(worker.stdout.readline())["id"] == i)
        worker.stdin.write(b'{"id":"half","xml":"<a')
        worker.stdin.close()
        rest = worker.stdout.read().splitlines()
        check("input that ends in a request", len(rest) == 1 and json.loads(rest[0])["id"] == "half", rest)
        check("its exit code", worker.wait() == 0)
    for arguments, wanted in (["--unordered"], ["fast", "slow"]), ([], ["slow", "fast"]):
        with start("--jobs", "2", *arguments) as worker:
            worker.stdin.write(line(id="slow", file=str(pipe)) + b"\n" + line(id="fast", xml="<a/>") + b"\n")
            worker.stdin.close()
            order = []
            if arguments:
                order.append(json.loads(worker.stdout.readline())["id"])
            pipe.write_bytes(b"<a/>")
            order += [json.loads(text)["id"] for text in worker.stdout.read().splitlines()]
            check(f"the slow one does not hold up the others, {arguments}", order == wanted, order)
    for arguments in (["--key", "-"], ["a.xml"], ["--jobs", "0"], ["--key", "no/such"]):
        done = subprocess.run([TOOL, "worker", *arguments], input=line(id=1, xml="<a/>"), capture_output=True, check=False)
        check(f"usage {arguments}", done.returncode == 2 and done.stdout == b"" and done.stderr != b"", done)


def documented():
    """The example of docs/bulk.md, run as it stands."""
    code = re.search(r"```python\n(.*?)```", (TOP / "docs/bulk.md").read_text(), re.S)
    if code is None:
        check("docs/bulk.md has an example", False)
        return
    environment = dict(os.environ, PATH=f"{pathlib.Path(TOOL).parent}:{os.environ['PATH']}")
    done = subprocess.run([sys.executable, "-c", code.group(1), *map(str, sorted(EXAMPLES.glob("*.xml")))],
                          capture_output=True, check=False, env=environment, timeout=60)
    expected = [f"{answer['file']}: {answer['status']}" for answer in verified(*map(str, sorted(EXAMPLES.glob("*.xml"))))]
    check("docs/bulk.md", sorted(done.stdout.decode().splitlines()) == sorted(expected), done)


with tempfile.TemporaryDirectory() as name:
    many(pathlib.Path(name))
    options()
    hostile()
    past_its_time()
    conversation(pathlib.Path(name))
    documented()
finish()
