#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Documents with one true cause of failure each, signed by a faulty procedure or damaged after signing,
and what `xmldsig explain` names. At least 95 in 100 must be named, and none by another name.
Usage: explain_causes.py TOOL [--seed N] [--count N] [--keep FOLDER]. Exits with 77 where openssl is
absent; else prints a figure per code and ends with "N passed, N failed"."""

import argparse
import base64
import collections
import hashlib
import hmac
import json
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unicodedata

parser = argparse.ArgumentParser()
parser.add_argument("tool")
parser.add_argument("--seed", type=int, default=1)
parser.add_argument("--count", type=int, default=6, help="documents a cause")
parser.add_argument("--keep", help="folder for the documents; default: one that goes")
options = parser.parse_args()
TOOL = options.tool
DS = "http://www.w3.org/2000/09/xmldsig#"
INCLUSIVE = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315"
EXCLUSIVE = "http://www.w3.org/2001/10/xml-exc-c14n#"
ENVELOPED = f'<ds:Transform Algorithm="{DS}enveloped-signature"/>'
MORE = "http://www.w3.org/2001/04/xmldsig-more#"
METHODS = {"rsa": MORE + "rsa-sha256", "ec": MORE + "ecdsa-sha256", "hmac": MORE + "hmac-sha256",
           "ed": "http://www.w3.org/2021/04/xmldsig-more#eddsa-ed25519"}
SECRET = b"16 octets secret"


def run(*command, data=None):
    done = subprocess.run(command, input=data, capture_output=True, check=False)
    if done.returncode != 0 and command[0] != TOOL:
        sys.exit(f"{command}\n{done.stderr.decode(errors='replace')}")
    return done.stdout


class Maker:
    """One document on its way. Texts are random, so that no two cases share a digest."""

    def __init__(self, rng, folder, turn):
        self.rng, self.folder, self.turn = rng, folder, turn
        self.key = "none"

    def choose(self, alternatives):
        """Each in its turn, so that none is left to chance."""
        return alternatives[self.turn % len(alternatives)]

    def words(self, count=3):
        pool = "invoice amount of the Zürich café order née naïve total paid rest item über".split()
        return " ".join(self.rng.choice(pool) for _ in range(count)) + f" {self.rng.randrange(10**6)}"

    def body(self, indent="", items=None, attributes=""):
        """Some lines of content; without `indent` no white space between tags."""
        end = "\n" if indent else ""
        lines = []
        for i in range(items or self.rng.randrange(2, 5)):
            lines.append(f'{indent * 2}<b:Item xmlns:b="urn:b" no="{i}" code="A{self.rng.randrange(999)}"{attributes}>{end}'
                         f'{indent * 3}<b:Name>{self.words()}</b:Name>{end}{indent * 3}<b:Price cur="EUR">'
                         f'{self.rng.randrange(10**5)}.{self.rng.randrange(10, 99)}</b:Price>{end}{indent * 2}</b:Item>{end}')
        return f'{indent}<Lines>{end}{"".join(lines)}{indent}</Lines>{end}'

    def signature(self, uri="", transforms=ENVELOPED, digest="sha256", canonicalization=EXCLUSIVE, keyinfo="", gap=""):
        return (f'<ds:Signature xmlns:ds="{DS}"><ds:SignedInfo>{gap}<ds:CanonicalizationMethod Algorithm="{canonicalization}"/>{gap}'
                f'<ds:SignatureMethod Algorithm="{METHODS.get(self.key, METHODS["rsa"])}"/>{gap}'
                f'<ds:Reference URI="{uri}"><ds:Transforms>{transforms}</ds:Transforms>'
                f'<ds:DigestMethod Algorithm="http://www.w3.org/2001/04/xmlenc#{digest}"/><ds:DigestValue>@DIGEST@</ds:DigestValue>'
                f'</ds:Reference>{gap}</ds:SignedInfo><ds:SignatureValue>@VALUE@</ds:SignatureValue>{keyinfo}</ds:Signature>')

    def document(self, indent="", **more):
        end = "\n" if indent else ""
        return f'<Doc xmlns="urn:d" xmlns:u="urn:unused">{end}{self.body(indent)}{self.signature(**more)}</Doc>'

    def octets(self, text, *arguments):
        """What the tool digests of a document; the digest in it does not matter to that."""
        path = self.folder / "now.xml"
        path.write_bytes(text.replace("@DIGEST@", "AAAA").replace("@VALUE@", "AAAA").encode())
        return run(TOOL, "digest-input", *arguments, str(path))

    def c14n(self, text, *arguments):
        path = self.folder / "now.xml"
        path.write_bytes(text.encode())
        return run(TOOL, "c14n", *arguments, str(path))

    def digested(self, text, octets, name="sha256", encode=base64.b64encode):
        return text.replace("@DIGEST@", encode(hashlib.new(name, octets).digest()).decode())

    def faulty(self, text, change, *arguments):
        """Signed over changed octets."""
        before = self.octets(text, *arguments)
        after = change(before)
        assert after != before, "the fault changes nothing"
        return self.digested(text, after)

    def damaged(self, text, change):
        """Signed well, changed afterwards."""
        signed = self.digested(text, self.octets(text))
        after = change(signed)
        assert after != signed, "the damage changes nothing"
        return after

    def by_id(self, transforms="", outer='xmlns:s="urn:s" xmlns:t="urn:t"', own="", inner=None):
        """An element with an Id inside of others, the signature beside it."""
        part = f'<Part Id="p"{own}>{self.body() if inner is None else inner}</Part>'
        signature = self.signature("#p", transforms or f'<ds:Transform Algorithm="{INCLUSIVE}"/>')
        return f'<s:Env {outer}><s:Body>{part}</s:Body>{signature}</s:Env>', part


def reindent(octets, unit):
    """Prints a canonical form without white space anew."""
    depth, out = 0, []
    for piece in re.findall(r"<[^>]*>(?:[^<]+</[^>]*>)?", octets.decode()):
        depth -= piece.startswith("</")
        out.append(unit * depth + piece)
        depth += not piece.startswith("</") and "</" not in piece
    return "\n".join(out).encode()


def sub(pattern, replacement, count=0):
    return lambda text: re.sub(pattern, replacement, text, count=count)


# Each makes a document; the names before the first double underscore are the code with "_" for "-".
def line_ends__crlf(m):
    return m.faulty(m.document("  "), lambda o: o.replace(b"\n", b"\r\n"))


def line_ends__references(m):
    return m.faulty(m.document("\t"), lambda o: o.replace(b"\n", b"&#xD;\n"))


def line_ends__added(m):
    return m.damaged(m.document("  "), lambda t: t.replace("\n", "&#13;\n"))


def trailing_whitespace__lines(m):
    return m.damaged(m.document("  "), sub("\n", " \n" if m.rng.randrange(2) else "\t\n"))


def trailing_whitespace__end(m):
    return m.faulty(m.document(), lambda o: o + b"\n")


def trailing_whitespace__stripped(m):
    text = m.document("  ").replace("</Lines>\n", "</Lines>" + m.choose(["   ", "\t", "    "]) + "\n")
    return m.damaged(text, sub("[ \t]+\n", "\n"))


def indentation__added(m):
    return m.damaged(m.document(), lambda t: re.sub(r">(?=<(?!/|ds:))", ">\n  ", t))


def indentation__removed(m):
    unit = m.choose(["  ", "    ", "\t"])
    text = m.document()
    return m.digested(text, reindent(m.octets(text), unit))


def indentation__other(m):
    text = m.document()
    pretty = reindent(m.octets(text), "  ").decode()
    body = m.choose(["    ", "\t"])
    now = reindent(m.octets(text), body).decode()
    signature = re.search("<ds:Signature.*", text).group().replace("</Doc>", "")
    return m.digested(now.replace("</Doc>", signature + "</Doc>"), pretty.encode())


def whitespace__between(m):
    return m.damaged(m.document(), sub("><b:", "> <b:"))


def whitespace__texts(m):
    return m.faulty(m.document().replace("<b:Name>", "<b:Name>  "), lambda o: o.replace(b">  ", b">"))


def whitespace__signature(m):
    return m.damaged(m.document(), sub("(<ds:Signature .*</ds:Signature>)", r"\n\1\n"))


def declaration_included(m):
    head = m.choose(['<?xml version="1.0" encoding="UTF-8"?>', '<?xml version="1.0" encoding="utf-8"?>\n'])
    return head + m.faulty(m.document(), lambda o: head.encode() + o)


def byte_order_mark(m):
    return m.faulty(m.document(), lambda o: b"\xef\xbb\xbf" + o)


def charset__single(m):
    return m.faulty(m.document().replace("<Lines>", "<Lines>é"), lambda o: o.decode().encode(m.choose(["latin-1", "cp1252"])))


def charset__wide(m):
    return m.faulty(m.document(), lambda o: o.decode().encode(m.choose(["utf-16-le", "utf-16-be", "utf-16"])))


def charset__references(m):
    return m.faulty(m.document().replace("<Lines>", "<Lines>é"), lambda o: o.decode().encode("ascii", "xmlcharrefreplace"))


def unicode_normalization(m):
    forms = m.choose([("NFC", "NFD"), ("NFD", "NFC")])
    text = unicodedata.normalize(forms[0], m.document().replace("<Lines>", "<Lines>ắé"))
    return m.damaged(text, lambda t: unicodedata.normalize(forms[1], t))


def other_canonicalization__exclusive(m):
    text = m.document()
    bare = re.sub("<ds:Signature.*</ds:Signature>", "", text)
    return m.digested(text, m.c14n(bare, "--exclusive"))


def other_canonicalization__inclusive(m):
    text = m.document(transforms=ENVELOPED + f'<ds:Transform Algorithm="{EXCLUSIVE}"/>')
    bare = re.sub("<ds:Signature.*</ds:Signature>", "", text)
    return m.digested(text, m.c14n(bare))


def comments(m):
    text = m.document().replace("<Lines>", "<!-- draft --><Lines>")
    bare = re.sub("<ds:Signature.*</ds:Signature>", "", text)
    return m.digested(text, m.c14n(bare, "--with-comments"))


def prefix_list(m):
    listed = f'<ds:Transform Algorithm="{EXCLUSIVE}"><e:InclusiveNamespaces xmlns:e="{EXCLUSIVE}" PrefixList="s t"/></ds:Transform>'
    plain = f'<ds:Transform Algorithm="{EXCLUSIVE}"/>'
    text, _ = m.by_id(listed if m.rng.randrange(2) else plain, outer='xmlns:s="urn:s" xmlns:t="urn:t" xmlns:v="urn:v"')
    bare = re.sub("<ds:Signature.*</ds:Signature>", "", text)
    more = () if listed in text else ("--prefixes", "s t")
    return m.digested(text, m.c14n(bare, "--exclusive", "--id", "p", *more))


def namespace_context__alone(m):
    text, part = m.by_id()
    return m.digested(text, m.c14n(part))


def namespace_context__fewer(m):
    text, part = m.by_id(own=' xmlns:own="urn:own"')
    return m.digested(text, m.c14n(part.replace("<Part", '<Part xmlns:s="urn:s"')))


def namespace_context__more(m):
    text, part = m.by_id()
    more = 'xmlns:s="urn:s" xmlns:t="urn:t" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"'
    return m.digested(text, m.c14n(part.replace("<Part", "<Part " + more)))


def xml_attributes(m):
    text, part = m.by_id(outer='xmlns:s="urn:s" xml:lang="de" xml:space="preserve"')
    return m.digested(text, m.c14n(part.replace("<Part", '<Part xmlns:s="urn:s"')))


def attribute_order(m):
    text = m.document().replace('xmlns:u="urn:unused"', 'xmlns:u="urn:unused" z="1" u:a="2" b="3"')
    if m.choose([True, False]):
        return m.digested(text, re.sub("<ds:Signature.*</ds:Signature>", "", text).encode())
    key = m.choose([lambda a: a.startswith(b" xmlns"), lambda a: a.split(b"=")[0]])
    return m.faulty(text, lambda o: re.sub(b"(<[^ >/]+)( [^>]+)>", lambda t: t[1] + b"".join(
        sorted(re.findall(b' [^ =]+="[^"]*"', t[2]), key=key)) + b">", o))


def attribute_defaults(m):
    doctype = '<!DOCTYPE Doc [<!ATTLIST Doc state CDATA "draft">]>'
    text = doctype + m.document()
    return m.digested(text, m.octets(text.replace(doctype, "")))


def entities__unexpanded(m):
    text = '<!DOCTYPE Doc [<!ENTITY firm "A Company">]>' + m.document().replace("<Lines>", "<Lines>&firm;")
    return m.faulty(text, lambda o: o.replace(b"<Lines>A Company", b"<Lines>&firm;"))


def entities__quotes(m):
    return m.faulty(m.document().replace("<Lines>", '<Lines>"a" &gt; b'), lambda o: o.replace(b'>"a"', b">&quot;a&quot;"))


def lost_characters(m):
    letters = m.choose(["é", "ß", "č", "Ω", "éü"])
    return m.damaged(m.document().replace("<Lines>", f"<Lines>X{letters}Y"), lambda t: t.replace(letters, "?" * len(letters)))


def enveloped_not_removed__unlisted(m):
    text = f'<Doc xmlns="urn:d"><Part Id="p">{m.body()}{m.signature("#p", " ")}</Part></Doc>'
    bare = re.sub("<ds:Signature.*</ds:Signature>", "", text)
    return m.digested(text, m.c14n(bare, "--id", "p"))


def enveloped_not_removed__template(m):
    text = m.document()
    return m.digested(text, m.c14n(text.replace("@DIGEST@", "").replace("@VALUE@", "")))


def enveloped_not_removed__later(m):
    other = m.signature().replace("@DIGEST@", "AAAA").replace("@VALUE@", "AAAA")
    return m.damaged(m.document().replace("</Doc>", "<Tail></Tail></Doc>"), lambda t: t.replace("</Doc>", other + "</Doc>"))


def raw_octets(m):
    text, part = m.by_id(inner=m.body().replace('no="0"', "no = '0'") + "<Empty/>")
    return m.digested(text, part.encode())


def content_only(m):
    text, _ = m.by_id(outer='xmlns:s="urn:s"')
    return m.faulty(text, lambda o: o[o.index(b">") + 1:o.rindex(b"<")])


def decoded_content(m):
    content = m.rng.randbytes(200)
    text, _ = m.by_id(inner=base64.b64encode(content).decode())
    return m.digested(text, content)


def wrong_element(m):
    text, _ = m.by_id()
    text = text.replace("<s:Body>", f'<s:Body><Part Id="q">{m.body()}</Part>')
    bare = re.sub("<ds:Signature.*</ds:Signature>", "", text)
    return m.digested(text, m.c14n(bare, "--id", "q"))


def wrong_element__document(m):
    text, _ = m.by_id()
    return m.digested(text, m.c14n(re.sub("<ds:Signature.*</ds:Signature>", "", text)))


def other_hash(m):
    text = m.document()
    return m.digested(text, m.octets(text), m.choose(["sha1", "sha512", "md5", "sha384"]))


def digest_encoding(m):
    text = m.document()
    encode = m.choose([lambda d: base64.b64encode(d.hex().encode()), lambda d: base64.b64encode(d[:20]) if False else base64.urlsafe_b64encode(d).rstrip(b"="),
                           lambda d: base64.b64encode(base64.b64encode(d)), lambda d: base64.b64encode(d[::-1])])
    return m.digested(text, m.octets(text), encode=encode)


def changed_text__replaced(m):
    return m.damaged(m.document(), lambda t: re.sub(r"\.(\d)", lambda d: "." + str((int(d.group(1)) + 3) % 10), t, count=1))


def changed_text__added(m):
    return m.damaged(m.document(), sub("EUR", "EURO", 1))


def changed_text__removed(m):
    return m.damaged(m.document(), sub("<b:Name>(.*?)[a-z]", r"<b:Name>\1", 1))


def changed_text__swapped(m):
    return m.damaged(m.document().replace("<Lines>", "<Lines>recieve"), sub("recieve", "receive"))


def content_changed(m):
    return m.damaged(m.document(), lambda t: re.sub("<b:Name>.*?</b:Name>", "<b:Name>something else</b:Name>", t, count=1))


def pair__line_ends(m):
    head = '<?xml version="1.0" encoding="UTF-8"?>\n'
    return m.faulty(m.document("  "), lambda o: (head.encode() + o).replace(b"\n", b"\r\n"))


# Signature values: the digest is right, and what is signed or how is not.
def signed(m, kind, change=lambda o: o, sign=None, encode=base64.b64encode, keyinfo=True, key=None, **more):
    m.key = kind
    carried = ""
    if keyinfo and kind != "hmac":
        der = run("openssl", "x509", "-in", str(m.folder / f"{kind}.crt"), "-outform", "DER")
        carried = f"<ds:KeyInfo><ds:X509Data><ds:X509Certificate>{base64.b64encode(der).decode()}</ds:X509Certificate></ds:X509Data></ds:KeyInfo>"
    text = f'<Doc xmlns="urn:d" xmlns:u="urn:unused">{m.body()}{m.signature(keyinfo=carried, **more)}</Doc>'
    text = m.digested(text, m.octets(text))
    before = m.octets(text, "--signed-info")
    value = (sign or SIGN[kind])(m, change(before), key or kind)
    return text.replace("@VALUE@", encode(value).decode())


def with_key(m, octets, key, *arguments):
    path = m.folder / "octets"
    path.write_bytes(octets)
    return run("openssl", "dgst", "-sha256", "-sign", str(m.folder / f"{key}.key"), *arguments, str(path))


def with_curve(m, octets, key):
    der = with_key(m, octets, key)
    first = der[4:4 + der[3]]
    second = der[6 + der[3]:]
    return b"".join(n.lstrip(b"\0").rjust(32, b"\0") for n in (first, second))


def with_message(m, octets, key):
    path = m.folder / "octets"
    path.write_bytes(octets)
    return run("openssl", "pkeyutl", "-sign", "-rawin", "-in", str(path), "-inkey", str(m.folder / f"{key}.key"))


SIGN = {"rsa": with_key, "ec": with_curve, "ed": with_message, "hmac": lambda m, o, key: hmac.new(SECRET, o, "sha256").digest()}


def kinds(m):
    return m.choose(["rsa", "ec", "ed", "hmac"])


def signed_info_line_ends(m):
    return signed(m, kinds(m), lambda o: o.replace(b"\n", b"\r\n"), gap="\n")


def signed_info_whitespace(m):
    return signed(m, kinds(m), lambda o: o.replace(b"\n  ", b""), gap="\n  ")


def signed_info_namespace_context(m):
    return signed(m, kinds(m), sub(rb' xmlns="urn:d"| xmlns:u="urn:unused"', b""), canonicalization=INCLUSIVE)


def signed_info_not_canonicalized(m):
    return signed(m, kinds(m), lambda o: re.sub(rb'(<ds:(?:Can|Sig)[^>]*)></ds:[^>]*>', rb"\1/>", o).replace(b"></ds:Transform>", b"/>").replace(b"></ds:DigestMethod>", b"/>").replace(f' xmlns:ds="{DS}"'.encode(), b""))


def signed_info_other_canonicalization(m):
    return signed(m, kinds(m), sub(b"<ds:SignedInfo xmlns:ds", b'<ds:SignedInfo xmlns="urn:d" xmlns:ds'))


def signed_info_changed(m):
    return signed(m, "rsa", sub(b'URI=""', b'URI="#"'))


def other_signature_hash(m):
    m.key = "rsa"
    return signed(m, "rsa", sign=lambda m, o, key: run("openssl", "dgst", "-sha512", "-sign", str(m.folder / "rsa.key"), data=o))


def other_padding(m):
    return signed(m, "rsa", sign=lambda m, o, key: with_key(m, o, key, "-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:32"))


def reversed_value(m):
    return signed(m, m.choose(["rsa", "ec", "ed"]), encode=lambda v: base64.b64encode(v[::-1]))


def value_encoding(m):
    return signed(m, kinds(m), encode=m.choose([lambda v: base64.b64encode(v.hex().encode()), lambda v: v.hex().encode(), lambda v: base64.b64encode(base64.b64encode(v))]))


def secret_encoding(m):
    return signed(m, "hmac", sign=lambda m, o, key: hmac.new(SECRET.hex().encode(), o, "sha256").digest())


def hash_of_hash(m):
    return signed(m, m.choose(["rsa", "ec", "ed"]), lambda o: hashlib.sha256(o).digest())


def other_key_in_document(m):
    text = signed(m, "rsa", key="other")
    der = run("openssl", "x509", "-in", str(m.folder / "other.crt"), "-outform", "DER")
    return text.replace("</ds:KeyInfo>", f"</ds:KeyInfo><ds:Object><X509Certificate>{base64.b64encode(der).decode()}</X509Certificate></ds:Object>")


def other_given_key(m):
    return signed(m, "rsa", key="given")


CASES = [value for name, value in list(globals().items()) if callable(value) and getattr(value, "__code__", None)
         and value.__code__.co_varnames[:1] == ("m",) and value.__code__.co_argcount == 1 and name not in ("kinds",)]


def code_of(case):
    parts = case.__name__.split("__")
    return (parts[1] if parts[0] == "pair" else parts[0]).replace("_", "-")


def make_keys(folder):
    for name, kind in [("rsa", "rsa:2048"), ("other", "rsa:2048"), ("given", "rsa:2048"), ("ec", "ec"), ("ed", "ed25519")]:
        curve = ["-pkeyopt", "ec_paramgen_curve:P-256"] if kind == "ec" else []
        run("openssl", "req", "-x509", "-newkey", kind, *curve, "-nodes", "-keyout", str(folder / f"{name}.key"),
            "-out", str(folder / f"{name}.crt"), "-subj", f"/CN={name}", "-days", "30")


def main(folder):
    make_keys(folder)
    expected = {}
    for number, case in enumerate(CASES):
        for count in range(options.count):
            rng = random.Random(f"{options.seed} {case.__name__} {count}")
            text = case(Maker(rng, folder, count))
            path = folder / f"{case.__name__}-{count}.xml"
            path.write_bytes(text.replace("@VALUE@", "AAAA").encode())
            expected[str(path)] = case
    report = run(TOOL, "explain", "--json", "--effort", "20", "--jobs", "2", "--cert", str(folder / "given.crt"),
                 "--hmac-key", SECRET.hex(), *expected)
    figures = collections.defaultdict(collections.Counter)
    for line in report.decode().splitlines():
        entry = json.loads(line)
        signature = entry["signatures"][0] if entry["signatures"] else {}
        references = signature.get("references", [])
        cause = next((r["cause"] for r in references if "cause" in r), signature.get("cause", {}))
        if not cause.get("evidence") and cause.get("code") != "content-changed":
            cause = signature.get("cause", {})
        case = expected[entry["file"]]
        named = cause.get("code", "nothing") if entry["status"] == "invalid" else entry["status"]
        verdict = "named" if named == code_of(case) else "not" if named in ("content-changed", "wrong-key", "value-mismatch", "nothing") else "wrongly"
        figures[code_of(case)][verdict] += 1
        if verdict != "named":
            print(f"{case.__name__}: {verdict}: {named} {cause.get('evidence', '')} {entry['error']} ({entry['file']})")
    total = collections.Counter()
    for code, counts in figures.items():
        total.update(counts)
        print(f"{code:36} {counts['named']:3} of {sum(counts.values()):3} named, {counts['wrongly']} wrongly")
    everything = sum(total.values())
    ok = everything == len(expected) and total["named"] * 100 >= 95 * everything and total["wrongly"] == 0
    print(f"{total['named']} of {everything} named, {total['wrongly']} wrongly")
    print("1 passed, 0 failed" if ok else "0 passed, 1 failed")
    return 0 if ok else 1


if shutil.which("openssl") is None:
    print("skipped: openssl is absent")
    sys.exit(77)
if options.keep:
    pathlib.Path(options.keep).mkdir(parents=True, exist_ok=True)
    sys.exit(main(pathlib.Path(options.keep)))
with tempfile.TemporaryDirectory() as made:
    sys.exit(main(pathlib.Path(made)))
