# SPDX-License-Identifier: MIT
"""Certificates, revocation lists, answers, time-stamps and signed notes that openssl makes on the spot, in a
folder that goes when the program ends, and what `xmldsig verify` says of them. For programs of checks whose
first argument is the tool; they end with 77 where openssl is absent."""

import atexit
import base64
import datetime
import hashlib
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

from checks import check

if not shutil.which("openssl"):
    print("skipped: openssl is not installed")
    sys.exit(77)

folder = pathlib.Path(tempfile.mkdtemp())
atexit.register(shutil.rmtree, folder)

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


def openssl(*arguments, data=None):
    done = subprocess.run(("openssl",) + arguments, input=data, capture_output=True, check=False, cwd=folder)
    if done.returncode != 0:
        sys.exit(f"{arguments}\n{done.stderr.decode(errors='replace')}")
    return done.stdout


def moment(days, form="%Y%m%d%H%M%SZ"):
    return (NOW + datetime.timedelta(days=days)).strftime(form)


def issue(name, issuer, extensions, subject=None, days=(-3000, 3000), key=None, bits=2048, digest="sha256"):
    """name.key and name.pem; valid between two days from now; signed by itself without an issuer."""
    if key is None:
        openssl("genrsa", "-out", f"{name}.key", str(bits))
    else:
        shutil.copy(folder / f"{key}.key", folder / f"{name}.key")
    openssl("req", "-new", "-config", "ca.conf", "-key", f"{name}.key", "-subj", f"/CN={subject or name}",
            "-out", f"{name}.csr")
    (folder / "ext").write_text(extensions)
    by = ("-selfsign", "-keyfile", f"{name}.key") if issuer is None else \
        ("-cert", f"{issuer}.pem", "-keyfile", f"{issuer}.key")
    openssl("ca", "-batch", "-config", "ca.conf", "-notext", "-in", f"{name}.csr", "-extfile", "ext", "-startdate",
            moment(days[0]), "-enddate", moment(days[1]), "-rand_serial", "-md", digest, "-out",
            f"{name}.pem", *by)


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
         signed=True, stamped=None, added=None, carried=(), crls=(), answers=(), key_info=None, by=None,
         more=""):
    """An enveloped signature by signer.key over the element whose exclusive canonical form is given. Each part
    is written in its canonical form. `certificate`: one or several that KeyInfo holds, unless `key_info` is what
    it holds; `names`: the certificate of SigningCertificate of that version (covered if `signed`); `stamped`:
    authority and day of a time-stamp, whose token `added` may change; `by`: a signature method and what makes its
    value, in place of signer.key; `more`: further contents of the signature."""
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
            f'<ds:SignatureMethod Algorithm="{by[0] if by else METHODS[method][0]}"></ds:SignatureMethod>{references}</ds:SignedInfo>')
    value = by[1](info.encode()) if by else openssl("dgst", f"-{method}", "-sign", f"{signer}.key", data=info.encode())
    value_element = f'<ds:SignatureValue xmlns:ds="{DS}" Id="value">{b64(value)}</ds:SignatureValue>'
    unsigned = ""
    if stamped:
        token = stamp(value_element.encode(), *stamped)
        token = b64(added(token) if added else token)
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
    more += (f'<ds:Object><x:QualifyingProperties xmlns:x="{XADES}">{properties}<x:UnsignedProperties>'
            f"<x:UnsignedSignatureProperties>{unsigned}</x:UnsignedSignatureProperties></x:UnsignedProperties>"
            "</x:QualifyingProperties></ds:Object>") if properties or unsigned else ""
    if key_info is None:
        held = certificate or signer
        key_info = "<ds:X509Data>" + "".join(f"<ds:X509Certificate>{b64(der_of(one))}</ds:X509Certificate>" for one in (
            (held,) if isinstance(held, str) else held)) + "</ds:X509Data>"
    return (f'<ds:Signature xmlns:ds="{DS}">{info}{value_element}<ds:KeyInfo>{key_info}</ds:KeyInfo>{more}'
            "</ds:Signature>")


NOTE = "<Note><To>alice</To><Sum>10</Sum></Note>"


def note(signer, **how):
    return NOTE.replace("</Note>", sign(signer, NOTE, **how) + "</Note>")


def expect(name, document, options, refusals, problem=None, **more):
    """Refusals None: accepted. `problem`: the first of `trust`; `more`: other members of the signature. Options with
    blanks inside come as a tuple."""
    arguments = options.split() if isinstance(options, str) else options
    path = folder / "document.xml"
    path.write_text(document)
    done = subprocess.run([TOOL, "verify", "--json", *arguments, str(path)], capture_output=True, text=True,
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
    text = subprocess.run([TOOL, "verify", *arguments, str(path)], capture_output=True, text=True, check=False,
                          cwd=folder)
    line = "    accepted " if accepted else f"    not accepted: {', '.join(refusals[:1])}"
    check(f"{name} ({options}): text", text.returncode == done.returncode and line in text.stdout, text.stdout)


(folder / "ca.conf").write_text(CA_CONFIG.format(dir=folder))
(folder / "index").write_text("")
(folder / "serial").write_text("01\n")
