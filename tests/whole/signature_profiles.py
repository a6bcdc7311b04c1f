#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Documents of the profiles that are known by a signature's place and form, signed here as their
signers do it, and attacked. Usage: signature_profiles.py TOOL. Documents of others are read from
VANTREL_SHARED where that is set. Exits with 77 where openssl is absent; else ends with "N passed, N
failed"."""

import base64
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import signing
from checks import check, finish
from signing import DS, ENVELOPED, EXC, INC, in_signature, ref, signature

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
AIR = "http://www.w3.org/TR/xmldsig-core#rsa-sha1"
HL7 = "urn:hl7-org:v3"
ETSI = "http://uri.etsi.org/01903/v1.1.1#"
FILTER2 = "http://www.w3.org/2002/06/xmldsig-filter2"

folder = pathlib.Path()


def tool(command, document, *options):
    done = subprocess.run((TOOL, command, "--key", str(folder / "pub.pem"), *options, "-") if command != "info" and
                          command != "certs" else (TOOL, command, *options, "-"),
                          input=document.encode(), capture_output=True, check=False)
    return done.stdout


def expect(name, document, status, profile="", codes=(), paths=None, excluded=None):
    """What is said of the first signature; `codes`: the leniencies, references included."""
    report = json.loads(tool("verify", document, "--json"))
    if not report["signatures"] or not report["signatures"][0]["references"]:
        check(name, report["status"] == status, report)
        return report
    found = report["signatures"][0]
    used = {c for part in (found, *found["references"]) for c in part["accommodations"]}
    holds = (report["status"], found["profile"]) == (status, profile) and (status != "valid" or used == set(codes))
    reference = found["references"][0]
    places = reference.get("paths", [reference["path"]] if "path" in reference else [])
    holds = holds and (paths is None or [p.rsplit("/", 1)[1] for p in places] == paths)
    holds = holds and (excluded is None or [e["path"].rsplit("/", 1)[1] for e in reference["excluded"]] == excluded)
    check(name, holds, (report["status"], found["profile"], used, reference, found["reason"]))
    return report


def digested(name, document, octets, *options):
    """What `digest-input` writes is what was signed."""
    check(name, tool("digest-input", document, *options) == octets, tool("digest-input", document, *options))


def spread(text):
    """With white space between all tags."""
    return text.replace("><", ">\n  <")


def check_air():
    space = "profile.space-left-out"
    manifest = f'<Manifest Id="PackageContents">{ref("a.swf", b"1")}<!-- no part --><x>a\n b</x></Manifest>'
    octets = in_signature(manifest.replace("<!-- no part -->", ""))
    def package(method=AIR, ident="PackageSignature", algorithm="sha1"):
        signed = signature(ref("#PackageContents", octets, INC), objects=f"<Object>{manifest}</Object>", ident=ident,
                           method=method, algorithm=algorithm)
        return f"<signatures>{signed}</signatures>"
    air = package()
    expect("air, no white space", air, "valid", "air-package")
    expect("air", spread(air), "valid", "air-package", [space], ["Manifest"], [])
    digested("air, octets", spread(air), octets)
    digested("air, SignedInfo", spread(air), air[air.index("<SignedInfo"):air.index("<SignatureValue")].replace(
        "<SignedInfo", f'<SignedInfo xmlns="{DS}"').encode(), "--signed-info")
    expect("air, changed", spread(air).replace("a.swf", "b.swf"), "invalid", "air-package")
    expect("air, space in a text", spread(air).replace("a\n b", "a b"), "invalid", "air-package")
    expect("air, text between elements", spread(air).replace(">\n  <x>", ">. <x>"), "invalid", "air-package")
    expect("another Id", spread(package(ident="s")), "invalid")
    expect("another method", spread(package(signing.RSA, algorithm="sha256")), "invalid")
    expect("not in the list", f"<r>{spread(air)}</r>", "invalid")
    comment = f"<!-- {AIR} Id=\"PackageSignature\" -->"
    expect("the marks in a comment", spread(package(signing.RSA, "s", "sha256")) + comment, "invalid")
    info = json.loads(tool("info", air, "--json"))
    check("air, info", info["profile"] == "air-package", info)


def check_nhs():
    derived, space = "profile.derived", "profile.space-left-out"
    def prescription(ref_uri=None, parent="ParentPrescription"):
        time, one, two = '<time value="1"></time>', '<id root="A"></id>', '<id root="B"></id>'
        person = "<AgentPerson><name>Dr B &amp; C</name></AgentPerson>"
        patient = '<recordTarget typeCode="RCT"><id root="P"></id></recordTarget>'
        status = "<pertinentInformation4><value>1</value></pertinentInformation4>"
        item = "<pertinentLineItem><repeatNumber>{}<high value=\"6\"></high></repeatNumber><dose>1 {}</dose>{}</pertinentLineItem>"
        items = [item.format("", n, "") for n in ("A", "B")]
        full = [item.format('<low value="1"></low>', n, status) for n in ("A", "B")]
        def copy(element):
            cut = min(i for i in (element.find(" "), element.find(">")) if i > 0)
            return f'{element[:cut]} xmlns="{HL7}"{element[cut:]}'
        fragments = [copy(time) + copy(one), copy(person), copy(patient), *map(copy, items)]
        octets = "".join(f"<Fragment>{f}</Fragment>" for f in fragments)
        octets = f"<FragmentsToBeHashed>{octets}</FragmentsToBeHashed>".encode()
        signed = signature(ref(ref_uri, octets, EXC))
        lines = "".join(f"<pertinentInformation2>{i}</pertinentInformation2>" for i in full)
        author = f"<author>{time}<signatureText>{signed}</signatureText>{person}</author>"
        return (f'<m:r xmlns:m="{HL7}"><{parent} xmlns="{HL7}">{patient}<pertinentInformation1><pertinentPrescription>{one}{two}'
                f"{author}{lines}</pertinentPrescription></pertinentInformation1></{parent}></m:r>"), octets
    document, octets = prescription()
    name, codes = "nhs-prescription", [derived, space]
    covered = ["time", "id[1]", "AgentPerson", "recordTarget", "pertinentLineItem", "pertinentLineItem"]
    expect("prescription", spread(document), "valid", name, codes, covered, ["low", "pertinentInformation4"] * 2)
    expect("prescription, no white space", document, "valid", name, [derived])
    digested("prescription, octets", spread(document), octets)
    expect("its state changed", document.replace("<value>1<", "<value>2<").replace('low value="1"', 'low value="9"'), "valid", name, [derived])
    for what, old, new in (("dose", "1 B", "9 B"), ("patient", 'root="P"', 'root="Q"'), ("doctor", "Dr B", "Dr X"),
                           ("time", 'time value="1"', 'time value="2"'), ("number", 'root="A"', 'root="X"'),
                           ("item added", "</pertinentPrescription>", "<pertinentInformation2><pertinentLineItem></pertinentLineItem>"
                            "</pertinentInformation2></pertinentPrescription>"),
                           ("item taken out", "<pertinentLineItem>", "<x>"),
                           ("second patient", "<recordTarget", "<recordTarget></recordTarget><recordTarget")):
        changed = document.replace(old, new)
        changed = changed.replace("</pertinentLineItem>", "</x>") if new == "<x>" else changed
        expect(f"prescription, {what}", changed, "invalid", name)
    expect("prescription, reference with a URI", prescription("")[0], "invalid", name)
    expect("another document", prescription(parent="Prescription")[0], "invalid", "hl7")


def check_vietnam():
    kept = "enveloped.not-removed"
    time = '<Object Id="SigningTime"><SignatureProperties><SigningTime>2022</SigningTime></SignatureProperties></Object>'
    data = '<DLHDon Id="data"><NMua>A</NMua><Signature></Signature></DLHDon>'
    def invoice(*transforms, signatures="DSCKS", ident="SigningTime"):
        named = time.replace('"SigningTime"', f'"{ident}"')
        signed = signature(ref(f"#{ident}", in_signature(named), *transforms), ref("#data", data.encode(), ENVELOPED), objects=named)
        return f"<HDon>{data}<{signatures}><NBan>{signed}</NBan></{signatures}></HDon>"
    document = invoice(ENVELOPED)
    expect("invoice", document, "valid", "vietnam-invoice", [kept], ["Object"], [])
    expect("invoice, without the transform", invoice(), "valid", "vietnam-invoice")
    expect("invoice, time changed", document.replace("2022", "2023"), "invalid", "vietnam-invoice")
    expect("invoice, data changed", document.replace("<NMua>A", "<NMua>B"), "invalid", "vietnam-invoice")
    expect("invoice of the older form", invoice(ENVELOPED, signatures="X"), "valid", "vietnam-invoice", [kept])
    expect("another Id", invoice(ENVELOPED, signatures="X", ident="Time"), "invalid")
    report = json.loads(tool("verify", document, "--json"))
    check("the empty element is no signature", [s["id"] for s in report["signatures"]] == ["s"], report)


def check_austria():
    data = f'<Object Id="d"><b xmlns=""><c></c></b></Object>'
    properties = "<e:SignedProperties><e:SigningTime>2022</e:SigningTime></e:SignedProperties>"
    qualified = f'<Object Id="p"><e:QualifyingProperties xmlns:e="{ETSI}">{properties}</e:QualifyingProperties></Object>'
    def chosen(path):
        return (f'<Transform Algorithm="{FILTER2}"><XPath xmlns="{FILTER2}" xmlns:e="{ETSI}" Filter="intersect">{path}</XPath></Transform>')
    octets = properties.replace("<e:SignedProperties", f'<e:SignedProperties xmlns="{DS}" xmlns:e="{ETSI}"', 1).encode()
    typed = ref("#p", octets, chosen("id('p')/e:QualifyingProperties/e:SignedProperties")).replace(
        "<Reference ", f'<Reference Type="{ETSI}SignedProperties" ')
    body = b"<b><c></c></b>"
    document = signature(ref("#d", body, chosen("id('d')/node()")), typed, objects=data + qualified, c14n=INC)
    report = expect("security layer", document, "valid", "austria-security-layer", [], ["b"])
    check("its standard", report["signatures"][0]["standards"] == ["xpath-filter2"], report)
    expect("security layer, changed", document.replace("<c></c>", "<c>1</c>"), "invalid", "austria-security-layer")


def check_pem():
    signing.openssl("req", "-x509", "-new", "-key", "key.pem", "-subj", "/CN=Test", "-days", "9", "-out", "cert.pem")
    pem = (folder / "cert.pem").read_text()
    plain = "".join(pem.splitlines()[1:-1])
    root = "<r></r>"
    def document(text):
        signed = signature(ref("", root.encode(), ENVELOPED),
                           key_info=f"<KeyInfo><X509Data><X509Certificate>{text}</X509Certificate></X509Data></KeyInfo>")
        return root.replace("></", f">{signed}</")
    def verify(text):
        done = subprocess.run((TOOL, "verify", "--json", "-"), input=document(text).encode(), capture_output=True, check=False)
        found = json.loads(done.stdout)["signatures"][0]
        return found["status"], found["accommodations"]
    wrapped = base64.encodebytes(pem.encode()).decode()
    for name, text, wanted in (("plain", plain, ("valid", [])), ("PEM", pem, ("valid", ["certificate.pem"])),
                               ("base64 of PEM", wrapped, ("valid", ["certificate.pem"])),
                               ("base64 of a key's PEM", base64.b64encode((folder / "pub.pem").read_bytes()).decode(), ("invalid", [])),
                               ("PEM cut short", pem[:200], ("invalid", [])),
                               ("twice in base64", base64.b64encode(wrapped.encode()).decode(), ("invalid", []))):
        check(f"certificate, {name}", verify(text) == wanted, verify(text))
        if wanted[0] == "valid":
            shown = tool("certs", document(text)).decode()
            check(f"certs, {name}", shown.split() == pem.split(), shown)


def check_empty():
    signed = signature(ref("", b"<r><Signature></Signature></r>", ENVELOPED))
    document = f"<r><Signature/>{signed}</r>"
    report = expect("an empty element beside a signature", document, "valid")
    check("its index stays", [s["index"] for s in report["signatures"]] == [1], report)
    expect("an empty element alone", "<r><Signature/><Signature>J. Smith</Signature></r>", "no-signature")
    expect("with a SignedInfo", "<r><Signature><SignedInfo/></Signature></r>", "invalid")
    expect("of the namespace", f'<r><Signature xmlns="{DS}"/></r>', "invalid")
    info = json.loads(tool("info", document, "--json"))
    check("empty, info", [s["id"] for s in info["signatures"]] == ["s"], info)


# What is right of each file of others: the invalid one was changed after it was signed, and the data of
# another is not there.
def check_shared():
    shared = os.environ.get("VANTREL_SHARED")
    if not shared:
        print("documents of others: skipped, VANTREL_SHARED is not set")
        return
    invalid = {"ph-xmldsig--ebinterface4-signed.xml", "x-road--signatures.xml"}
    fields = {"electronic-prescription": "nhs-prescription", "habbo": "air-package", "ph-xmldsig--valid6": "austria-security-layer",
              "ph-xmldsig--ebinterface4": "austria-security-layer"}
    for path in sorted((pathlib.Path(shared) / "profiles/containers").glob("*.xml")):
        report = json.loads(subprocess.run((TOOL, "verify", "--json", str(path)), capture_output=True, check=False).stdout)
        profile = next((p for start, p in fields.items() if path.name.startswith(start)), "")
        check(path.name, report["status"] == ("invalid" if path.name in invalid else "valid")
              and {s["profile"] for s in report["signatures"]} == {profile}, [s["reason"] for s in report["signatures"]])


def main():
    global folder
    if shutil.which("openssl") is None:
        print("openssl is absent")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        signing.begin(folder)
        check_air()
        check_nhs()
        check_vietnam()
        check_austria()
        check_pem()
        check_empty()
        check_shared()
    finish()


main()
