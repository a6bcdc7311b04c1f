#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whom and what `xmldsig verify` accepts: documents signed here, under certificates, revocation lists
and time-stamps that openssl makes here, each judged by several policies. Usage: acceptance.py TOOL.
Exits with 77 where openssl is absent; else ends with "N passed, N failed"."""

import hashlib
import json
import pathlib
import subprocess
import sys

from authority import (CA, LEAF, TOOL, TSA, answer, b64, der_of, expect, folder, issue, moment, note, openssl,
                       revocation_list, sign)
from checks import check, finish


def make_certificates():
    issue("root", None, CA)
    issue("sub", "root", CA)
    issue("signer", "sub", LEAF)
    issue("expired", "sub", LEAF, days=(-2000, -500))
    issue("other", None, CA, subject="sub")
    issue("imitation", "other", LEAF, subject="signer")
    issue("self", None, LEAF)
    issue("twin", "other", LEAF, subject="mallory", key="signer")  # another certificate of the same key
    issue("mail", "sub", LEAF + "extendedKeyUsage=emailProtection\n")
    issue("cipher", "sub", "keyUsage=critical,keyEncipherment\n")
    issue("tsaroot", None, CA)
    issue("tsa", "tsaroot", TSA)
    issue("tsanobody", None, TSA)
    revocation_list("revoked", "sub", "signer", -100)
    revocation_list("expired-revoked", "sub", "expired", -600)
    revocation_list("nothing", "sub", "self", -100)
    revocation_list("root-nothing", "root", "self", -100)
    answer("good", "sub", "signer", False)
    answer("bad", "sub", "signer", True)
    revocation_list("forged", "other", "signer", -100)


def pin(octets):
    return "sha256:" + hashlib.sha256(octets).hexdigest()


def try_keys():
    document = note("signer")
    key = openssl("rsa", "-in", "signer.key", "-pubout", "-outform", "DER")
    (folder / "other.der").write_bytes(openssl("rsa", "-in", "other.key", "-pubout", "-outform", "DER"))
    expect("a pinned key", document, f"--pin {pin(key)}", None, warnings=[])
    expect("a pinned certificate", document, f"--pin {pin(der_of('signer')).upper().replace('SHA', 'sha')}", None)
    expect("a pin of a certificate that is given", document, f"--cert twin.pem --pin {pin(der_of('twin'))}", None)
    expect("another pin", document, f"--pin {pin(b'')}", ["not-pinned"])
    expect("no pin at all", document, "--require pinned", ["not-pinned"])
    expect("strict", document, "--strict", ["not-vouched"])
    expect("strict with the certificate", document, "--strict --key signer.pem", None)
    expect("strict with another key", document, "--strict --key other.der", ["not-vouched"],
           warnings=["key-not-used", "key-from-document"])
    expect("only another key", document, "--only-key --key other.der", ["not-valid"])
    expect("only the right key", document, "--only-key --key signer.pem --strict", None)
    expect("no key", document, "--only-key", ["not-valid"])
    expect("a key of one's own", note("self"), "--strict", ["not-vouched"])
    expect("a key of one's own with an anchor", note("self"), "--strict --anchor root.pem",
           ["not-trusted", "not-vouched"], "no-path")


def x509_data(crl):
    held = "".join(f"<ds:X509Certificate>{b64(der_of(one))}</ds:X509Certificate>" for one in ("signer", "sub"))
    octets = openssl("crl", "-in", f"{crl}.crl", "-outform", "DER")
    return f"<ds:X509Data>{held}<ds:X509CRL>{b64(octets)}</ds:X509CRL></ds:X509Data>"


def try_paths():
    document = note("signer", carried=("sub",))
    expect("a path", document, "--anchor root.pem --strict", None, warnings=[])
    expect("an authority missing", note("signer"), "--anchor root.pem", ["not-trusted"], "no-path")
    expect("an authority given", note("signer"), "--anchor root.pem --cert sub.pem", None)
    expect("the certificate itself an anchor", note("self"), "--anchor self.pem --strict", None)
    expect("trusted without an anchor", document, "--require trusted", ["not-trusted"])
    expect("the right name from another authority", note("imitation", carried=("sub", "other")), "--anchor root.pem",
           ["not-trusted"], "bad-signature")
    expect("expired", note("expired", carried=("sub",)), "--anchor root.pem", ["not-trusted"], "expired")
    expect("expired, at its time", note("expired", carried=("sub",)),
           f"--anchor root.pem --at {moment(-1000, '%Y-%m-%d')}", None)
    expect("before its time", document, f"--anchor root.pem --at {moment(-4000, '%Y-%m-%d')}", ["not-trusted"],
           "not-yet-valid")
    expect("revoked", document, "--anchor root.pem --crl revoked.crl", ["not-trusted"], "revoked")
    expect("revoked by a list that is carried", note("signer", carried=("sub",), crls=("revoked",)),
           "--anchor root.pem", ["not-trusted"], "revoked")
    expect("a list signed with another key", document, "--anchor root.pem --crl forged.crl", None)
    expect("no list", document, "--anchor root.pem --check-revocation", ["not-trusted"], "revocation-unknown")
    expect("all lists", note("signer", carried=("sub",), crls=("nothing",)),
           "--anchor root.pem --check-revocation --crl root-nothing.crl", None)
    for name, refused in (("nothing", None), ("revoked", ["not-trusted"])):
        expect(f"the list {name} in KeyInfo", note("signer", key_info=x509_data(name)),
               "--anchor root.pem --check-revocation --crl root-nothing.crl", refused, refused and "revoked")
    expect("an answer of a responder", note("signer", carried=("sub",), answers=("good",)),
           "--anchor root.pem --check-revocation --crl root-nothing.crl", None)
    expect("revoked by an answer", note("signer", carried=("sub",), answers=("bad",)), "--anchor root.pem",
           ["not-trusted"], "revoked")
    expect("the wrong purpose", note("mail", carried=("sub",)), "--anchor root.pem --purpose documentSigning",
           ["not-trusted"], "extended-key-usage")
    expect("a key that is not for signatures", note("cipher", carried=("sub",)), "--anchor root.pem", ["not-trusted"],
           "key-usage")
    expect("the right purpose", note("mail", carried=("sub",)), "--anchor root.pem --purpose emailProtection", None)


def try_times():
    anchors = "--timestamps --anchor root.pem --anchor tsaroot.pem"
    stamped = {"carried": ("sub", "tsaroot"), "stamped": ("tsa", -1000)}
    expect("expired since the time-stamp", note("expired", **stamped), f"{anchors} --require timestamp", None,
           timestampTrusted=True, warnings=[])
    expect("not asked for", note("expired", **stamped), anchors.replace("--timestamps ", "") + " --require timestamp",
           ["not-trusted", "no-timestamp"], "expired")
    expect("no time-stamp", note("signer", carried=("sub",)), f"{anchors} --require timestamp", ["no-timestamp"])
    expect("expired before the time-stamp", note("expired", carried=("sub",), stamped=("tsa", -100)), anchors,
           ["not-trusted"], "expired")
    expect("revoked after the time-stamp", note("expired", **stamped), f"{anchors} --crl expired-revoked.crl", None)
    expect("revoked before the time-stamp", note("signer", carried=("sub",), stamped=("tsa", -50)),
           f"{anchors} --crl revoked.crl", ["not-trusted"], "revoked")
    expect("an authority that nobody knows", note("expired", carried=("sub",), stamped=("tsanobody", -1000)),
           f"{anchors} --require timestamp", ["not-trusted", "no-timestamp"], "expired")
    expect("a time-stamp that is no concern of the caller's", note("expired", **stamped),
           f"{anchors} --at {moment(0, '%Y-%m-%d')}", ["not-trusted"], "expired")
    twice = note("signer", carried=("sub",), stamped=("tsa", -50))
    start, end = twice.index("<x:SignatureTimeStamp>"), twice.index("<x:CertificateValues>")
    expect("two time-stamps", twice[:start] + 2 * twice[start:end] + twice[end:], f"{anchors} --require unambiguous",
           ["ambiguous"])


def try_signing_certificates():
    expect("the certificate that was signed for", note("signer", names="signer"), "--key signer.pem --strict", None,
           signingCertificate="match")
    expect("the certificate, by the older property", note("signer", names="signer", version=""), "--accept all", None,
           signingCertificate="match")
    expect("another certificate of the same key", note("signer", names="signer", certificate="twin"),
           "--key signer.pem --strict", ["signing-certificate-mismatch"], signingCertificate="mismatch")
    expect("a property that nobody signed", note("signer", names="twin", signed=False), "--accept all", None,
           signingCertificate="absent")
    expect("no property", note("signer"), "--accept all", None, signingCertificate="absent")


def try_bent_readings():
    """Vectors that are valid only as no recommendation reads them, and sound ones beside them."""
    vectors = pathlib.Path(__file__).resolve().parents[1] / "vectors" / "dsig"
    secret = b"a secret of some length".hex()
    for case in [*sorted((vectors / "bent").iterdir()), vectors / "enveloped" / "no-transforms", vectors / "xpath" / "element"]:
        first = (case / "case.vec").read_text().split("\n\n", maxsplit=1)[0]
        expect(case.name, (case / "document.xml").read_text(), f"--key {vectors / 'keys' / 'rsa.pub'} --hmac-key {secret} "
               "--require no-leniency", None if "Accommodations =\n" in f"{first}\n" else ["leniency-used"], status="valid")


def try_contents():
    expect("SHA-1", note("signer", method="sha1"), "--require strong", ["weak-algorithm"])
    expect("a hexadecimal digest", note("signer", hexadecimal=True), "--require no-leniency", ["leniency-used"])
    expect("references left out", note("signer"), "--no-references --require all-checked,covered",
           ["not-all-checked", "document-not-covered"])
    divided = note("signer")
    for pieces in ("1<!-- -->0", "<!--9-->10", "<![CDATA[1]]>0", "<![CDATA[]]>10"):
        expect(f"a text in pieces: {pieces}", divided.replace(">10<", f">{pieces}<"), "--require unambiguous",
               ["ambiguous"] if "--" in pieces else None,
               warnings=["comments-in-text" if "--" in pieces else "cdata-in-text", "key-from-document"])
    for declared, refusals in (("Id ID #IMPLIED", None), ("kind CDATA 'x'", ["ambiguous"])):
        expect(f"a declaration: {declared}", f"<!DOCTYPE Note [<!ATTLIST Other {declared}>]>" + divided,
               "--require unambiguous", refusals, warnings=["dtd-present", "key-from-document"])
    assertion = '<Assertion ID="a1"><Subject>alice</Subject></Assertion>'
    signature = sign("signer", assertion, uri="#a1")
    whole = assertion.replace("</Assertion>", signature + "</Assertion>")
    evil = '<Assertion{}><Subject>mallory</Subject></Assertion>'
    honest = f"<Response>{whole}</Response>"
    for target in ("#a1", "/Response/Assertion", "/Response/Assertion/Subject"):
        expect("an assertion", honest, f"--must-cover {target}", None)
    expect("an assertion, strictly", honest, "--strict --key signer.pem --must-cover #a1", None)
    expect("a session named after the assertion", honest.replace("<Response>", '<Response SessionIndex="a1">'),
           "--require unambiguous --must-cover #a1", None)
    for target in ("document", "#a2", "/Response", "/Other", "/Response/Assertion[2]"):
        expect("what is not covered", honest, f"--must-cover {target}", ["target-not-covered"])
    expect("the document", honest, "--require covered", ["document-not-covered"])
    wrapped = f'<Response>{evil.format(" ID=" + chr(34) + "e" + chr(34))}<Extensions>{whole}</Extensions></Response>'
    for target in ("/Response/Assertion", "#e"):
        expect("a wrapped assertion", wrapped, f"--must-cover {target}", ["target-not-covered"])
    before = f"<Response>{evil.format('')}{whole}</Response>"
    expect("a second assertion", before, "--must-cover /Response/Assertion", ["target-not-covered"])
    expect("the first of two assertions", before, "--must-cover /Response/Assertion[1]", ["target-not-covered"])
    rival = f"<Response><Assertion Key=\"a1\"><Subject>mallory</Subject></Assertion>{whole}</Response>"
    expect("an Id by another attribute", rival, "--require unambiguous --must-cover #a1",
           ["ambiguous", "target-not-covered"])
    inside = whole.replace("</ds:Signature>", "<ds:Object><Evil/></ds:Object></ds:Signature>")
    expect("an object that nobody signed", f"<Response>{inside}</Response>",
           "--must-cover /Response/Assertion/ds:Signature/ds:Object", ["target-not-covered"])
    expect("one digest", note("signer"), "--reference 0 --accept all", ["not-valid"])
    expect("changed", note("signer").replace(">10<", ">99<"), "--key signer.pem --strict --must-cover document",
           ["not-valid", "not-all-checked", "target-not-covered"])
    two = f"<All>{whole}{whole.replace('alice', 'bob').replace('a1', 'b1')}</All>"
    (folder / "two.xml").write_text(two)
    for how, code in (("all", 1), ("any", 0)):
        done = subprocess.run([TOOL, "verify", "--json", "--accept", how, "two.xml"], capture_output=True, text=True,
                              check=False, cwd=folder)
        report = json.loads(done.stdout)
        check(f"--accept {how}", (done.returncode, report["accepted"], report["status"]) == (code, code == 0, "invalid"),
              done.stdout)


def main():
    make_certificates()
    for attempt in (try_keys, try_paths, try_times, try_signing_certificates, try_bent_readings, try_contents):
        attempt()
    return finish()


if __name__ == "__main__":
    sys.exit(main())
