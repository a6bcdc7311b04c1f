#!/usr/bin/env python3
"""Whom and what `xmldsig verify` accepts: documents signed here, under certificates, revocation lists
and time-stamps that openssl makes here, each judged by several policies. Usage: acceptance.py TOOL.
Exits with 77 where openssl is absent; else ends with "N passed, N failed"."""

import base64
import datetime
import hashlib
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
DS = "http://www.w3.org/2000/09/xmldsig#"
EXC = "http://www.w3.org/2001/10/xml-exc-c14n#"
XADES = "http://uri.etsi.org/01903/v1.3.2#"
METHODS = {"sha256": ("http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", "http://www.w3.org/2001/04/xmlenc#sha256"),
           "sha1": (f"{DS}rsa-sha1", f"{DS}sha1")}
NOW = datetime.datetime.now(datetime.timezone.utc)
CA_CONFIG = """[ca]
default_ca = here
[here]
database = {dir}/index
new_certs_dir = {dir}
serial = {dir}/serial
default_md = sha256
policy = any
unique_subject = no
[any]
commonName = supplied
[req]
distinguished_name = name
[name]
"""
CA = "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\nsubjectKeyIdentifier=hash\n"
LEAF = "keyUsage=critical,digitalSignature\nsubjectKeyIdentifier=hash\n"
TSA = LEAF + "extendedKeyUsage=critical,timeStamping\n"

folder = pathlib.Path()
def openssl(*arguments, data=None):
    done = subprocess.run(("openssl",) + arguments, input=data, capture_output=True, check=False, cwd=folder)
    if done.returncode != 0:
        sys.exit(f"{arguments}\n{done.stderr.decode(errors='replace')}")
    return done.stdout


def moment(days, form="%Y%m%d%H%M%SZ"):
    return (NOW + datetime.timedelta(days=days)).strftime(form)


def issue(name, issuer, extensions, subject=None, days=(-3000, 3000), key=None):
    """name.key and name.pem; valid between two days from now; signed by itself without an issuer."""
    if key is None:
        openssl("genrsa", "-out", f"{name}.key", "2048")
    else:
        shutil.copy(folder / f"{key}.key", folder / f"{name}.key")
    openssl("req", "-new", "-config", "ca.conf", "-key", f"{name}.key", "-subj", f"/CN={subject or name}",
            "-out", f"{name}.csr")
    (folder / "ext").write_text(extensions)
    by = ("-selfsign", "-keyfile", f"{name}.key") if issuer is None else \
        ("-cert", f"{issuer}.pem", "-keyfile", f"{issuer}.key")
    openssl("ca", "-batch", "-config", "ca.conf", "-notext", "-in", f"{name}.csr", "-extfile", "ext", "-startdate",
            moment(days[0]), "-enddate", moment(days[1]), "-rand_serial", "-out", f"{name}.pem", *by)


def revocation_list(name, issuer, revoked, days):
    """A list of `issuer` on which the certificate `revoked` stands since so many days from now."""
    serial = openssl("x509", "-in", f"{revoked}.pem", "-noout", "-serial").decode().strip().split("=")[1]
    database = folder / "index"
    before = database.read_text()
    database.write_text(f"R\t{moment(3000, '%y%m%d%H%M%SZ')}\t{moment(days, '%y%m%d%H%M%SZ')}\t{serial}\tunknown\t/CN=x\n")
    openssl("ca", "-gencrl", "-config", "ca.conf", "-cert", f"{issuer}.pem", "-keyfile", f"{issuer}.key", "-crldays",
            "30", "-out", f"{name}.crl")
    database.write_text(before)


def answer(name, issuer, certificate, revoked):
    """An OCSP response of `issuer` about a certificate of his, name.ocsp."""
    database = folder / "index"
    before = database.read_text()
    if revoked:
        serial = openssl("x509", "-in", f"{certificate}.pem", "-noout", "-serial").decode().strip().split("=")[1]
        database.write_text(f"R\t{moment(3000, '%y%m%d%H%M%SZ')}\t{moment(-100, '%y%m%d%H%M%SZ')}\t{serial}\tunknown\t/CN=x\n")
    openssl("ocsp", "-index", "index", "-CA", f"{issuer}.pem", "-rsigner", f"{issuer}.pem", "-rkey", f"{issuer}.key",
            "-issuer", f"{issuer}.pem", "-cert", f"{certificate}.pem", "-ndays", "30", "-respout", f"{name}.ocsp")
    database.write_text(before)


def der_of(name):
    return openssl("x509", "-in", f"{name}.pem", "-outform", "DER")


def b64(octets):
    return base64.b64encode(octets).decode()


def der(tag, *contents):
    body = b"".join(contents)
    length = bytes([len(body)]) if len(body) < 128 else bytes([0x82, len(body) >> 8, len(body) & 255])
    return bytes([tag]) + length + body


def stamp(octets, authority, days):
    """A time-stamp token (RFC 3161) over the octets, made so many days from now."""
    sha256 = der(0x30, bytes.fromhex("0609608648016503040201"), b"\x05\x00")
    info = der(0x30, b"\x02\x01\x01", bytes.fromhex("06032a0304"),
               der(0x30, sha256, der(0x04, hashlib.sha256(octets).digest())), b"\x02\x01\x07",
               der(0x18, moment(days).encode()))
    return openssl("cms", "-sign", "-binary", "-nodetach", "-cades", "-md", "sha256", "-econtent_type",
                   "1.2.840.113549.1.9.16.1.4", "-signer", f"{authority}.pem", "-inkey", f"{authority}.key", "-outform",
                   "DER", data=info)


def sign(signer, canonical, *, uri="", method="sha256", hexadecimal=False, certificate=None, names=None, version="V2",
         signed=True, stamped=None, carried=(), crls=(), answers=()):
    """An enveloped signature by signer.key over the element whose exclusive canonical form is given. Each part
    is written in its canonical form. `certificate`: what KeyInfo holds; `names`: the certificate of
    SigningCertificate of that version (covered if `signed`); `stamped`: authority and day of a time-stamp."""
    def digest(octets):
        value = hashlib.new(method, octets.encode()).digest()
        return value.hex() if hexadecimal else b64(value)

    def reference(where, octets, enveloped):
        enveloped = f'<ds:Transform Algorithm="{DS}enveloped-signature"></ds:Transform>' if enveloped else ""
        return (f'<ds:Reference URI="{where}"><ds:Transforms>{enveloped}<ds:Transform Algorithm="{EXC}">'
                f'</ds:Transform></ds:Transforms><ds:DigestMethod Algorithm="{METHODS[method][1]}"></ds:DigestMethod>'
                f"<ds:DigestValue>{digest(octets)}</ds:DigestValue></ds:Reference>")

    references = reference(uri, canonical, True)
    properties = ""
    if names:
        # In the document the prefixes are declared outside; the canonical form has them where they are used.
        cert = (f'<x:SignedSignatureProperties><x:SigningCertificateV2><x:Cert><x:CertDigest><ds:DigestMethod xmlns:ds="{DS}" '
                f'Algorithm="{METHODS["sha256"][1]}"></ds:DigestMethod><ds:DigestValue xmlns:ds="{DS}">'
                f"{b64(hashlib.sha256(der_of(names)).digest())}</ds:DigestValue></x:CertDigest></x:Cert>"
                "</x:SigningCertificateV2></x:SignedSignatureProperties></x:SignedProperties>")
        cert = cert.replace("SigningCertificateV2", f"SigningCertificate{version}")
        properties = f'<x:SignedProperties xmlns:x="{XADES}" Id="props">{cert}'
        references += reference("#props", properties, False) if signed else ""
    info = (f'<ds:SignedInfo xmlns:ds="{DS}"><ds:CanonicalizationMethod Algorithm="{EXC}"></ds:CanonicalizationMethod>'
            f'<ds:SignatureMethod Algorithm="{METHODS[method][0]}"></ds:SignatureMethod>{references}</ds:SignedInfo>')
    value = openssl("dgst", f"-{method}", "-sign", f"{signer}.key", data=info.encode())
    value_element = f'<ds:SignatureValue xmlns:ds="{DS}" Id="value">{b64(value)}</ds:SignatureValue>'
    unsigned = ""
    if stamped:
        token = b64(stamp(value_element.encode(), *stamped))
        unsigned += (f'<x:SignatureTimeStamp><ds:CanonicalizationMethod Algorithm="{EXC}"/>'
                     f"<x:EncapsulatedTimeStamp>{token}</x:EncapsulatedTimeStamp></x:SignatureTimeStamp>")
    if carried:
        unsigned += "<x:CertificateValues>" + "".join(
            f"<x:EncapsulatedX509Certificate>{b64(der_of(one))}</x:EncapsulatedX509Certificate>" for one in carried
        ) + "</x:CertificateValues>"
    if answers:
        unsigned += "<x:RevocationValues><x:OCSPValues>" + "".join(
            f"<x:EncapsulatedOCSPValue>{b64((folder / f'{one}.ocsp').read_bytes())}</x:EncapsulatedOCSPValue>"
            for one in answers) + "</x:OCSPValues></x:RevocationValues>"
    if crls:
        unsigned += "<x:RevocationValues><x:CRLValues>" + "".join(
            "<x:EncapsulatedCRLValue>" + b64(openssl("crl", "-in", f"{one}.crl", "-outform", "DER")) +
            "</x:EncapsulatedCRLValue>" for one in crls) + "</x:CRLValues></x:RevocationValues>"
    more = (f'<ds:Object><x:QualifyingProperties xmlns:x="{XADES}">{properties}<x:UnsignedProperties>'
            f"<x:UnsignedSignatureProperties>{unsigned}</x:UnsignedSignatureProperties></x:UnsignedProperties>"
            "</x:QualifyingProperties></ds:Object>") if properties or unsigned else ""
    return (f'<ds:Signature xmlns:ds="{DS}">{info}{value_element}<ds:KeyInfo><ds:X509Data><ds:X509Certificate>'
            f"{b64(der_of(certificate or signer))}</ds:X509Certificate></ds:X509Data></ds:KeyInfo>{more}</ds:Signature>")


NOTE = "<Note><To>alice</To><Sum>10</Sum></Note>"


def note(signer, **how):
    return NOTE.replace("</Note>", sign(signer, NOTE, **how) + "</Note>")


def expect(name, document, options, refusals, problem=None, **more):
    """Refusals None: accepted. `problem`: the first of `trust`; `more`: other members of the signature."""
    path = folder / "document.xml"
    path.write_text(document)
    done = subprocess.run([TOOL, "verify", "--json", *options.split(), str(path)], capture_output=True, text=True,
                          check=False, cwd=folder)
    if not done.stdout:
        check(name, False, done.stderr)
        return
    report = json.loads(done.stdout)
    signature = report["signatures"][0]
    accepted = refusals is None
    shown = {key: signature.get(key) for key in ("status", "reason", "refusals", "trust", "warnings", *more)}
    check(f"{name} ({options})", done.returncode == (0 if accepted else 1) and report["accepted"] == accepted
          and signature["accepted"] == accepted and signature["refusals"] == report["refusals"] == (refusals or []),
          shown)
    problems = [one["code"] for one in signature.get("trust", {"problems": []})["problems"]]
    check(f"{name} ({options}): problems", (problem in problems) if problem else not problems, shown)
    check(f"{name} ({options}): members", all(signature[key] == value for key, value in more.items()), shown)
    text = subprocess.run([TOOL, "verify", *options.split(), str(path)], capture_output=True, text=True, check=False,
                          cwd=folder)
    line = "    accepted " if accepted else f"    not accepted: {', '.join(refusals[:1])}"
    check(f"{name} ({options}): text", text.returncode == done.returncode and line in text.stdout, text.stdout)


def make_certificates():
    (folder / "ca.conf").write_text(CA_CONFIG.format(dir=folder))
    (folder / "index").write_text("")
    (folder / "serial").write_text("01\n")
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


def try_contents():
    expect("SHA-1", note("signer", method="sha1"), "--require strong", ["weak-algorithm"])
    expect("a hexadecimal digest", note("signer", hexadecimal=True), "--require no-leniency", ["leniency-used"])
    expect("references left out", note("signer"), "--no-references --require all-checked,covered",
           ["not-all-checked", "document-not-covered"])
    expect("a comment in a text", note("signer").replace(">10<", ">1<!-- -->0<"), "--require unambiguous", ["ambiguous"])
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
    global folder
    if not shutil.which("openssl"):
        print("skipped: openssl is not installed")
        return 77
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_certificates()
        for attempt in (try_keys, try_paths, try_times, try_signing_certificates, try_contents):
            attempt()
    return finish()


if __name__ == "__main__":
    sys.exit(main())
