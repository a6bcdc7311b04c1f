#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Keys that a KeyInfo names by RetrievalMethod (XML Signature 4.5.3): retrieval.py TOOL. The document has the signer's certificate and
another one's; each form finds the former, the latter or nothing. Ends with "N passed, N failed", or exits with 77 without openssl."""

import base64
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

import signing
from checks import check, finish
from signing import DS, ENVELOPED, EXC, ref, signature

if not shutil.which("openssl"):
    print("skipped: openssl is not installed")
    sys.exit(77)
folder = pathlib.Path(tempfile.mkdtemp())
signing.begin(folder)


def certificate(key, name):
    pem = signing.openssl("req", "-x509", "-key", key, "-subj", f"/CN={name}", "-days", "9").decode()
    (folder / f"{name}.crt").write_text(pem)
    return "".join(pem.splitlines()[1:-1])


signing.openssl("genrsa", "-out", "other.pem", "2048")
signing.openssl("pkey", "-in", "other.pem", "-pubout", "-out", "other.pub")
mine, other = certificate("key.pem", "mine"), certificate("other.pem", "other")
modulus = signing.openssl("rsa", "-in", "key.pem", "-noout", "-modulus").decode().strip().split("=")[1]
modulus = base64.b64encode(bytes.fromhex(modulus)).decode()
body = ('<d>1</d>'
        + "".join(f'<RSAKeyValue xmlns="{DS}" Id="{name}"><Modulus>{value}</Modulus><Exponent>AQAB</Exponent></RSAKeyValue>'
                  for name, value in (("value", modulus), ("damaged", "?")))
        + "".join(f'<k xmlns="{DS}" Id="{name}"><X509Data Id="{name}-data"><X509Certificate>{value}</X509Certificate></X509Data></k>'
                  for name, value in (("mine", mine), ("other", other)))
        + f'<raw Id="raw"> {mine[:70]}\n{mine[70:]}</raw>')


def retrieval(uri, kind="X509Data", inside=""):
    inside = f"<Transforms>{inside}</Transforms>" if inside else ""
    return f'<RetrievalMethod URI="{uri}" Type="{DS}{kind}">{inside}</RetrievalMethod>'


def xpath(expression):
    return (f'<Transform Algorithm="http://www.w3.org/TR/1999/REC-xpath-19991116"><XPath xmlns:ds="{DS}">{expression}</XPath>'
            "</Transform>")


def verified(*options):
    done = subprocess.run([sys.argv[1], "verify", "--json", *options, folder / "document.xml"], capture_output=True, check=False)
    return json.loads(done.stdout)["signatures"][0]


BASE64 = f'<Transform Algorithm="{DS}base64"/>'
AXIS = "ancestor-or-self::ds:X509Data"
for method, found in (
        (retrieval("#mine-data"), "valid"),
        (retrieval("#other-data"), "wrong-key"),
        (retrieval("#mine", inside=xpath(AXIS)), "valid"),
        (retrieval("#other", inside=xpath(AXIS)), "wrong-key"),
        (retrieval("", inside=xpath(AXIS)), "no-key"),  # there are two
        (retrieval("", inside=xpath(f' {AXIS}[@Id="mine-data"] ')), "valid"),
        (retrieval("", inside=xpath(f"{AXIS}[@Id='other-data']")), "wrong-key"),
        (retrieval("#other", inside=xpath(f"{AXIS}[@Id='mine-data']")), "no-key"),
        (retrieval("", inside=xpath("ancestor-or-self::ds:k[@Id='mine-data']")), "no-key"),
        (retrieval("", inside=xpath(f"{AXIS}[@Id='mine-data\"]")), "no-key"),
        (retrieval("#nowhere"), "no-key"),
        (retrieval("#value", "RSAKeyValue"), "valid"),
        (retrieval("#value"), "no-key"),
        (retrieval("#damaged", "RSAKeyValue"), "no-key"),
        (retrieval("#raw", "rawX509Certificate", BASE64), "valid"),
        (retrieval("#raw", "rawX509Certificate"), "no-key"),
        (retrieval("#mine-data", inside=BASE64 * 2), "no-key")):
    signed = signature(ref("", f"<r>{body}</r>".encode(), ENVELOPED, EXC), key_info=f"<KeyInfo>{method}</KeyInfo>")
    (folder / "document.xml").write_text(f"<r>{body}{signed}</r>")
    report = verified()
    code = report["status"] if report["status"] == "valid" else report["cause"]["code"]
    check(method, code == found, (code, report["keys"]))
    check(f"{method}, another key alone may be used", verified("--key", folder / "other.pub", "--only-key")["status"] != "valid")
    if code == "valid" and "certificateSha256" in report["keys"][0]:
        # Nobody but the document vouches for it, until the caller gives it as well.
        warned = ["key-from-document" in verified(*given)["warnings"] for given in ((), ("--cert", folder / "mine.crt"))]
        check(f"{method}, whose key it is", warned == [True, False], warned)
shutil.rmtree(folder)
finish()
