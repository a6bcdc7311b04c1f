#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Packages signed here, honest and attacked, and what `xmldsig` says of them: which parts each
signature covers and which none does. Usage: zip_packages.py TOOL. Packages of others are read from
VANTREL_SHARED where that is set. Exits with 77 where openssl is absent; else ends with "N passed, N
failed"."""

import base64
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import zipfile

import signing
from checks import check, finish
from signing import DS, EXC, INC, in_signature, ref, signature

TOOL = str(pathlib.Path(sys.argv[1]).resolve())
OPC = "http://schemas.openxmlformats.org/package/2006/"
XPATH = "http://www.w3.org/TR/1999/REC-xpath-19991116"
RELATED = OPC + "RelationshipTransform"
SIGNED = OPC + "relationships/digital-signature/"
RELS_TYPE = "application/vnd.openxmlformats-package.relationships+xml"

folder = pathlib.Path()


def with_manifest(*references, ident="m", whole="Object"):
    """A signature over a manifest, by its own Id or that of the Object around it."""
    ids = (f' Id="{ident}"', "") if whole == "Object" else ("", f' Id="{ident}"')
    manifest = f'<Manifest{ids[1]}>{"".join(references)}</Manifest>'
    objects = f"<Object{ids[0]}>{manifest}</Object>"
    return signature(ref(f"#{ident}", in_signature(objects if whole == "Object" else manifest), EXC), objects=objects)


def package(members):
    """A ZIP of (name, contents) pairs; the first stored if it is the media type."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name, contents in members:
            method = zipfile.ZIP_STORED if name == "mimetype" else zipfile.ZIP_DEFLATED
            archive.writestr(zipfile.ZipInfo(name), contents, method)
    return buffer.getvalue()


def run(data, *options, command="verify", name="p.zip"):
    path = folder / name
    path.write_bytes(data)
    arguments = (TOOL, command, *(("--json",) if command in ("verify", "info", "explain") else ()), *options, str(path))
    done = subprocess.run(arguments, capture_output=True, check=False)
    out = json.loads(done.stdout) if "--json" in arguments and done.stdout else done.stdout
    return done.returncode, out, done.stderr.decode()


def verify(members, *options):
    code, report, _ = run(members if isinstance(members, bytes) else package(members),
                          "--key", str(folder / "pub.pem"), *options)
    return code, report


def expect(name, members, status, *options, kind=None, code=None, missing=(), cause=None, refusals=None):
    done, report = verify(members, *options)
    container = report.get("container", {"parts": [], "kind": None, "warnings": []})
    left = [p["name"] for p in container["parts"] if not p["covered"] and not p["exempt"]]
    causes = [r["cause"]["code"] for s in report["signatures"]
              for r in s["references"] + s.get("manifest", []) if "cause" in r]
    holds = report["status"] == status and (kind is None or container["kind"] == kind)
    holds = holds and done == ({"valid": 0, "error": 2}.get(status, 1) if code is None else code)
    holds = holds and (status == "error" or left == list(missing))
    holds = holds and (cause is None or (cause in causes if status != "error" else cause in report["error"]))
    holds = holds and (refusals is None or report.get("refusals") == refusals)
    holds = holds and (("parts-not-covered" in container["warnings"]) == bool(left))
    check(name, holds, (done, report["status"], report["error"], container["kind"], left, causes, report.get("refusals")))
    return report


def changed(members, name, contents):
    """With other contents of a part; None takes it out."""
    return [(n, c if n != name else contents) for n, c in members if n != name or contents is not None]


def rels(*entries):
    items = "".join(f'<Relationship Id="{i}" Type="{t}" Target="{target}"/>' for i, t, target in entries)
    return f'<?xml version="1.0"?>\n<Relationships xmlns="{OPC}relationships">{items}</Relationships>'.encode()


def transformed(*entries):
    items = "".join(f'<Relationship Id="{i}" Target="{target}" TargetMode="Internal" Type="{t}"></Relationship>'
                    for i, t, target in sorted(entries))
    return f'<Relationships xmlns="{OPC}relationships">{items}</Relationships>'.encode()


def asic(media="application/vnd.etsi.asic-e+zip"):
    one, two = b"first " * 9, b"second"
    signed = signature(ref("caf%C3%A9%20a.txt", one), ref("/sub/b.txt", two))
    root = f'<asic:XAdESSignatures xmlns:asic="http://uri.etsi.org/02918/v1.2.1#">{signed}</asic:XAdESSignatures>'
    return [("mimetype", media), ("caf\u00e9 a.txt", one), ("sub/b.txt", two), ("META-INF/manifest.xml", "<m/>"),
            ("META-INF/signatures.xml", root)]


def check_asic():
    honest = asic()
    report = expect("asic-e", honest, "valid", "--require", "covered", "--must-cover", "part:sub/b.txt",
                    kind="asic-e", refusals=[])
    part = report["container"]["parts"][1]
    check("its parts", (part["name"], part["size"], part["covered"], part["by"]) == ("caf\u00e9 a.txt", 54, True, [0]), part)
    check("its signature", report["signatures"][0]["part"] == "META-INF/signatures.xml"
          and report["signatures"][0]["references"][0]["part"] == "caf\u00e9 a.txt"
          and "document-not-covered" not in report["signatures"][0]["warnings"], report["signatures"][0])
    expect("bdoc", asic("application/vnd.bdoc-1.0"), "valid", kind="asic-e")
    expect("asic-s", asic("application/vnd.etsi.asic-s+zip"), "valid", kind="asic-s")
    expect("added part", honest + [("extra.txt", "x")], "valid", missing=["extra.txt"])
    expect("added part, covered required", honest + [("extra.txt", "x")], "valid", "--require", "covered", code=1,
           missing=["extra.txt"], refusals=["document-not-covered"])
    expect("added part that must be covered", honest + [("extra.txt", "x")], "valid", "--must-cover", "part:extra.txt",
           code=1, missing=["extra.txt"], refusals=["target-not-covered"])
    everything = ["caf\u00e9 a.txt", "sub/b.txt"]
    expect("changed part", changed(honest, "sub/b.txt", b"other"), "invalid", missing=everything, cause="digest-mismatch")
    expect("part taken out", changed(honest, "sub/b.txt", None), "invalid", missing=everything[:1], cause="external-missing")
    expect("renamed part", changed(honest, "sub/b.txt", None) + [("b.txt", b"second")], "invalid",
           missing=["caf\u00e9 a.txt", "b.txt"], cause="external-missing")
    other = [("mimetype", honest[0][1]), ("caf\u00e9 a.txt", b"mine"), ("sub/b.txt", b"mine too"), honest[4]]
    expect("signature of another package", other, "invalid", missing=everything, cause="digest-mismatch")
    two = honest + [("META-INF/signatures2.xml", signature(ref("sub/b.txt", b"second"), ident="t"))]
    report = expect("two signature documents", two, "valid")
    check("their indexes", [(s["index"], s["part"]) for s in report["signatures"]]
          == [(0, "META-INF/signatures.xml"), (1, "META-INF/signatures2.xml")]
          and report["container"]["parts"][2]["by"] == [0, 1], report["container"])
    for options in (("--part", "META-INF/signatures2.xml"), ("--signature", "1"), ("--id", "t")):
        report = expect(str(options), two, "valid", *options, missing=["caf\u00e9 a.txt"])
        check(f"{options} takes one", [s["index"] for s in report["signatures"]] == [0 if options[0] == "--part" else 1])
    for options in (("--reference", "0"), ("--no-references",)):
        expect(f"{options} covers nothing", honest, "valid", *options, missing=["caf\u00e9 a.txt", "sub/b.txt"])
    for options in (("--part", "x.xml"), ("--signature", "2"), ("--id", "u")):
        expect(str(options), two, "error", *options, cause="there is no signature" if options[0] != "--part" else "x.xml")
    return package(honest)


def check_opc():
    word, style = "application/vnd.x.main+xml", "application/vnd.x.style+xml"
    body, looks = b"<body/>", b'<?xml version="1.0"?><styles />'
    top = [("rId1", "urn:main", "word/document.xml"), ("rId9", SIGNED + "origin", "_xmlsignatures/origin.sigs")]
    down = [("rId2", "urn:style", "styles.xml"), ("rId1", "urn:more", "/word/more.xml")]
    def named(*ids):
        marks = "".join(f'<mdssi:RelationshipReference xmlns:mdssi="{OPC}digital-signature" SourceId="{i}">'
                        "</mdssi:RelationshipReference>" for i in ids)
        return f'<Transform Algorithm="{RELATED}">{marks}</Transform>'
    references = (
        ref(f"/_rels/.rels?ContentType={RELS_TYPE}", transformed(top[0]), named("rId1"), INC),
        ref(f"/word/_rels/document.xml.rels?ContentType={RELS_TYPE}", transformed(*down), named("rId2", "rId1"), INC),
        ref(f"/WORD/document.xml?ContentType={word}", body),
        ref(f"/word/styles.xml?ContentType={style}", b"<styles></styles>", EXC),
        ref("/word/more.xml?ContentType=text/plain", b"more"))
    types = (f'<Types xmlns="{OPC}content-types"><Default Extension="rels" ContentType="{RELS_TYPE}"/>'
             f'<Default Extension="XML" ContentType="text/plain"/>'
             f'<Override PartName="/word/document.xml" ContentType="{word}"/>'
             f'<Override PartName="/word/styles.xml" ContentType="{style}"/></Types>')
    honest = [("[Content_Types].xml", types), ("_rels/.rels", rels(*top)), ("word/document.xml", body),
              ("word/styles.xml", looks), ("word/more.xml", b"more"), ("word/_rels/document.xml.rels", rels(*down)),
              ("_xmlsignatures/origin.sigs", b""),
              ("_xmlsignatures/_rels/origin.sigs.rels", rels(("rId1", SIGNED + "signature", "sig1.xml"))),
              ("_xmlsignatures/sig1.xml", with_manifest(*references, ident="idPackageObject"))]
    parts = [n for n, _ in honest[1:6]]
    def without(*names):
        return [n for n in parts if n not in names]
    report = expect("opc", honest, "valid", kind="opc")
    check("its manifest", [r["status"] for r in report["signatures"][0]["manifest"]] == ["match"] * 5
          and "manifest-not-checked" not in report["signatures"][0]["warnings"], report["signatures"][0])
    expect("opc, part changed", changed(honest, "word/document.xml", b"<other/>"), "invalid", missing=parts,
           cause="digest-mismatch")
    expect("opc, content type changed", changed(honest, "[Content_Types].xml", types.replace(style, word)), "invalid",
           missing=parts, cause="other-content-type")
    expect("opc, two content types", changed(honest, "[Content_Types].xml", types.replace("</Types>", (
        '<Override PartName="/WORD/styles.xml" ContentType="x"/></Types>'))), "error", cause="content types")
    expect("opc, relationship changed", changed(honest, "word/_rels/document.xml.rels", rels(
        down[0], ("rId1", "urn:more", "http://example.com/"))), "invalid", missing=parts, cause="digest-mismatch")
    expect("opc, relationship added", changed(honest, "word/_rels/document.xml.rels", rels(
        *down, ("rId3", "urn:more", "x.xml"))), "valid", missing=["word/_rels/document.xml.rels"])
    # What the transform does not digest keeps the part from being covered as a whole.
    for old, new in ((b"<Relationships ", b'<Relationships lang="de" '), (b"</Relationships>", b"<More/></Relationships>"),
                     (b"</Relationships>", b'<x:More xmlns:x="urn:x"/></Relationships>'), (b"</Relationships>", b"more</Relationships>"),
                     (b'styles.xml"/>', b'styles.xml" lang="de"/>'), (b'styles.xml"/>', b'styles.xml">more</Relationship>'),
                     (b'styles.xml"/>', b'styles.xml"><More/></Relationship>'), (b"<Relationships ", b"<!DOCTYPE Relationships><Relationships "),
                     (b'styles.xml"/>', b'styles.xml" TargetMode="iNternal"/>'), (b'styles.xml"/>', b'styles.xml" TargetMode=""/>')):
        part = rels(*down).replace(old, new)
        expect(f"opc, {new} beside relationships", changed(honest, "word/_rels/document.xml.rels", part), "valid",
               missing=["word/_rels/document.xml.rels"])
    expect("opc, mode written out", changed(honest, "word/_rels/document.xml.rels", rels(*down).replace(
        b'styles.xml"/>', b'styles.xml" TargetMode="Internal"/>')), "valid")
    expect("opc, comment beside relationships", changed(honest, "word/_rels/document.xml.rels", rels(*down).replace(
        b"</Relationships>", b"<!-- more --></Relationships>")), "valid")
    expect("opc, part added", honest + [("word/x.xml", b"<x/>")], "valid", missing=["word/x.xml"])
    expect("opc, part taken out", changed(honest, "word/more.xml", None), "invalid", missing=without("word/more.xml"),
           cause="external-missing")
    fewer = honest[8][1].replace(references[4], "")
    expect("opc, reference of the manifest dropped", changed(honest, "_xmlsignatures/sig1.xml", fewer), "invalid",
           missing=parts, cause="digest-mismatch")
    no_type = changed(honest, "_xmlsignatures/sig1.xml", with_manifest(ref("/word/document.xml", body)))
    expect("opc, no content type signed", no_type, "invalid", missing=parts, cause="other-content-type")
    expect("opc, origin not linked", changed(honest, "_rels/.rels", rels(top[0])), "no-signature",
           missing=parts + [n for n, _ in honest[6:]])


def check_others():
    data = b"<a  b='1'/>"
    mime = ("mimetype", "application/vnd.oasis.opendocument.text")
    signed = signature(ref("content.xml", b'<a b="1"></a>', INC), ref("Pictures/1.png", b"png"), ref("mimetype", mime[1].encode()))
    odf = [mime, ("content.xml", data), ("Pictures/1.png", b"png"),
           ("META-INF/documentsignatures.xml", f"<document-signatures>{signed}</document-signatures>")]
    expect("odf", odf, "valid", kind="odf")
    expect("odf, equal XML", changed(odf, "content.xml", b'<a b="1"></a>'), "valid", kind="odf")
    expect("odf, macro added", odf + [("Basic/x.xml", "<x/>")], "valid", missing=["Basic/x.xml"])
    manifest = with_manifest(ref("OPS/a.xhtml", b'<a b="1"></a>', EXC), ref("META-INF/container.xml", b"<c/>"), whole="Manifest")
    epub = [("mimetype", "application/epub+zip"), ("META-INF/container.xml", b"<c/>"), ("OPS/a.xhtml", data),
            ("META-INF/signatures.xml", f"<signatures>{manifest}</signatures>")]
    expect("epub", epub, "valid", kind="epub")
    expect("epub, part changed", changed(epub, "OPS/a.xhtml", b"<b/>"), "invalid",
           missing=["META-INF/container.xml", "OPS/a.xhtml"], cause="digest-mismatch")
    expect("epub, part taken out", changed(epub, "OPS/a.xhtml", None), "invalid", missing=["META-INF/container.xml"])
    air = changed(epub, "mimetype", "application/vnd.adobe.air-application-installer-package+zip")
    expect("air", air, "valid", kind="air")
    expect("air, part taken out", changed(air, "OPS/a.xhtml", None), "invalid", missing=["META-INF/container.xml"])
    parts = air[:3]
    listed = f'<Manifest Id="PackageContents">{"".join(ref(n, c) for n, c in parts[1:])}</Manifest>'
    packed = signature(ref("#PackageContents", in_signature(listed), INC), objects=f"<Object>{listed}</Object>", ident="PackageSignature",
                       method="http://www.w3.org/TR/xmldsig-core#rsa-sha1", algorithm="sha1")
    spread = f"<signatures>{packed}</signatures>".replace("><", ">\n  <")
    report = expect("air, with white space", parts + [("META-INF/signatures.xml", spread)], "valid", kind="air")
    check("its profile", report["signatures"][0]["profile"] == "air-package"
          and "profile.space-left-out" in report["signatures"][0]["accommodations"], report["signatures"][0])
    expect("air, with white space, changed", changed(parts, "OPS/a.xhtml", b"<b/>") + [("META-INF/signatures.xml", spread)], "invalid",
           missing=["META-INF/container.xml", "OPS/a.xhtml"], cause="digest-mismatch")
    widget = [("config.xml", b'<widget xmlns="http://www.w3.org/ns/widgets"/>'), ("images/a.png", b"png")]
    author = signature(*(ref(n.replace("/", "%2F"), c) for n, c in widget))
    expect("widget", widget + [("author-signature.xml", author)], "valid", kind="widget")
    expect("widget, distributor", widget + [("signature12.xml", author)], "valid", kind="widget")
    expect("widget, later file", widget + [("author-signature.xml", author), ("signature01.xml", author)], "valid",
           kind="widget", missing=["signature01.xml"])
    expect("any archive", [("a", b"1"), ("signature.xml", signature(ref("a", b"1")))], "valid", kind="zip")
    of_both = with_manifest(ref("a", b"1"), ref("gone", b"2"), whole="Manifest")
    expect("any archive, manifest of more than its parts", [("a", b"1"), ("signature.xml", of_both)], "valid", kind="zip")
    expect("any archive, part of the manifest changed", [("a", b"2"), ("signature.xml", of_both)], "invalid", missing=["a"])
    def transformed_part(contents, octets, *transforms):
        return [("a", contents), ("signature.xml", signature(ref("a", octets, *transforms)))]
    without_b = f'<Transform Algorithm="{XPATH}"><XPath>not(self::b)</XPath></Transform>'
    some = transformed_part(b"<a><b/>x</a>", b"<a>x</a>", without_b)
    report = expect("an expression leaves a part out", some, "valid", missing=["a"])
    check("its standard", report["signatures"][0]["standards"] == ["xpath"], report["signatures"][0])
    expect("an expression, not wanted", some, "invalid", "--option", "GivenRulesOnly", missing=["a"], cause="unsupported-transform")
    expect("base64, then XML", transformed_part(b"PGE gYj0nMScvPg==", b'<a b="1"></a>', f"{DS}base64", EXC), "valid")
    expect("no base64", transformed_part(b"?", b"", f"{DS}base64"), "invalid", missing=["a"], cause="transform-failed")
    expect("no XML", transformed_part(b"<a>", b"", INC), "invalid", missing=["a"], cause="transform-failed")
    expect("unknown transform", transformed_part(b"1", b"1", "urn:x"), "invalid", missing=["a"], cause="unsupported-transform")
    expect("no package", [("a", b"1")], "error", cause="no signature document")
    fragment = [("a", b"1"), ("signature.xml", signature(ref("a#x", b"1")))]
    expect("a fragment of a part", fragment, "invalid", missing=["a"], cause="external-missing")


def check_archives(honest):
    name = honest.index(b"sub/b.txt")
    other_local = honest[:name] + b"sub/c.txt" + honest[name + 9:]
    expect("local header of another name", other_local, "error", cause="in its own header")
    end = honest.rindex(b"sub/b.txt")
    expect("two members of one name", asic() + [("sub/b.txt", b"mine")], "error", cause="have the name")
    expect("names that differ by case", asic() + [("SUB/b.txt", b"mine")], "error", cause="differ only by case")
    expect("directory of another name", honest[:end] + b"sub/c.txt" + honest[end + 9:], "error", cause="in its own header")
    bomb = package(asic() + [("zeros", bytes(65 << 20))])
    expect("bomb", bomb, "error", cause="packageRatio")
    expect("bomb, let in", bomb, "valid", "--limit", "packageRatio=2000", missing=["zeros"])
    for limit in ("packageMembers=4", "packageMemberOctets=50", "packageOctets=100", "packageXmlOctets=100"):
        expect(limit, honest, "error", "--limit", limit, cause=limit.split("=")[0])
    requests = [json.dumps({"id": n, "base64": base64.b64encode(honest[:n]).decode()}) for n in range(5, len(honest) + 1)]
    answers = subprocess.run((TOOL, "worker", "--key", str(folder / "pub.pem")), input="\n".join(requests).encode(),
                             capture_output=True, check=False).stdout.splitlines()
    states = [json.loads(line)["status"] for line in answers]
    check("every truncation", set(states[:-1]) == {"error"} and states[-1] == "valid", states[-5:])
    check("worker's container", json.loads(answers[-1])["container"]["kind"] == "asic-e")


def check_commands(honest):
    code, out, _ = run(honest, command="info")
    check("info", code == 0 and out["signatures"][0]["part"] == "META-INF/signatures.xml", out)
    code, _, err = run(honest, command="certs")
    check("certs", code == 0 and "KeyInfo holds no certificate" in err, err)
    key = ("--key", str(folder / "pub.pem"))
    code, out, _ = run(package(changed(asic(), "sub/b.txt", b"second ")), *key, command="explain")
    check("explain", code == 1 and out["signatures"][0]["references"][1]["cause"]["code"], out)
    code, out, _ = run(honest, *key, "--html", command="report")
    check("report", code == 0 and b"META-INF/signatures.xml" in out, out[:300])
    for reference, octets in (("0", b"first " * 9), ("1", b"second")):
        code, out, _ = run(honest, *key, "--reference", reference, command="digest-input")
        check("digest-input", (code, out) == (0, octets), out)
    code, out, _ = run(honest, *key, "--signed-info", "--part", "META-INF/signatures.xml", command="digest-input")
    check("digest-input --signed-info", code == 0 and out.startswith(b"<SignedInfo "), out)
    two = package(asic() + [("META-INF/signatures2.xml", signature(ref("sub/b.txt", b"second"), ident="t"))])
    for options, wanted in (((), None), (("--id", "t"), b"second"), (("--signature", "1"), b"second"),
                            (("--part", "META-INF/signatures2.xml"), b"second"), (("--signature", "2"), None),
                            (("--id", "u"), None), (("--part", "x.xml"), None)):
        code, out, err = run(two, *options, command="digest-input")
        check(f"digest-input {options}", (code, out) == ((2, b"") if wanted is None else (0, wanted)) and bool(err) == (wanted is None), err)
    code, out, _ = run(honest, "--part", "META-INF/manifest.xml", command="c14n")
    check("c14n", (code, out) == (0, b"<m></m>"), out)
    for command, options, words in (("c14n", (), "none of its parts is named"), ("c14n", ("--part", "x"), "no part"),
                                    ("c14n", ("--part", "sub/b.txt"), "before the root"),
                                    ("timestamp", ("--tsa", "http://127.0.0.1:9/"), "no package is written")):
        code, out, err = run(honest, *options, command=command)
        check(f"{command} {options}", (code, out) == (2, b"") and words in err, err)
    done = subprocess.run((TOOL, "verify", *key, "-"), input=honest, capture_output=True, check=False)
    check("standard input, as text", done.returncode == 0 and b"sub/b.txt (6 octets): covered by signature 0" in done.stdout,
          done.stdout)


def check_folders():
    """References by name outside packages."""
    inside = folder / "data"
    inside.mkdir()
    (inside / "a b.txt").write_bytes(b"1")
    (folder / "secret").write_bytes(b"2")
    def one(uri, octets):
        path = folder / "detached.xml"
        path.write_text(signature(ref(uri, octets)))
        done = subprocess.run((TOOL, "verify", "--json", "--key", str(folder / "pub.pem"), "--ref-dir", str(inside), str(path)),
                              capture_output=True, check=False)
        reference = json.loads(done.stdout)["signatures"][0]["references"][0]
        return reference["status"], reference.get("file")
    for uri in ("a%20b.txt", "/a%20b.txt", "/a b.txt", "%61%20b.txt"):
        check(f"--ref-dir {uri}", one(uri, b"1") == ("match", "a b.txt"), one(uri, b"1"))
    for uri in ("%2e%2e/secret", "..%2Fsecret", f"/{folder}/secret", "file:///../secret", "%2F..%2Fsecret", "a%20b.txt%00"):
        check(f"--ref-dir {uri}", one(uri, b"2")[0] == "missing", one(uri, b"2"))


def check_shared():
    shared = os.environ.get("VANTREL_SHARED")
    if not shared or not os.path.isdir(shared):
        print("packages of others: skipped, VANTREL_SHARED names no folder")
        return
    place = pathlib.Path(shared) / "profiles/containers"
    wanted = {(e["file"], e["member"]) for e in json.loads((place / "manifest.json").read_text()) if e["member"]}
    found = set()
    for file in sorted({f for f, _ in wanted}):
        done = subprocess.run((TOOL, "verify", "--json", str(place / file)), capture_output=True, check=False)
        report = json.loads(done.stdout)
        check(file, report["status"] == "valid", report["error"])
        found |= {(file, s["part"]) for s in report["signatures"]}
    check("every signature document of others", found == wanted, found ^ wanted)


def main():
    global folder
    if shutil.which("openssl") is None:
        print("openssl is absent")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        signing.begin(folder)
        honest = check_asic()
        check_opc()
        check_others()
        check_archives(honest)
        check_commands(honest)
        check_folders()
        check_shared()
    finish()


main()
