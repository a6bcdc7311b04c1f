#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Signatures with constructs of the recommendations beyond the usual ones, made here over octets that are written out by
hand: recommendations.py TOOL. Each verifies and says what it needed and covers; changed in what is covered, or with the
word that switches this off, it does not. Ends with "N passed, N failed"."""

import base64
import hashlib
import hmac
import json
import pathlib
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL = sys.argv[1]
SECRET = b"secret"
DSIG = "http://www.w3.org/2000/09/xmldsig#"
EXCLUSIVE = "http://www.w3.org/2001/10/xml-exc-c14n#"
INCLUSIVE = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315"
C14N11 = "http://www.w3.org/2006/12/xml-c14n11"
ENVELOPED = DSIG + "enveloped-signature"
XPATH = "http://www.w3.org/TR/1999/REC-xpath-19991116"
FILTER2 = "http://www.w3.org/2002/06/xmldsig-filter2"
POINTER = "http://www.w3.org/2001/04/xmldsig-more/xptr"
HERE = ("count(ancestor-or-self::ds:Signature | here()/ancestor::ds:Signature[1]) &gt; count(ancestor-or-self::ds:Signature)"
        " and not(ancestor-or-self::p:b)")
ROOT = f'<r xmlns:ds="{DSIG}" xmlns:p="u">'
folder = pathlib.Path(tempfile.mkdtemp())


def transform(algorithm, inside=""):
    return f'<Transform Algorithm="{algorithm}">{inside}</Transform>'


def xpath(expression):
    return transform(XPATH, f"<XPath>{expression}</XPath>")


def filters(*pairs):
    # Exclusively canonicalized, each element declares its namespace where it differs from that around it.
    inside = "".join(f'<XPath xmlns="{FILTER2}" Filter="{kind}">{expression}</XPath>' for kind, expression in pairs)
    return transform(FILTER2, inside)


def signed(document, uri, transforms, octets):
    """The document with a signature in place of SIG, whose one reference has the digest of these octets."""
    digest = base64.b64encode(hashlib.sha256(octets.encode()).digest()).decode()
    parts = (f'<CanonicalizationMethod Algorithm="{EXCLUSIVE}"></CanonicalizationMethod>'
             '<SignatureMethod Algorithm="http://www.w3.org/2001/04/xmldsig-more#hmac-sha256"></SignatureMethod>'
             f'<Reference URI="{uri}"><Transforms>{transforms}</Transforms>'
             '<DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#sha256"></DigestMethod>'
             f"<DigestValue>{digest}</DigestValue></Reference></SignedInfo>")
    value = hmac.new(SECRET, f'<SignedInfo xmlns="{DSIG}">{parts}'.encode(), "sha256").digest()
    signature = (f'<Signature xmlns="{DSIG}"><SignedInfo>{parts}<SignatureValue>{base64.b64encode(value).decode()}'
                 "</SignatureValue></Signature>")
    return document.replace("SIG", signature)


def verify(text, *options):
    file = folder / "document.xml"
    file.write_text(text)
    done = subprocess.run([TOOL, "verify", "--json", "--hmac-key", SECRET.hex(), *options, str(file)],
                          capture_output=True, check=False, timeout=60)
    report = json.loads(done.stdout.splitlines()[0])
    return report["signatures"][0]


external = folder / "external.xml"
external.write_text('<?xml version="1.0"?><e b="2" a="1"><!--c-->x</e>')
# name, document, URI, transforms, digested octets, codes, what is covered, what is left out of it, a covered text, options
CASES = (
    ("here", f"{ROOT}<a>x</a><p:b/>SIG</r>", "", xpath(HERE), f"{ROOT}<a>x</a></r>", ["xpath"], "document",
     ["/r/p:b", "/r/Signature"], ">x<", ()),
    ("name", f"{ROOT}<a>x</a><p:b>y</p:b>SIG</r>", "", transform(ENVELOPED) + xpath("not(ancestor-or-self::p:b)"),
     f"{ROOT}<a>x</a></r>", ["xpath"], "document", ["/r/p:b", "/r/Signature"], ">x<", ()),
    ("filter", f"{ROOT}<a>x<p:b/>z</a><c>SIG</c></r>", "", filters(("intersect", "//a"), ("subtract", "//p:b")),
     f'<a xmlns:ds="{DSIG}" xmlns:p="u">xz</a>', ["xpath-filter2"], "element", ["/r/a/p:b"], ">x<", ()),
    ("c14n11", '<r xml:id="i" xml:base="http://e/x/?q"><o xml:base="y/../z/"><a Id="t">x</a></o>SIG</r>', "#t",
     transform(C14N11), '<a Id="t" xml:base="http://e/x/z/">x</a>', ["c14n11"], "element", [], ">x<", ()),
    ("comments", "<r><a Id='t'>x<!--c--><!--d-->y</a>SIG</r>", "#t", transform(INCLUSIVE + "#WithComments"), '<a Id="t">xy</a>',
     ["comment-free"], "element", [], ">x<", ()),
    ("pointer", "<r><a Id='t'>x<!--c-->y<b/></a>SIG</r>", "#xpointer(id('t'))",
     xpath("not(ancestor-or-self::b)") + transform(INCLUSIVE + "#WithComments"), '<a Id="t">x<!--c-->y</a>', ["xpointer", "xpath"], "element",
     ["/r/a/b"], ">x<", ()),
    ("pointer with names", '<r xmlns:q="u"><q:a>x<!--c-->y</q:a><a/>SIG</r>', "#xmlns(p=u)%20xpointer(//none)xpointer(//p:a)",
     transform(INCLUSIVE + "#WithComments"), '<q:a xmlns:q="u">x<!--c-->y</q:a>', ["xpointer"], "element", [], ">x<", ()),
    ("pointer as a transform", "<r><a Id='t'>x</a><b/>SIG</r>", "", transform(POINTER, f'<XPointer xmlns="{POINTER}">xpointer(id("t"))'
     "</XPointer>"), '<a Id="t">x</a>', ["xpointer"], "element", [], ">x<", ()),
    ("external", "<r>SIG</r>", "external.xml", transform(EXCLUSIVE), '<e a="1" b="2">x</e>', ["external-transforms"],
     "external", [], None, ("--ref-data", f"0={external}")),
    ("no attributes", "<r><a k='1'>x</a>SIG</r>", "", transform(ENVELOPED) + xpath("not(self::node()[name() = 'k'])"),
     "<r><a>x</a></r>", ["xpath"], "document", ["/r/a", "/r/Signature"], ">x<", ()),
)
for name, document, uri, transforms, octets, codes, covers, left_out, letter, options in CASES:
    text = signed(document, uri, transforms, octets)
    found = verify(text, *options)
    reference = found["references"][0]
    check(f"{name}: valid", found["status"] == "valid", found)
    check(f"{name}: standards", sorted(found["standards"]) == sorted(codes), found["standards"])
    check(f"{name}: no leniency", not found["accommodations"], found["accommodations"])
    check(f"{name}: covers", reference["covers"] == covers, reference)
    check(f"{name}: leaves out", sorted(x["path"] for x in reference["excluded"]) == sorted(left_out), reference["excluded"])
    partly = name == "no attributes"  # the rest of the element is digested, and not called covered
    check(f"{name}: coverage known", ("coverage-unknown" in found["warnings"]) == partly, found["warnings"])
    check(f"{name}: octets told", reference["octets"] == len(octets), reference)
    check(f"{name}: switched off", verify(text, *options, "--option", "GivenRulesOnly")["status"] == "invalid")
    if letter:
        changed = verify(text.replace(letter, ">w<"), *options) if letter in text else verify(text.replace(">x", ">w"), *options)
        check(f"{name}: changed", changed["status"] == "invalid" and changed["references"][0]["cause"]["code"] == "digest-mismatch",
              changed)
    # The canonical form of all of a document takes no steps over its nodes.
    few = verify(text, *options, "--limit", "xpathSteps=10")
    check(f"{name}: limit", few["status"] == "valid" if name == "external" else few["references"][0]["cause"]["code"] == "limit", few)

# A manifest in the signature is found in a few elements and among many.
plain = signed("<r>SIG</r>", "", transform(ENVELOPED) + transform(EXCLUSIVE), "<r></r>")
for count in (1, 100):
    found = verify(plain.replace("</Signature>", "<Object>" + "<z/>" * count + "<Manifest/></Object></Signature>"))
    check(f"manifest beside {count}", found["status"] == "valid" and "manifest-not-checked" in found["warnings"], found["warnings"])

# What costs too much, or is no expression, fails with a cause, and soon.
many = "<r>" + "<a><b/></a>" * 30_000 + "SIG</r>"
for name, expression in (("nested", "not(" * 50_000), ("following", "count(following::*[following::*]) = 5"),
                         ("variable", "$a"), ("unbound", "self::q:a"), ("function", "system-property('x')")):
    found = verify(signed(many, "", xpath(expression), "<r></r>"), "--limit", "xpathSteps=20000000")
    code = found["references"][0]["cause"]["code"]
    check(f"costly {name}", found["status"] == "invalid" and code == ("limit" if name == "following" else "unsupported-transform"),
          found["references"][0]["cause"])
# What only looks costly ends as any other: chains of // over megabytes, and an expression of one.
large = "<r>" + "<a><b><c><d/></c></b></a>" * 200_000 + "SIG</r>"
for name, document, expression, code in (
        ("chain", large, "//a//b//c//d//*//node()", "digest-mismatch"),
        ("nested chains", large, "//*[.//*[.//*[.//*]]]", "digest-mismatch"),
        ("long expression", many, "not(" + " or ".join(["self::q"] * 100_000) + ")", "unsupported-transform")):
    found = verify(signed(document, "", xpath(expression), "<r></r>"))["references"][0]
    check(f"not costly: {name}", found["cause"]["code"] == code, found["cause"])
finish()
