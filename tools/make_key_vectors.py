#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the certificates, key values and signed messages of tests/vectors/key_sources with openssl and
xmlsec1; nothing of it is output of the library. Keys that exist there are kept. Run it from anywhere.

The messages are signed over their Body and Timestamp; key information is not covered, so the tests put
the tokens and the KeyInfo of each case in place of @TOKENS@ and @KEYINFO@."""

import base64
import hashlib
import os
import pathlib
import re
import subprocess
import tempfile

OUT = pathlib.Path(__file__).resolve().parents[1] / "tests/vectors/key_sources"
DS = "http://www.w3.org/2000/09/xmldsig#"
MORE = "http://www.w3.org/2001/04/xmldsig-more#"
EXC = "http://www.w3.org/2001/10/xml-exc-c14n#"
OASIS = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-"
WSSE = OASIS + "wssecurity-secext-1.0.xsd"
WSU = OASIS + "wssecurity-utility-1.0.xsd"
SOAP = "http://schemas.xmlsoap.org/soap/envelope/"

KEYS = {
    "root": ["-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048"],
    "signer": ["-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048"],
    "other": ["-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048"],
    "weak": ["-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:1024"],
    "ec": ["-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"],
    "unknown": ["-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:sect283r1"],
}
SIGNER = "/C=XX/O=Example Trading, Inc./OU=Orders+UID=or-7/CN=Key Signer"
# name: key, subject, serial, extensions, valid from, valid until
CERTIFICATES = {
    "root": ("root", "/O=Example/CN=Key Test Root", "0x01", "basicConstraints=critical,CA:TRUE", "2020", "2049"),
    "signer": ("signer", SIGNER, "0xF1E2D3C4B5A69788", "subjectKeyIdentifier=hash", "2020", "2049"),
    "other": ("other", "/C=XX/O=Example/CN=Another Signer", "0x5AC3" + "77" * 17 + "01",
              "subjectKeyIdentifier=hash", "2020", "2049"),
    "negative": ("signer", "/C=XX/CN=Below Zero", "-129", "keyUsage=digitalSignature", "2020", "2049"),
    "weak": ("weak", "/C=XX/CN=Weak and Expired", "0x80", "subjectKeyIdentifier=hash", "2001", "2011"),
    "future": ("signer", "/C=XX/CN=Not Yet", "0x7F", "subjectKeyIdentifier=hash", "2048", "2049"),
    "ec": ("ec", "/C=XX/CN=Curve Signer", "0x0100", "subjectKeyIdentifier=hash", "2020", "2049"),
    "unknown": ("unknown", "/C=XX/CN=Unknown Algorithm", "0x0101", "subjectKeyIdentifier=hash", "2020", "2049"),
}


def run(*arguments, data=b""):
    return subprocess.run(arguments, input=data, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=True).stdout


def b64(data):
    return base64.b64encode(data).decode()


def key(name):
    return str(OUT / f"{name}.key")


def make_keys():
    for name, options in KEYS.items():
        if not pathlib.Path(key(name)).exists():
            run("openssl", "genpkey", *options, "-out", key(name))
            os.chmod(key(name), 0o644)
    if not pathlib.Path(key("dsa")).exists():
        parameters = OUT / "dsa.par"
        run("openssl", "genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:2048",
            "-out", str(parameters))
        run("openssl", "genpkey", "-paramfile", str(parameters), "-out", key("dsa"))
        parameters.unlink()
        os.chmod(key("dsa"), 0o644)


def make_certificate(name, folder):
    """By the `ca` command, the only one that sets both dates."""
    key_name, subject, serial, extensions, start, end = CERTIFICATES[name]
    request = run("openssl", "req", "-new", "-utf8", "-key", key(key_name), "-subj", subject, "-multivalue-rdn")
    if serial.startswith("-"):
        (folder / "extensions").write_text(extensions)
        return run("openssl", "x509", "-req", "-CA", str(folder / "root.pem"), "-CAkey", key("root"), "-set_serial",
                   serial, "-days", "8000", "-extfile", str(folder / "extensions"), data=request)
    (folder / "index").write_text("")
    digits = serial[2:]
    (folder / "serial").write_text(digits.rjust(len(digits) + len(digits) % 2, "0") + "\n")
    (folder / "ca.cnf").write_text(
        f"[ca]\ndatabase={folder}/index\nserial={folder}/serial\nnew_certs_dir={folder}\ndefault_md=sha256\n"
        f"policy=any\nx509_extensions=ext\nunique_subject=no\npreserve=yes\n[any]\ncommonName=supplied\n"
        f"[ext]\n{extensions}\n")
    (folder / "request").write_bytes(request)
    authority = ["-selfsign"] if name == "root" else ["-cert", str(folder / "root.pem")]
    return run("openssl", "ca", "-batch", "-notext", "-name", "ca", "-preserveDN", "-utf8", "-config",
               str(folder / "ca.cnf"), "-keyfile", key("root"), *authority, "-startdate", f"{start}0101000000Z",
               "-enddate", f"{end}0101000000Z", "-in", str(folder / "request"))


def der_sequence(content):
    size = len(content)
    if size < 128:
        return b"\x30" + bytes([size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return b"\x30" + bytes([0x80 | len(length)]) + length + content


def numbers(name):
    """The hexadecimal numbers that openssl prints of a public key, by label."""
    text = run("openssl", "pkey", "-in", key(name), "-pubout", "-text", "-noout").decode()
    found = re.findall(r"^(\w+):\s*\n((?: +[0-9a-f:]+\n)+)", text, flags=re.M)
    return {label: bytes.fromhex(re.sub(r"[\s:]", "", digits)).lstrip(b"\0") for label, digits in found}


def values():
    """Every text that the cases name in braces."""
    out = {}
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        ders = {}
        for name in CERTIFICATES:
            pem = make_certificate(name, folder)
            (folder / f"{name}.pem").write_bytes(pem)
            ders[name] = run("openssl", "x509", "-outform", "DER", data=pem)
            out[name] = b64(ders[name])
            printed = run("openssl", "x509", "-noout", "-serial", data=pem).decode()
            out[name + ".serial"] = str(int(printed.split("=")[1], 16))
        for name in ("signer", "other"):
            info = run("openssl", "pkey", "-in", key(name), "-pubout", "-outform", "DER")
            bits = run("openssl", "rsa", "-in", key(name), "-RSAPublicKey_out", "-outform", "DER")
            out[name + ".spki"] = b64(info)
            out[name + ".pkcs1"] = b64(bits)
            out[name + ".ski"] = b64(hashlib.sha1(bits).digest())
            out[name + ".thumbprint"] = b64(hashlib.sha1(ders[name]).digest())
        # Certificate bags: signed data without signers, as DER and with indefinite lengths.
        bag = folder / "bag.pem"
        bag.write_bytes(b"".join((folder / f"{name}.pem").read_bytes() for name in ("unknown", "other", "signer")))
        out["bag"] = b64(run("openssl", "crl2pkcs7", "-nocrl", "-certfile", str(bag), "-outform", "DER"))
        bag.write_bytes((folder / "unknown.pem").read_bytes())
        out["bag-unusable"] = b64(run("openssl", "crl2pkcs7", "-nocrl", "-certfile", str(bag), "-outform", "DER"))
        # What is no public key.
        out["private.pkcs8"] = b64(run("openssl", "pkcs8", "-topk8", "-nocrypt", "-in", key("weak"), "-outform", "DER"))
        out["private.pkcs1"] = b64(run("openssl", "rsa", "-traditional", "-in", key("weak"), "-outform", "DER"))
        out["private.sec1"] = b64(run("openssl", "ec", "-in", key("ec"), "-outform", "DER"))
        out["private.encrypted"] = b64(run("openssl", "pkcs8", "-topk8", "-passout", "pass:x", "-in", key("weak"),
                                           "-outform", "DER"))
        out["pkcs12"] = b64(run("openssl", "pkcs12", "-export", "-passout", "pass:x", "-inkey", key("weak"), "-in",
                                str(folder / "weak.pem")))
    out["path"] = b64(der_sequence(ders["root"] + ders["other"] + ders["signer"]))
    out["path-of-one"] = b64(der_sequence(ders["signer"]))
    out["path-wrong-end"] = b64(der_sequence(ders["signer"] + ders["other"]))
    out["path-empty"] = b64(der_sequence(b""))
    for name in ("signer", "other"):
        number = numbers(name)["Modulus"]
        out["rsa." + name] = (f"<ds:RSAKeyValue><ds:Modulus>{b64(number)}</ds:Modulus><ds:Exponent>AQAB"
                              "</ds:Exponent></ds:RSAKeyValue>")
    dsa = numbers("dsa")
    parts = (("P", "P"), ("Q", "Q"), ("G", "G"), ("Y", "pub"))
    out["dsa"] = ("<ds:DSAKeyValue>" + "".join(f"<ds:{tag}>{b64(dsa[label])}</ds:{tag}>" for tag, label in parts)
                  + "</ds:DSAKeyValue>")
    point = run("openssl", "pkey", "-in", key("ec"), "-pubout", "-outform", "DER")[-65:]
    out["ec.value"] = ('<ds11:ECKeyValue xmlns:ds11="http://www.w3.org/2009/xmldsig11#"><ds11:NamedCurve '
                       f'URI="urn:oid:1.2.840.10045.3.1.7"/><ds11:PublicKey>{b64(point)}</ds11:PublicKey>'
                       "</ds11:ECKeyValue>")
    for name in ("signer", "other"):
        number = base64.urlsafe_b64encode(numbers(name)["Modulus"]).decode().rstrip("=")
        out["jwk." + name] = f'{{"kty":"RSA","kid":"{name}","n":"{number}","e":"AQAB"}}'
    x, y = (base64.urlsafe_b64encode(half).decode().rstrip("=") for half in (point[1:33], point[33:]))
    out["jwk.ec"] = f'{{"kty":"EC","crv":"P-256","x":"{x}","y":"{y}"}}'
    profile = OASIS + "x509-token-profile-1.0#"
    out["X509v3"] = profile + "X509v3"
    out["X509PKIPathv1"] = profile + "X509PKIPathv1"
    out["SubjectKeyIdentifier"] = profile + "X509SubjectKeyIdentifier"
    out["ThumbprintSHA1"] = "http://docs.oasis-open.org/wss/oasis-wss-soap-message-security-1.1#ThumbprintSHA1"
    return out


def message(name, key_name, method, digest):
    reference = "".join(
        f'<ds:Reference URI="#{target}"><ds:Transforms><ds:Transform Algorithm="{EXC}"/></ds:Transforms>'
        f'<ds:DigestMethod Algorithm="{digest}"/><ds:DigestValue/></ds:Reference>' for target in ("Body-1", "TS-1"))
    text = f"""<?xml version="1.0" encoding="UTF-8"?>
<soap:Envelope xmlns:soap="{SOAP}" xmlns:wsse="{WSSE}" xmlns:wsu="{WSU}">
<soap:Header><wsse:Security soap:mustUnderstand="1">@TOKENS@
<wsu:Timestamp wsu:Id="TS-1"><wsu:Created>2024-05-01T10:00:00Z</wsu:Created></wsu:Timestamp>
<ds:Signature xmlns:ds="{DS}" Id="SIG-1"><ds:SignedInfo><ds:CanonicalizationMethod Algorithm="{EXC}"/>
<ds:SignatureMethod Algorithm="{method}"/>{reference}</ds:SignedInfo><ds:SignatureValue></ds:SignatureValue>
</ds:Signature></wsse:Security></soap:Header>
<soap:Body wsu:Id="Body-1"><o:Order xmlns:o="urn:example:order"><o:Item>Bolt M8</o:Item></o:Order></soap:Body>
</soap:Envelope>
"""
    ids = ["--id-attr:Id", f"{SOAP}:Body", "--id-attr:Id", f"{WSU}:Timestamp"]
    path = OUT / f"{name}.xml"
    path.write_text(text)
    signed = run("xmlsec1", "--sign", "--privkey-pem", key(key_name), *ids, str(path))
    path.write_bytes(signed.replace(b"</ds:SignatureValue>", b"</ds:SignatureValue>@KEYINFO@"))
    public = OUT / "public.tmp"
    public.write_bytes(run("openssl", "pkey", "-in", key(key_name), "-pubout"))
    run("xmlsec1", "--verify", "--pubkey-pem", str(public), *ids, str(path))
    public.unlink()


OUT.mkdir(parents=True, exist_ok=True)
os.umask(0o022)
make_keys()
lines = [f"{name} = {text}" for name, text in sorted(values().items())]
(OUT / "values.vec").write_text("# Made by tools/make_key_vectors.py with openssl: certificates and PKI paths in "
                                "base64, serial\n# numbers, key identifiers, key values, names of token types.\n"
                                "[values]\n" + "\n".join(lines) + "\n")
message("message", "signer", MORE + "rsa-sha256", "http://www.w3.org/2001/04/xmlenc#sha256")
message("curve", "ec", MORE + "ecdsa-sha256", "http://www.w3.org/2001/04/xmlenc#sha256")
message("weak", "weak", DS + "rsa-sha1", DS + "sha1")
