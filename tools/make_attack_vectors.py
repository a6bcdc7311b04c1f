#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes forged documents and their honest twins below tests/vectors/dsig.

    tools/make_attack_vectors.py [GROUP...]

A forger holds a genuine signature and no key. Each run says what is tried: to have a verifier digest
what was signed while other readers of the document see something else. The means are those of
tools/make_dsig_vectors.py; the expectations are this script's, not output of the library."""

import hashlib
import hmac
import re

from cryptography.hazmat.primitives import serialization

from make_dsig_vectors import (BASE64, C14N11, DS, ENVELOPED, EXC, FILTER2, GOOD, INC, KEYS, MORE, NEXT_MSH, b64, c14n, case,
                               enveloped, exc, make, ref, sha, sign, signature, transform, xpath)

EVIL = "<Evil>999</Evil>"
NO_ELEMENTS = "What is to be taken out of the XML is not a run of whole elements."
NOT_ONE = "The part of the XML that is to be digested is not one whole element."
HONEST = """
    What = as signed
    WithReferences = true
    WithoutReferences = true"""


DECLARES = "Log = The document type declares attributes, so no part of the XML can be cut out."


def run(what, *changes, valid="false", value=None, more=""):
    lines = "".join(f"    Change = {change}\n" for change in changes)
    alone = f"    WithoutReferences = {value}\n" if value else ""
    return f"""

    What = {what}
{lines}    WithReferences = {valid}
{alone}    {more}"""


def in_hiding(text):
    """(where, markup) of a text that is no markup for other readers."""
    return (("a comment", f"<!--{text}-->"), ("a CDATA section", f"<c><![CDATA[{text}]]></c>"),
            ("a processing instruction", f"<?copy {text}?>"))


# What a search of the text leaves of two hidden tags when it takes out all from the one to the other.
REST = "<c></c><?copy x?>"


def hidden_pairs(start, end, left_out, only=""):
    """Runs in which `left_out` gives way to other content between tags that no reader sees."""
    pairs = (("comments", "", f"<!--{start}-->{EVIL}<!--{end}-->"),
             ("CDATA sections", "<c></c>", f"<c><![CDATA[{start}]]></c>{EVIL}<c><![CDATA[{end}]]></c>"),
             ("instructions", "<?copy x?>", f"<?copy x{start}?>{EVIL}<?copy {end}?>"))
    return "".join(run(f"content between tags in {where}", f"{left_out} => ", f"{REST} => {REST.replace(rest, forged, 1)}",
                       value="true", more=f"Log = {NO_ELEMENTS}") for where, rest, forged in pairs if only in where)


def stands_in(where, reason):
    return (f"    What = the signed element stands in {where}\n    WithReferences = false\n"
            f"    Reasons = {reason}\n    Log = {NOT_ONE}")


def cut_outs():
    """What was signed stands where no reader sees it; the visible element is another."""
    documento = '<Documento ID="T1"><Monto a=" 1 ">119</Monto></Documento>'
    dte = f'<DTE version="1.0" a="sii.cl">{documento}</DTE>'
    block = signature(ref("#T1", c14n(documento), INC), c14n_method=INC)
    forged = documento.replace("119", "999999").replace('"', "'")
    honest = f'<Envio><DTE version="1.0" a="sii.cl">{documento}{block}</DTE></Envio>'
    case("cut-outs/sii", honest, """
    What = as signed
    Profile = sii
    WithReferences = true
    """ + run("another amount", "119 => 118") + "".join(run(
        f"a document type that {what}", f"<Envio> => <!DOCTYPE Envio [<!ATTLIST Monto {declaration}>]><Envio>",
        more="Reasons = 99\n    " + DECLARES)
        for what, declaration in (("adds an attribute", "evil CDATA '1'"), ("adds a namespace", "xmlns CDATA 'urn:evil'"),
                                  ("changes a value by its type", "a NMTOKEN #IMPLIED"))))
    for number, (where, hidden) in enumerate(in_hiding(dte)):
        case(f"cut-outs/sii-hidden-{number}", f"<DTE version='1.0'>{forged}{block}{hidden}</DTE>",
             stands_in(where, 99))
    case("cut-outs/sii-other-element", f"<Envio><DTE version='1.0'>{forged}{block}</DTE><x>{dte}</x></Envio>", """
    What = the signed element stands beside one that has its Id
    WithReferences = false
    Reasons = 5
    Log = The Id is not unique: it stands on several elements.""")
    body = "<doda><Folio>7</Folio>@</doda>"
    prolog = "<!DOCTYPE m:doc [<!ATTLIST Folio evil CDATA '1'>]>"
    envelope = '<m:doc xmlns:m="http://impl.siat.sat.gob.mx/matce">{}</m:doc>'
    cut = enveloped(body, ENVELOPED, INC, c14n_method=INC)
    case("cut-outs/doda", envelope.format(cut), HONEST + run(
        "another number", "<Folio>7 => <Folio>8", value="true") + run(
            "a document type that adds an attribute", f"<m:doc  => {prolog}<m:doc\\x20", value="false",
            more="Reasons = 5\n    " + DECLARES))
    signed = signature(ref("", c14n(body.replace("@", "")), ENVELOPED, INC), c14n_method=INC)
    for number, (where, hidden) in enumerate(in_hiding(cut)):
        shown = f"<doda ><Folio>8</Folio>{signed}</doda >"
        case(f"cut-outs/doda-hidden-{number}", envelope.format(hidden + shown),
             stands_in(where, 5))
    document = '<Document xmlns="urn:d"><Sum>5</Sum></Document>'
    signed = signature(ref("", c14n(document), ENVELOPED, INC))
    envelope = '<e:Env xmlns:e="urn:cma:stp:xsd:stp">{}</e:Env>'
    case("cut-outs/cma-stp", envelope.format(document + signed), HONEST + run("another sum", "<Sum>5 => <Sum>6", value="true"))
    for number, (where, hidden) in enumerate(in_hiding(document)):
        case(f"cut-outs/cma-stp-hidden-{number}", envelope.format(f"{hidden}<Pay>999</Pay>{signed}"),
             f"    What = the signed element stands in {where}\n    WithReferences = false\n    Log = {NOT_ONE}")


def removals():
    """Each shape that leaves elements out, with tags that only the text search sees around other content."""
    namespaces = ' xmlns:sig="urn:sig" xmlns:ext="urn:ext" xmlns:cac="urn:cac" xmlns:cbc="urn:cbc" xmlns:S="urn:s"'
    ebxml = f'not(ancestor-or-self::node()[@S:actor="{NEXT_MSH}"])'
    extensions = transform(FILTER2, '<XPath Filter="intersect">/</XPath><XPath Filter="subtract">'
                           "here()/ancestor::ext:UBLExtensions/ext:UBLExtension</XPath>")
    shapes = (
        ("element", xpath("not(//ancestor-or-self::ext:UBLExtensions)"), "<ext:UBLExtensions>", "</ext:UBLExtensions>"),
        ("element-with-id", xpath("not(//ancestor-or-self::cac:Doc[cbc:ID='QR'])"), "<cac:Doc>",
         "<cbc:ID>QR</cbc:ID></cac:Doc>"),
        ("document-signatures", xpath("count(ancestor-or-self::sig:UBLDocumentSignatures | here()/x) > 1"),
         "<sig:UBLDocumentSignatures>", "</sig:UBLDocumentSignatures>"),
        ("business-signatures", xpath("not(//ancestor-or-self::cac:Signature)"), "<cac:Signature>", "</cac:Signature>"),
        ("extensions", extensions, "<ext:UBLExtensions>", "</ext:UBLExtensions>"),
        ("ebxml", xpath(ebxml), f'<x S:actor="{NEXT_MSH}">', "</x>"))
    for name, expression, start, end in shapes:
        left_out = start + end
        template = f"<r{namespaces}><Sum>1</Sum>@{REST}{left_out}</r>"
        octets = c14n(f"<r{namespaces}><Sum>1</Sum>{REST}</r>")
        case(f"removals/{name}", enveloped(template, ENVELOPED, expression, INC, octets=octets),
             HONEST + run("another sum", "<Sum>1 => <Sum>2", value="true") + hidden_pairs(start, end, left_out))
    lau()


def lau():
    template = '{}<DataPDU xmlns="urn:swift:saa:xsd:saa.2.0"><Body>5</Body>' + REST + "{}</DataPDU>"
    block = signature(ref("", exc(template.format("", "")), ENVELOPED, EXC), prefix="ds:")
    case("removals/swift", template.format("", f"<LAU>{block}</LAU>"), HONEST + run(
        "another body", "<Body>5 => <Body>6", value="true"))
    case("removals/swift-hidden", template.format("", f"<b></b>{block}"), """
    What = an element that is no block and not signed
    WithReferences = false""" + hidden_pairs("<LAU>", "</LAU>", "<b></b>", "instructions"))
    entity = "<!DOCTYPE DataPDU [<!ENTITY e '&#60;LAU>pay 999&#60;/LAU>'>]>"
    case("removals/swift-entity", template.format(entity, f"&e;{block}"), """
    What = the block comes from an entity: left out like any other, and shown
    WithReferences = true
    Warning = coverage-unknown
    Accommodations = profile.removal""" + run("another text of the entity", "pay 999 => pay 998", valid="true"))


def zatca_first_reference():
    transforms = [xpath("not(//ancestor-or-self::ext:UBLExtensions)"), C14N11]
    genuine = c14n('<Invoice xmlns="urn:invoice" xmlns:ext="urn:ext"><Amount>100</Amount></Invoice>')
    value = sign(hashlib.sha256(genuine).digest(), "k256")
    how = {"id": "signature", "prefix": "ds:", "method": MORE + "ecdsa-sha256", "c14n_method": C14N11,
           "value": value, "signed": b""}
    invoice = ('<Invoice xmlns="urn:invoice" xmlns:ext="urn:ext"><ext:UBLExtensions>{}</ext:UBLExtensions>'
               "<Amount>{}</Amount>{}</Invoice>")
    options = "    Key = k256\n    Options = ZATCA"
    whole = ref("", genuine, *transforms)
    case("zatca-first-reference/whole", invoice.format(signature(whole, **how), 100, ""),
         f"    What = as signed\n{options}\n    WithReferences = true\n    Reasons = 0" +
         run("another amount", "<Amount>100 => <Amount>999", value="true", more=f"{options.strip()}\n    Reasons = 1"))
    note = f'<Note Id="n">{b64(genuine)}</Note>'
    forged_octets = c14n('<Invoice xmlns="urn:invoice" xmlns:ext="urn:ext"><Amount>999</Amount>' + note + "</Invoice>")
    for name, refs in (("encoded", [ref("#n", genuine, BASE64)]),
                       ("encoded-then-whole", [ref("#n", genuine, BASE64), ref("", forged_octets, *transforms)]),
                       ("external", [ref("invoice.xml", genuine)])):
        case(f"zatca-first-reference/{name}", invoice.format(signature(*refs, **how), 999, note),
             f"    What = the first reference is not the invoice, whose hash it has\n{options}\n    WithReferences = false\n"
             "    WithoutReferences = false\n    Log = The first Reference is not to the whole document.\n    LogOf = value")
    both = invoice.format(signature(whole, ref("#n", exc(note.replace("<Note", '<Note xmlns="urn:invoice"')), EXC),
                                    **how), 100, "<ext:UBLExtensions>" + note + "</ext:UBLExtensions>")
    case("zatca-first-reference/second-is-not-signed", both, f"""
    What = the value vouches for the first reference only
{options}
    WithReferences = true
    Reasons = 0 0
    Warning = references-not-signed""")


def duplicate_id():
    """Two elements have the Id, one of them where the transforms take it out."""
    element = '<a Id="x">pay {}</a>'
    octets = b'<a Id="x">pay 1</a>'
    reference = ref("#x", octets, ENVELOPED, EXC)
    one = element.format(1)
    case("duplicate-id/one", f"<r>{one}{signature(reference)}</r>", GOOD + run(
        "another text", "pay 1 => pay 2", value="true", more="Reasons = 1"), "a")
    other = f"<Object>{element.format(999)}</Object>"
    runs = """
    What = {}
    WithReferences = false
    WithoutReferences = true
    Reasons = 5
    Log = The Id is not unique: it stands on several elements.
    """
    case("duplicate-id/in-the-signature", f"<r>{signature(reference, after=other)}{one}</r>",
         runs.format("the second one stands in the signature, which is taken out"))
    case("duplicate-id/in-an-extension", '<r xmlns:ext="urn:ext"><ext:UBLExtensions>{}</ext:UBLExtensions>{}{}</r>'.format(
        element.format(999), one, signature(ref("#x", octets, xpath("not(//ancestor-or-self::ext:UBLExtensions)"), EXC))),
        runs.format("the second one stands in an element that an expression takes out"))
    case("duplicate-id/behind-the-signature", f"<r>{one}{signature(reference)}<Signature>{element.format(999)}</Signature></r>",
         runs.format("the second one stands in a namesake behind the signature"))
    subset = "<!DOCTYPE r [<!ATTLIST b key ID #IMPLIED><!ATTLIST c Id CDATA 'x'><!ENTITY e \"<b Id='x'>999</b>\">]>"
    other = "".join(run(what, f"<b></b> => {holder}", value="true", more="Reasons = 5") for what, holder in (
        ("an xml:id", "<b xml:id='x'>999</b>"), ("in capitals", "<b ID='x'>999</b>"), ("an assertion", "<b AssertionID='x'/>"),
        ("under a prefix", "<b xmlns:u='urn:u' u:Id='x'/>"), ("declared as an Id", "<b key='x'/>"), ("by default", "<c/>"),
        ("in an entity", "&e;"), ("white space around it, declared as an Id", "<b key=' x '/>")))
    case("duplicate-id/other-attributes", f"{subset}<r>{one}<b></b>{signature(reference)}</r>", HONEST + other)
    case("duplicate-id/only-in-text", f"<r><!--{element.format(999)}--><c><![CDATA[{element.format(999)}]]></c>{one}"
         f"{signature(reference)}</r>", GOOD.replace("as signed", "a copy in a comment or section is no element"))


def decoy():
    """Another signature with the Id, in front or within, so that the wrong one is taken out or read."""
    template = '<r xmlns:ext="urn:ext"><Sum>1</Sum>{}</r>'
    octets = c14n(template.format(""))
    genuine = signature(ref("", octets, ENVELOPED, INC), id="s")
    case("decoy/honest", template.format(genuine), GOOD + run(
        "another sum", "<Sum>1 => <Sum>2", value="true", more="Reasons = 1"), "")
    payload = f'<Object Id="e">{EVIL}</Object>'
    false_one = signature(ref("#e", b"", EXC), id="s", after=payload, value="AAAA", signed=b"")
    for name, content, number in (("in-front", false_one + genuine, 1), ("behind", genuine + false_one, 0)):
        case(f"decoy/{name}", template.format(content), f"""
    What = the false one
    Selector = {1 - number}
    WithReferences = false
    WithoutReferences = false

    What = other content beside both
    Selector = {number}
    Change = <Sum>1 => <Sum>2
    WithReferences = false""")
    case("decoy/apart", template.format(f"{false_one}<b/>{genuine}"), """
    What = the false one in front, which holds content, is not the one that is taken out
    Selector = 1
    WithReferences = false""")
    block = signature(ref("", octets, xpath("not(//ancestor-or-self::ext:UBLExtensions)"), INC), id="s")
    extension = f"<ext:UBLExtensions>{block}</ext:UBLExtensions>"
    case("decoy/extension", template.format(extension), HONEST)
    case("decoy/beside-extension", template.format(extension + false_one), """
    What = an expression takes the genuine signature out, so another with its Id is looked for
    WithReferences = false
    WithoutReferences = true
    Log = Unable to find the Signature by Id.""")


def base64_strict():
    text = b"pay 1 EUR to Alice"
    document = f"<r><d Id='x'>{b64(text)}</d>{signature(ref('#x', text, BASE64))}</r>"
    encoded = b64(text)
    runs = GOOD
    for what, changed in (("text behind the value", encoded + "*** pay 999 ***"), ("text in front of it", "(999)" + encoded),
                          ("foreign characters within it", encoded[:8] + "-_!" + encoded[8:]),
                          ("a second value behind padding", encoded[:-4] + encoded[-4:] + "=" + "cGF5IDk="),
                          ("no-break spaces", encoded + "&#160;"), ("one character too many", encoded + "A"),
                          ("a letter beyond ASCII", encoded + "&#65313;")):
        runs += run(what, f">{encoded}< => >{changed}<", value="true", more="Reasons = 1")
    runs += run("white space of every kind", f">{encoded}< => >\\n {encoded[:5]}&#9;&#13;{encoded[5:]} <", valid="true")
    runs += run("an element within is not digested, and the report says so", f">{encoded}< => >{encoded}{EVIL}<", valid="true",
                more="Warning = content-excluded")
    runs += run("nor is an attribute", "<d Id='x'> => <d Id='x' evil='999'>", valid="true", more="Warning = coverage-unknown")
    runs += run("a comment within", f">{encoded}< => >{encoded[:4]}<!--999-->{encoded[4:]}<", valid="true")
    case("base64-strict/text", document, runs, "d")
    block = signature(ref("#x", text, BASE64), prefix="ds:", after=f'<ds:Object Id="x">{encoded}</ds:Object>')
    case("base64-strict/enveloping", block, GOOD + run(
        "an element within is not digested, in the signature as well", f">{encoded}< => >{encoded}{EVIL}<", valid="true",
        more="Warning = content-excluded"))


def more_wrapping():
    """The signed part keeps its digest and loses its place; the structure of a signature is bent."""
    element = '<a Id="x">pay 1</a>'
    block = signature(ref("#x", element.encode(), EXC))
    prefixed = signature(ref("#x", element.encode(), EXC), prefix="ds:")
    info = re.search("<SignedInfo>.*</SignedInfo>", block).group(0)
    covered = "\n    Warning = document-not-covered"
    holding = prefixed.replace("</ds:Signature>", f"<ds:Object>{element}</ds:Object></ds:Signature>")
    case("wrapping/moved-into-object", f"<r><a>pay 999</a>{holding}</r>",
         "    What = the signed element hides in the signature: valid for that element, never for the document\n"
         "    WithReferences = true\n    Reasons = 0" + covered)
    case("wrapping/moved-under-other-root", f"<Evil><a>pay 999</a><r>{element}{block}</r></Evil>",
         "    What = another document around the signed element\n    WithReferences = true\n    Reasons = 0" + covered)
    false_info = info.replace(sha(element.encode()), sha(b'<a Id="x">pay 999</a>'))
    bent = (("in-a-foreign-element", f"<x>{info}</x>{false_info}"), ("of-another-namespace", info.replace(
        "<SignedInfo>", '<o:SignedInfo xmlns:o="urn:o">').replace("</SignedInfo>", "</o:SignedInfo>") + false_info))
    for name, change in bent:
        case(f"wrapping/signed-info-{name}", f'<r>{element.replace("pay 1", "pay 999")}{block.replace(info, change)}</r>', """
    What = the genuine SignedInfo is not the one of the signature
    WithReferences = false
    WithoutReferences = false""")
    whole = signature(ref("", b"<r><a>1</a></r>", ENVELOPED, EXC))
    inner = signature(ref("", b"", ENVELOPED, EXC), after=f"<Object>{whole}</Object>", value="AAAA", signed=b"")
    case("wrapping/in-a-signature", f"<r><a>1</a>{inner}</r>", """
    What = the outer one is false
    NumSignatures = 2
    Selector = 0
    WithReferences = false
    WithoutReferences = false

    What = the inner one did not sign what is around it
    Selector = 1
    WithReferences = false
    WithoutReferences = true""")


def manifest():
    element = '<a Id="x">pay 1</a>'
    listed = f'<Manifest xmlns="{DS}" Id="m">{ref("#x", element.encode(), EXC)}</Manifest>'
    document = "<r>{}{}</r>".format(element, signature(ref("#m", c14n(listed), EXC), after=f"<Object>{listed}</Object>"))
    case("manifest/listed", document, GOOD + """
    Warning = manifest-not-checked
    Warning = document-not-covered
    """ + run("what only the manifest lists is not checked, and the report says so", "pay 1 => pay 999", valid="true",
              more="Warning = manifest-not-checked\n    Warning = document-not-covered") +
         run("the manifest itself is checked", f"{sha(element.encode())} => {sha(b'other')}", value="true", more="Reasons = 1"))


def confusion():
    """Values that mean one thing to one reader and another to the next."""
    element = '<a Id="x">pay 1</a>'
    hmac_method = MORE + "hmac-sha256"
    public = serialization.load_pem_public_key((KEYS / "rsa.pub").read_bytes())
    numbers = public.public_numbers()

    def octets(n):
        return n.to_bytes((n.bit_length() + 7) // 8, "big")

    def encoded(encoding, form):
        return public.public_bytes(getattr(serialization.Encoding, encoding), getattr(serialization.PublicFormat, form))

    carried = (f"<KeyInfo><KeyValue><RSAKeyValue><Modulus>{b64(octets(numbers.n))}</Modulus>"
               f"<Exponent>{b64(octets(numbers.e))}</Exponent></RSAKeyValue></KeyValue></KeyInfo>")
    secrets = (("PEM", encoded("PEM", "SubjectPublicKeyInfo")), ("DER", encoded("DER", "SubjectPublicKeyInfo")),
               ("RSAPublicKey", encoded("DER", "PKCS1")), ("modulus", octets(numbers.n)), ("text of the modulus", b64(octets(numbers.n)).encode()),
               ("nothing", b""))
    for number, (what, secret) in enumerate(secrets):
        probe = signature(ref("#x", element.encode(), EXC), method=hmac_method, value="@")
        info = re.search("<SignedInfo>.*</SignedInfo>", probe).group(0)
        value = b64(hmac.new(secret, exc(info.replace("<SignedInfo", f'<SignedInfo xmlns="{DS}"', 1)), "sha256").digest())
        block = signature(ref("#x", element.encode(), EXC), method=hmac_method, value=value, after=carried)
        case(f"confusion/hmac-by-public-key-{number}", f"<r>{element}{block}</r>", "".join(f"""

    What = the secret is {what} of the public key, which everybody has; at hand: {key}
    Key = {key}
    WithReferences = false
    WithoutReferences = false""" for key in ("rsa", "hmac", "none")))
    for length, bits in (("0", 0), ("8", 8), ("-128", 128), ("1e2", 128), ("99999999999999999999", 128), ("136", 128), ("128", 120)):
        block = signature(ref("#x", element.encode(), EXC), method=hmac_method, key=f"hmac-{bits}",
                          inner=f"<HMACOutputLength>{length}</HMACOutputLength>")
        case(f"confusion/hmac-length-{length}", f"<r>{element}{block}</r>", f"""
    What = a length of {length} bits, and {bits} of them
    Key = hmac
    WithReferences = false
    WithoutReferences = false""")
    document = f"<r>{element}{signature(ref('#x', element.encode(), EXC))}</r>"
    value = re.search("<SignatureValue>(.*)</SignatureValue>", document).group(1)
    runs = GOOD
    for what, text in (("signature", value), ("digest", sha(element.encode()))):
        for form, between in (("a comment", "<!--x-->"), ("an instruction", "<?x y?>"), ("a CDATA section", "<![CDATA[]]>"),
                              ("an element", "<x/>"), ("a reference", f"&#{ord(text[4])};")):
            signed = what == "signature" or form in ("a comment", "a CDATA section", "a reference")
            rest = text[5:8] if form == "a reference" else text[4:8]
            runs += run(f"the {what} with {form} in it", f">{text[:8]} => >{text[:4]}{between}{rest}", valid="true" if signed else "false",
                        value="true" if signed else "false")
    case("confusion/values", document, runs)


if __name__ == "__main__":
    make((confusion, cut_outs, removals, zatca_first_reference, duplicate_id, decoy, base64_strict, more_wrapping, manifest))
