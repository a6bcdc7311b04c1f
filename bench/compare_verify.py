#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Times `xmldsig verify` and `xmlsec1 --verify` side by side on documents made and signed for it.

    compare_verify.py --tool build/release/xmldsig [--sizes 1,16] [--references 1000] [--runs 5]

Prints a Markdown table: processor time of the fastest run and peak memory, of whole processes. The two take turns, so that
both see the same state of the machine.
"""

import argparse
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile

DS = "http://www.w3.org/2000/09/xmldsig#"
INC = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315"
EXC = "http://www.w3.org/2001/10/xml-exc-c14n#"


def reference(uri, *transforms):
    listed = "".join(f'<Transform Algorithm="{t}"/>' for t in transforms)
    return (f'<Reference URI="{uri}"><Transforms>{listed}</Transforms><DigestMethod '
            f'Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"/><DigestValue/></Reference>')


def signature(references, method):
    return (f'<Signature xmlns="{DS}"><SignedInfo><CanonicalizationMethod Algorithm="{method}"/>'
            f'<SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"/>'
            f'{"".join(references)}</SignedInfo><SignatureValue/><KeyInfo><KeyValue/></KeyInfo></Signature>')


def invoice_lines(size, rng):
    """Varied enough that no branch predictor knows them by heart."""
    names = ["Item", "Price", "Quantity", "Description", "Party", "TaxTotal", "Note"]
    out, length = [], 0
    while length < size:
        name = rng.choice(names)
        text = " ".join(rng.choice(["bolt", "M8", "steel &amp; zinc", "delivered", "Stra\u00dfe"])
                        for _ in range(rng.randrange(1, 9)))
        line = (f'  <c:{name} id="L{rng.randrange(10 ** 9)}" unit="{rng.choice(["PCE", "KGM", "MTR"])}">'
                f'<c:Value currency="EUR">{rng.randrange(10 ** 6) / 100}</c:Value>'
                f'<c:Text>{text}</c:Text></c:{name}>\n')
        out.append(line)
        length += len(line)
    return "".join(out)


def enveloped(megabytes, method):
    rng = random.Random(megabytes)
    body = invoice_lines(megabytes << 20, rng)
    return (f'<?xml version="1.0"?>\n<Invoice xmlns="urn:i" xmlns:c="urn:c">\n{body}'
            f'{signature([reference("", DS + "enveloped-signature", method)], method)}</Invoice>')


def many_references(count):
    rng = random.Random(count)
    items = "".join(f'<c:Part Id="p{i}">{invoice_lines(600, rng)}</c:Part>\n' for i in range(count))
    return (f'<?xml version="1.0"?>\n<Batch xmlns="urn:i" xmlns:c="urn:c">\n{items}'
            f'{signature([reference(f"#p{i}", EXC) for i in range(count)], EXC)}</Batch>')


def run_measured(command):
    """Runs in a small process of its own: a child's peak memory counts from its parent's."""
    with open(os.devnull, "wb") as sink:
        process = subprocess.Popen(command, stdout=sink, stderr=sink)
        _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    print(process.returncode, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024)


def measure(command):
    done = subprocess.run([sys.executable, "-S", __file__, "--measure", *command], check=True,
                          capture_output=True, text=True)
    code, seconds, memory = done.stdout.split()
    if code != "0":
        sys.exit(f"{' '.join(command)} gave {code}")
    return float(seconds), float(memory)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--sizes", default="1,16")
    parser.add_argument("--references", default="1000")
    parser.add_argument("--runs", type=int, default=5)
    options = parser.parse_args()
    if not shutil.which("xmlsec1") or not shutil.which("openssl"):
        sys.exit("xmlsec1 and openssl are needed")
    cases = []
    for size in filter(None, options.sizes.split(",")):
        for name, method in (("inclusive", INC), ("exclusive", EXC)):
            cases.append((f"{size} MB enveloped, {name}", enveloped(int(size), method), []))
    for count in filter(None, options.references.split(",")):
        cases.append((f"{count} references by Id", many_references(int(count)),
                      ["--id-attr:Id", "urn:c:Part"]))
    print("| document | xmldsig | xmlsec1 | ratio | memory xmldsig | memory xmlsec1 |")
    print("|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        key, template, signed = folder / "key.pem", folder / "template.xml", folder / "signed.xml"
        subprocess.run(["openssl", "genrsa", "-out", key, "2048"], check=True, capture_output=True)
        for title, text, ids in cases:
            template.write_text(text, encoding="utf-8")
            subprocess.run(["xmlsec1", "--sign", *ids, "--privkey-pem", key, "--output", signed, template],
                           check=True)
            size = signed.stat().st_size / (1 << 20)
            ours, theirs = [], []
            for _ in range(options.runs):
                ours.append(measure([options.tool, "verify", "--quiet", str(signed)]))
                theirs.append(measure(["xmlsec1", "--verify", *ids, str(signed)]))
            (our_time, our_memory), (their_time, their_memory) = min(ours), min(theirs)
            print(f"| {title} ({size:.1f} MB) | {our_time * 1000:.1f} ms | {their_time * 1000:.0f} ms "
                  f"| {their_time / our_time:.0f} | {our_memory:.0f} MB | {their_memory:.0f} MB |", flush=True)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--measure"]:
        run_measured(sys.argv[2:])
    else:
        main()
