#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Random documents and expressions: xmlsec1 (libxml2) signs what an XPath transform selects of them and a canonicalization
writes, and the tool must find the same octets. xpath_random.py TOOL [--count 300] [--seed 2].
Exits with 77 where xmlsec1 is missing.

Left out is where the peer leaves the recommendations: position and size of the context (it evaluates one filter over all
nodes), the axes following and preceding of attributes and namespace nodes, namespace nodes of xmlns="" and that it is
written once, xml: attributes of elements whose parents are not selected, instructions behind a root that is not selected,
Exclusive XML Canonicalization without namespace nodes, and all of XPath Filter 2.0 with subtrees within subtrees. The
corpora have those.
"""

import argparse
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile

from checks import check, finish

parser = argparse.ArgumentParser()
parser.add_argument("tool")
parser.add_argument("--count", type=int, default=300)
parser.add_argument("--seed", type=int, default=2)
asked = parser.parse_args()
if shutil.which("xmlsec1") is None:
    print("skipped: xmlsec1 is not installed")
    sys.exit(77)

DSIG = "http://www.w3.org/2000/09/xmldsig#"
XPATH = "http://www.w3.org/TR/1999/REC-xpath-19991116"
FORMS = ["http://www.w3.org/TR/2001/REC-xml-c14n-20010315", "http://www.w3.org/2006/12/xml-c14n11"]
EXCLUSIVE = "http://www.w3.org/2001/10/xml-exc-c14n#"
AXES = ["self", "child", "parent", "ancestor", "ancestor-or-self", "descendant", "descendant-or-self",
        "following-sibling", "preceding-sibling", "attribute"]
NAMES = ["a", "b", "p:a", "q:b", "*", "node()", "text()", "comment()", "processing-instruction()", "p:*"]
rng = random.Random(asked.seed)


def element(depth):
    """Names in and out of namespaces that are declared anew on the way, attributes, comments, mixed text."""
    tag = rng.choice(["a", "b", "p:a", "q:b"])
    attributes = rng.sample(['x="1"', 'y="2 &lt;"', 'p:x="3"', 'z="4"', 'xmlns:p="urn:p2"', 'xmlns="urn:d"',
                             'xmlns:z="urn:z"'], rng.randrange(4))
    inside = "".join(
        element(depth - 1) if depth and rng.random() < 0.6 else
        rng.choice(["t", " ", "7", "&amp;", "<!--c-->", "<?i d?>", "\n", "12.5"]) for _ in range(rng.randrange(5)))
    return f"<{' '.join([tag, *attributes])}>{inside}</{tag}>"


def step():
    name = rng.choice(NAMES)
    return f"{rng.choice(['child', 'descendant'] if name == 'node()' else AXES)}::{name}"


def path(depth):
    steps = [step() + (f"[{predicate(depth - 1)}]" if depth and rng.random() < 0.4 else "")
             for _ in range(rng.randrange(1, 4))]
    return rng.choice(["", "", "/", "//"]) + "/".join(steps)


def number(depth):
    return rng.choice([lambda: str(rng.randrange(4)), lambda: f"count({path(depth - 1)})", lambda: f"string-length({text(depth - 1)})",
                       lambda: f"sum(//@x) div {rng.randrange(3)}",
                       lambda: f"round(number({path(0)}) * 1.5)", lambda: f"floor(-{rng.randrange(5)} mod 3)"])()


def text(depth):
    return rng.choice([lambda: "'a'", lambda: "name()", lambda: "local-name()", lambda: "namespace-uri()",
                       lambda: f"string({path(max(depth - 1, 0))})", lambda: f"substring(name(), {rng.randrange(3)})",
                       lambda: "normalize-space(.)", lambda: "translate(., 't7', 'T')", lambda: "concat(name(), 'x')"])()


def predicate(depth):
    if depth <= 0:
        return rng.choice(["@x", "self::a", "parent::*", "not(@y)", "true()"])
    return rng.choice([
        lambda: path(depth - 1), lambda: f"not({predicate(depth - 1)})",
        lambda: f"{predicate(depth - 1)} {rng.choice(['and', 'or'])} {predicate(depth - 1)}",
        lambda: f"{number(depth - 1)} {rng.choice(['=', '!=', '<', '>='])} {number(depth - 1)}",
        lambda: f"{path(0)} {rng.choice(['=', '!=', '<'])} {text(0)}", lambda: f"contains({text(0)}, {text(0)})",
        lambda: f"starts-with({text(0)}, 'a')", lambda: f"({path(0)} | {path(0)})", lambda: f"boolean({number(depth - 1)})"])()


def quoted(expression):
    return expression.replace("<", "&lt;").replace(">", "&gt;")


def transforms():
    form = rng.choice(FORMS) + rng.choice(["", "#WithComments"])
    return (f'<Transform Algorithm="{XPATH}"><XPath xmlns:p="urn:p" xmlns:q="urn:q">self::r or {quoted(predicate(3))}</XPath>'
            f'</Transform><Transform Algorithm="{form}"/>')


def template():
    return (f'<r xmlns:p="urn:p" xmlns:q="urn:q">{element(4)}{element(4)}<Signature xmlns="{DSIG}"><SignedInfo>'
            f'<CanonicalizationMethod Algorithm="{EXCLUSIVE}"/><SignatureMethod Algorithm="{DSIG}hmac-sha1"/><Reference URI="">'
            f'<Transforms><Transform Algorithm="{DSIG}enveloped-signature"/>{transforms()}</Transforms>'
            f'<DigestMethod Algorithm="{DSIG}sha1"/><DigestValue/></Reference></SignedInfo><SignatureValue/></Signature></r>')


with tempfile.TemporaryDirectory() as folder:
    key = pathlib.Path(folder, "key.bin")
    key.write_bytes(b"secret")
    documents = {}
    for index in range(asked.count):
        unsigned, signed = pathlib.Path(folder, "unsigned.xml"), pathlib.Path(folder, f"{index}.xml")
        unsigned.write_text(template())
        done = subprocess.run(["xmlsec1", "--sign", "--hmackey", key, "--output", signed, unsigned], capture_output=True,
                              text=True, check=False)
        # What libxml2 does not evaluate is no use as an oracle.
        if done.returncode == 0:
            documents[signed] = signed.read_text()
    listed = subprocess.run([asked.tool, "verify", "--quiet", "--hmac-key-file", key, *documents], capture_output=True, text=True,
                            check=False)
    check("most of them are signed", len(documents) > asked.count * 0.8, len(documents))
    for file, document in documents.items():
        alone = subprocess.run([asked.tool, "verify", "--hmac-key-file", key, file], capture_output=True, text=True,
                               check=False) if listed.returncode else listed
        check(file.name, alone.returncode == 0, document + alone.stdout + alone.stderr)
finish()
