#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a document may try to be trusted for, and what it may bring along to that end: certificates of somebody
else's key or name, cross certificates, tokens and time-stamps with authorities, lists and answers inside, weak
algorithms along the path. Usage: trust_attacks.py TOOL. Exits with 77 where openssl is absent; else ends with
"N passed, N failed"."""

import hashlib
import json
import random
import subprocess
import sys

from authority import (CA, DS, LEAF, NOTE, TOOL, TSA, answer, b64, der, der_of, expect, folder, issue, note, openssl,
                       revocation_list, sign)
from checks import check, finish

WSSE = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd"
WSU = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd"
TOKEN = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-x509-token-profile-1.0#"
ATTRIBUTE = "060b2a864886f70d01091002"  # 1.2.840.113549.1.9.16.2, but for its last octet


def span(octets, at=0):
    """Where the contents of the DER element that stands there begin and end."""
    length, begin = octets[at + 1], at + 2
    if length > 127:
        begin += length - 128
        length = int.from_bytes(octets[at + 2:begin], "big")
    return begin, begin + length


def contents(octets):
    return octets[slice(*span(octets))]


def parts(octets):
    """The elements inside a DER element."""
    at, end = span(octets)
    found = []
    while at < end:
        after = span(octets, at)[1]
        found.append(octets[at:after])
        at = after
    return found


def message(body):
    return der(0x30, bytes.fromhex("06092a864886f70d010702"), der(0xA0, der(0x30, *body)))


def with_revocation(*choices):
    """Puts revocation data (RFC 5652 10.2.1) into a token."""
    def change(token):
        body = parts(parts(parts(token)[1])[0])
        return message(body[:-1] + [der(0xA1, *choices), body[-1]])
    return change


def with_attribute(number, value):
    """Adds an unsigned attribute to a token's signer."""
    def change(token):
        body = parts(parts(parts(token)[1])[0])
        signer = parts(parts(body[-1])[0])
        attribute = der(0x30, bytes.fromhex(ATTRIBUTE) + bytes([number]), der(0x31, value))
        return message(body[:-1] + [der(0x31, der(0x30, *signer, der(0xA1, attribute)))])
    return change


def list_of(name):
    return openssl("crl", "-in", f"{name}.crl", "-outform", "DER")


def answer_of(name):
    return (folder / f"{name}.ocsp").read_bytes()


def make_certificates():
    issue("root", None, CA)
    issue("sub", "root", CA)
    issue("signer", "sub", LEAF)
    issue("expired", "sub", LEAF, days=(-2000, -500))
    issue("other", None, CA)
    issue("twin", "other", LEAF, subject="mallory", key="signer")
    issue("again", "sub", LEAF, subject="signer renewed", key="signer")
    issue("root2", None, CA, subject="root")  # the name of the anchor, not its key
    issue("leafca", "signer", LEAF)
    issue("tsaroot", None, CA)
    issue("tsa", "tsaroot", TSA)
    issue("tsasub", "tsaroot", CA)
    issue("tsa2", "tsasub", TSA)
    revocation_list("revoked", "sub", "signer", -100)
    revocation_list("tsa-revoked", "tsaroot", "tsa", -2000)
    answer("bad", "sub", "signer", True)


def try_cross_certificates():
    both = {"certificate": ("twin", "signer")}
    document = note("signer", **both, carried=("sub",))
    expect("the second certificate of a key", document, "--anchor root.pem --strict", None, warnings=[])
    report = subprocess.run([TOOL, "verify", "--anchor", "root.pem", "document.xml"], capture_output=True, text=True,
                            check=False, cwd=folder).stdout
    check("the signer's name is that of the trusted certificate", "signer    CN=signer," in report, report)
    expect("the second certificate, which the signer signed for", note("signer", **both, names="signer", carried=("sub",)),
           "--anchor root.pem --strict", None, signingCertificate="match")
    expect("the first certificate, which the signer signed for", note("signer", **both, names="twin", carried=("sub",)),
           "--anchor root.pem", ["not-trusted"], "no-path", signingCertificate="match")
    expect("a certificate among those carried", note("signer", certificate="twin", carried=("again", "sub")),
           "--anchor root.pem", None)
    expect("no certificate that leads to the anchor", note("signer", certificate="twin", carried=("other",)),
           "--anchor root.pem", ["not-trusted"], "no-path")
    expect("another root of the anchor's name", note("signer", carried=("sub", "root2")), "--anchor root2.pem",
           ["not-trusted"], "bad-signature")
    expect("a certificate that a signer issued", note("leafca", carried=("signer", "sub")), "--anchor root.pem",
           ["not-trusted"], "not-a-ca")


def try_somebody_elses_key():
    """DSA: for whoever chooses the generator, the same y is the key to a private number of his own."""
    openssl("genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:1024", "-pkeyopt",
            "dsa_paramgen_q_bits:160", "-out", "dsa.param")
    openssl("genpkey", "-paramfile", "dsa.param", "-out", "dsa.key")
    issue("victim", "sub", LEAF, key="dsa")
    _, p, q, g, y, x = (int.from_bytes(contents(one), "big")
                        for one in parts(openssl("dsa", "-in", "dsa.key", "-outform", "DER")))
    blind = random.randrange(2, q)
    chosen, mine = pow(y, blind, p), pow(blind, -1, q)

    def value_by(generator, private):
        def value(octets):
            once = random.randrange(2, q)
            r = pow(generator, once, p) % q
            s = pow(once, -1, q) * (int.from_bytes(hashlib.sha1(octets).digest(), "big") + private * r) % q
            return r.to_bytes(20, "big") + s.to_bytes(20, "big")
        return value

    def text_of(n):
        return b64(n.to_bytes((n.bit_length() + 7) // 8, "big"))

    def document(generator, private):
        values = "".join(f"<ds:{name}>{text_of(n)}</ds:{name}>" for name, n in (("P", p), ("Q", q), ("G", generator), ("Y", y)))
        return NOTE.replace("</Note>", sign("victim", NOTE, by=(f"{DS}dsa-sha1", value_by(generator, private)),
                            carried=("victim", "sub"),
                            key_info=f"<ds:KeyValue><ds:DSAKeyValue>{values}</ds:DSAKeyValue></ds:KeyValue>") + "</Note>")
    expect("a key with the victim's y", document(chosen, mine), "--anchor root.pem", ["not-trusted"], "no-path",
           status="valid")
    expect("a key with the victim's y, his certificate at hand", document(chosen, mine),
           "--anchor root.pem --cert victim.pem", ["not-trusted"], "no-path", status="valid")
    expect("the victim's own", document(g, x), "--anchor root.pem", None, "weak-algorithm")


def token_note(content, kind, **how):
    """A note whose KeyInfo refers to a security token."""
    token = (f'<ds:Object><w:BinarySecurityToken xmlns:w="{WSSE}" xmlns:u="{WSU}" u:Id="t" ValueType="{TOKEN}{kind}">'
             f"{b64(content)}</w:BinarySecurityToken></ds:Object>")
    key_info = (f'<w:SecurityTokenReference xmlns:w="{WSSE}"><w:Reference URI="#t" ValueType="{TOKEN}{kind}"/>'
                "</w:SecurityTokenReference>")
    return note("signer", key_info=key_info, more=token, **how)


def try_tokens():
    path = der(0x30, der_of("sub"), der_of("signer"))
    expect("a path of certificates", token_note(path, "X509PKIPathv1"), "--anchor root.pem --strict", None)
    expect("one certificate", token_note(der_of("signer"), "X509v3"), "--anchor root.pem", ["not-trusted"], "no-path")
    openssl("crl2pkcs7", "-nocrl", "-certfile", "sub.pem", "-certfile", "signer.pem", "-outform", "DER", "-out", "bag.p7b")
    bag = (folder / "bag.p7b").read_bytes()
    expect("a bag", token_note(bag, "PKCS7"), "--key signer.pem --anchor root.pem", None)
    many = der(0x30, *[der(0x30)] * 101, der_of("sub"), der_of("signer"))
    expect("more than are looked at", token_note(many, "PKCS7"), "--key signer.pem --anchor root.pem", ["not-trusted"],
           "limit")


def try_stamps():
    anchors = "--timestamps --anchor root.pem --anchor tsaroot.pem"
    stamped = {"carried": ("sub",), "stamped": ("tsa", -1000)}
    old = note("expired", **stamped)
    expect("a time-stamp", old, f"{anchors} --require timestamp", None)
    revoked = der(0x30, der(0xA0, der(0x30, list_of("tsa-revoked"))))
    for how, change in (("list", with_revocation(list_of("tsa-revoked"))), ("attribute", with_attribute(24, revoked))):
        expect(f"an authority revoked by a {how} of its own token", note("expired", **stamped, added=change),
               f"{anchors} --require timestamp", ["not-trusted", "no-timestamp"], "expired")
    expect("the same before it was revoked", note("signer", carried=("sub",), stamped=("tsa", -2500),
                                                  added=with_revocation(list_of("tsa-revoked"))),
           f"{anchors} --require timestamp", None)
    fresh = {"carried": ("sub",), "stamped": ("tsa", -50)}
    basic = contents(parts(parts(parts(answer_of("bad"))[1])[0])[1])
    other = der(0xA1, bytes.fromhex("06082b06010505071002"), answer_of("bad"))
    for how, change in (("a list in the token", with_revocation(list_of("revoked"))),
                        ("an answer in the token", with_revocation(other)),
                        ("an answer in an attribute", with_attribute(24, der(0x30, der(0xA1, der(0x30, basic)))))):
        expect(f"a signer revoked by {how}", note("signer", **fresh, added=change), anchors, ["not-trusted"], "revoked")
    below = {"carried": ("sub",), "stamped": ("tsa2", -1000)}
    expect("an authority's authority missing", note("expired", **below), f"{anchors} --require timestamp",
           ["not-trusted", "no-timestamp"], "expired")
    expect("an authority's authority in an attribute", note("expired", **below, added=with_attribute(
        23, der(0x30, der_of("tsasub")))), f"{anchors} --require timestamp", None)


def try_weak_paths():
    issue("weakly", "sub", LEAF, digest="sha1")
    issue("small", "root", CA, bits=1024)
    issue("bysmall", "small", LEAF)
    issue("strongly", "sub", LEAF, subject="weakly", key="weakly")
    issue("weakroot", None, CA, digest="sha1")
    issue("byweakroot", "weakroot", LEAF)
    for signer, carried, whose in (("weakly", ("sub",), "CN=weakly"), ("bysmall", ("small",), "CN=small")):
        document = note(signer, carried=carried)
        expect(f"{whose} is weak", document, "--anchor root.pem", None, "weak-algorithm")
        expect(f"{whose} is weak", document, "--anchor root.pem --strict", ["weak-algorithm"], "weak-algorithm")
        text = subprocess.run([TOOL, "verify", "--anchor", "root.pem", "--strict", "document.xml"], capture_output=True,
                              text=True, check=False, cwd=folder).stdout
        check(f"{whose} is named", f"weak-algorithm: {whose}: its" in text, text)
    expect("a strong certificate beside a weak one", note("weakly", carried=("sub", "strongly")),
           "--anchor root.pem --strict", None)
    expect("the anchor's own signature", note("byweakroot"), "--anchor weakroot.pem --strict", None)


def try_named_keys():
    def named(*names):
        return note("signer", key_info="".join(f"<ds:KeyName>{name}</ds:KeyName>" for name in names))

    expect("a key by its name", named("CN=Signer, O=x"), ("--named-key", "CN=Signer, O=x=signer.pem", "--strict"), None,
           warnings=[], standards=["key-name"])
    text = subprocess.run([TOOL, "verify", "--named-key", "CN=Signer, O=x=signer.pem", "document.xml"], capture_output=True,
                          text=True, check=False, cwd=folder).stdout
    check("the source is told", "from KeyName" in text, text)
    expect("the second of two names, on a line of its own", named("who", "\n  me\n"),
           "--named-key me=signer.pem --named-key who=other.pem --only-key --strict", None, warnings=[])
    for name, options in (("me", "--named-key you=signer.pem"), ("Me", "--named-key me=signer.pem"),
                          ("me", "--named-key me=other.pem")):
        expect("another name or key", named(name), options + " --strict", ["not-valid", "not-vouched"])
    text = subprocess.run([TOOL, "verify", "document.xml"], capture_output=True, text=True, check=False, cwd=folder).stdout
    check("the option is proposed", "--named-key NAME=FILE" in text, text)
    expect("a key of the document's as well", note("signer", key_info="<ds:KeyName>me</ds:KeyName><ds:X509Data>"
           f"<ds:X509Certificate>{b64(der_of('signer'))}</ds:X509Certificate></ds:X509Data>"),
           "--named-key me=signer.pem --strict", None)
    pem = (folder / "signer.pem").read_text()
    here = {"file": str(folder / "signer.pem")}
    requests = [{"xml": named("me"), "options": {"namedKey": key, "strict": True}} for key in (
        {"name": "me", "key": pem}, [{"name": "you", "key": pem}, {"key": here, "name": "me"}], f"me={here['file']}", {"name": "me"}, {"name": "", "key": pem}, {"name": "me", "key": pem, "more": 1}, "me", {"name": "me", "name ": "a"})]
    done = subprocess.run([TOOL, "worker"], input="".join(json.dumps(one) + "\n" for one in requests), capture_output=True,
                          text=True, check=False)
    answers = [json.loads(line) for line in done.stdout.splitlines()]
    check("named keys in requests", [one.get("accepted", one["status"]) for one in answers] == [True] * 3 + ["error"] * 5,
          done.stdout)


def main():
    make_certificates()
    for attempt in (try_named_keys, try_cross_certificates, try_somebody_elses_key, try_tokens, try_stamps, try_weak_paths):
        attempt()
    return finish()


if __name__ == "__main__":
    sys.exit(main())
