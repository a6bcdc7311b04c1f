# SPDX-License-Identifier: MIT
"""XML signatures made with openssl. All is written in its canonical form, so that the octets to digest
are those that stand here."""

import base64
import hashlib
import pathlib
import subprocess

DS = "http://www.w3.org/2000/09/xmldsig#"
INC = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315"
EXC = "http://www.w3.org/2001/10/xml-exc-c14n#"
RSA = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256"
SHA256 = "http://www.w3.org/2001/04/xmlenc#sha256"
ENVELOPED = f"{DS}enveloped-signature"

_folder = pathlib.Path()


def begin(folder):
    """Makes a key for this run: key.pem and pub.pem in the folder."""
    global _folder
    _folder = folder
    openssl("genrsa", "-out", "key.pem", "2048")
    openssl("pkey", "-in", "key.pem", "-pubout", "-out", "pub.pem")


def openssl(*arguments, data=b""):
    return subprocess.run(("openssl", *arguments), input=data, capture_output=True, check=True, cwd=_folder).stdout


def sign(octets, algorithm="sha256"):
    return base64.b64encode(openssl("dgst", f"-{algorithm}", "-sign", "key.pem", data=octets)).decode()


def ref(uri, octets, *transforms):
    """A reference; none as `uri` leaves it out."""
    listed = "".join(t if t.startswith("<") else f'<Transform Algorithm="{t}"></Transform>' for t in transforms)
    listed = f"<Transforms>{listed}</Transforms>" if listed else ""
    digest = base64.b64encode(hashlib.sha256(octets).digest()).decode()
    named = "" if uri is None else f' URI="{uri}"'
    return (f'<Reference{named}>{listed}<DigestMethod Algorithm="{SHA256}"></DigestMethod>'
            f"<DigestValue>{digest}</DigestValue></Reference>")


def in_signature(element):
    """The canonical form of an element that takes its namespace from the signature."""
    name, rest = element[1:].split(" ", 1)
    return f'<{name} xmlns="{DS}" {rest}'.encode()


def signature(*references, objects="", ident="s", method=RSA, algorithm="sha256", key_info="", c14n=EXC):
    inner = (f'<CanonicalizationMethod Algorithm="{c14n}"></CanonicalizationMethod>'
             f'<SignatureMethod Algorithm="{method}"></SignatureMethod>' + "".join(references))
    value = sign(f'<SignedInfo xmlns="{DS}">{inner}</SignedInfo>'.encode(), algorithm)
    return (f'<Signature xmlns="{DS}" Id="{ident}"><SignedInfo>{inner}</SignedInfo>'
            f"<SignatureValue>{value}</SignatureValue>{key_info}{objects}</Signature>")
