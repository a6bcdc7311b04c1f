#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the signed documents below tests/vectors/dsig, each with what a verifier must say of it.

    tools/make_dsig_vectors.py [GROUP...]

Canonical octets come from xmllint (libxml2), signature values from openssl, certificates and values of ML-DSA
from the Python package cryptography; where a document
deviates from the standard, the octets that its signers digest are written out here. A document that
is valid by the standard as well is checked with xmlsec1. The expectations are this script's, not
output of the library. Keys that exist in tests/vectors/dsig/keys are kept.
"""

import base64
import datetime
import hashlib
import hmac
import pathlib
import re
import subprocess
import sys
import tempfile

from cryptography import x509
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import mldsa

OUT = pathlib.Path(__file__).resolve().parents[1] / "tests/vectors/dsig"
KEYS = OUT / "keys"

DS = "http://www.w3.org/2000/09/xmldsig#"
MORE = "http://www.w3.org/2001/04/xmldsig-more#"
INC = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315"
EXC = "http://www.w3.org/2001/10/xml-exc-c14n#"
C14N11 = "http://www.w3.org/2006/12/xml-c14n11"
XPATH = "http://www.w3.org/TR/1999/REC-xpath-19991116"
FILTER2 = "http://www.w3.org/2002/06/xmldsig-filter2"
SHA256 = "http://www.w3.org/2001/04/xmlenc#sha256"
ENVELOPED = DS + "enveloped-signature"
BASE64 = DS + "base64"
SECRET = "a secret of some length"
CONTEXT = b"a context"
XMLNS = f' xmlns="{DS}"'


def run(*arguments, data=b""):
    return subprocess.run(arguments, input=data, stdout=subprocess.PIPE, check=True).stdout


def c14n(text, exclusive=False):
    """Canonical form without comments of a text that is a document of its own."""
    data = text if isinstance(text, bytes) else text.encode()
    data = re.sub(rb"<!--.*?-->", b"", data, flags=re.S)
    return run("xmllint", "--exc-c14n" if exclusive else "--c14n", "-", data=data)


def exc(text):
    return c14n(text, True)


def b64(data):
    return base64.b64encode(data).decode()


def sha(octets, name="sha256"):
    return b64(hashlib.new(name, octets).digest())


def sign(octets, key="rsa"):
    if key.startswith("hmac"):  # "hmac-128": its first 128 bits
        size = int(key[5:] or 256) // 8
        return b64(hmac.new(SECRET.encode(), octets, "sha256").digest()[:size])
    if key == "ed25519":
        with tempfile.NamedTemporaryFile() as message:
            message.write(octets)
            message.flush()
            return b64(run("openssl", "pkeyutl", "-sign", "-rawin", "-in", message.name, "-inkey",
                           str(KEYS / f"{key}.key")))
    if key == "pss":  # with a salt of 32 bytes
        return b64(run("openssl", "dgst", "-sha256", "-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:32",
                       "-sign", str(KEYS / "rsa.key"), data=octets))
    if key == "mldsa65":
        private = serialization.load_pem_private_key((KEYS / f"{key}.key").read_bytes(), None)
        return b64(private.sign(octets, CONTEXT))
    return b64(run("openssl", "dgst", "-sha256", "-sign", str(KEYS / f"{key}.key"), data=octets))


def self_signed(key, name):
    """A certificate of a key, in DER, and the same whenever it is made."""
    private = serialization.load_pem_private_key((KEYS / f"{key}.key").read_bytes(), None)
    subject = x509.Name([x509.NameAttribute(x509.NameOID.COMMON_NAME, name)])
    begin = datetime.datetime(2020, 1, 1)
    builder = (x509.CertificateBuilder().subject_name(subject).issuer_name(subject).serial_number(1)
               .public_key(private.public_key()).not_valid_before(begin).not_valid_after(begin.replace(year=2120)))
    return builder.sign(private, hashes.SHA256()).public_bytes(serialization.Encoding.DER)


def transform(algorithm, inner=""):
    return f'<Transform Algorithm="{algorithm}">{inner}</Transform>'


def xpath(expression, algorithm=XPATH, attributes="", rest=""):
    expression = expression.replace("&", "&amp;").replace("<", "&lt;")
    return transform(algorithm, f'<XPath{attributes}>{expression}</XPath>{rest}')


def ref(uri, octets, *transforms, method=SHA256, value=None, listed=True):
    """A Reference whose digest is that of `octets`. A transform is its identifier or its XML."""
    items = "".join(t if t.startswith("<") else transform(t) for t in transforms)
    items = f"<Transforms>{items}</Transforms>" if transforms and listed else ""
    target = "" if uri is None else f' URI="{uri}"'
    digest = sha(octets) if value is None else value
    return (f'<Reference{target}>{items}<DigestMethod Algorithm="{method}"></DigestMethod>'
            f"<DigestValue>{digest}</DigestValue></Reference>")


def prefixed(markup, prefix):
    return re.sub(r"(</?)(\w+)(?=[\s>/])", rf"\1{prefix}\2", markup)


def signature(*refs, prefix="", id="", method=MORE + "rsa-sha256", key="rsa", c14n_method=EXC, scope="", after="",
              signed=None, value=None, bare=False, before="", name="Signature", declared=None, inner_scope=None, inner=""):
    """A Signature. `scope`: declarations that inclusive canonicalization finds around it."""
    info = (f'<SignedInfo><CanonicalizationMethod Algorithm="{c14n_method}"></CanonicalizationMethod>'
            f'<SignatureMethod Algorithm="{method}">{inner}</SignatureMethod>{"".join(refs)}</SignedInfo>')
    own = f' xmlns{":" + prefix[:-1] if prefix else ""}="{DS}"'
    info = prefixed(info, prefix)
    if signed is None:
        inherited = own + scope if inner_scope is None else inner_scope
        alone = re.sub(r"(<[\w:]+)", lambda m: m.group(1) + inherited, info, count=1)
        signed = c14n(alone, c14n_method == EXC)
    result = sign(signed, key) if value is None else value
    identifier = f' Id="{id}"' if id else ""
    declaration = own if declared is None else declared
    return (f"<{prefix}{name}{'' if bare else declaration}{identifier}>{before}{info}<{prefix}SignatureValue>{result}"
            f"</{prefix}SignatureValue>{after}</{prefix}{name}>")


def enveloped(template, *transforms, octets=None, uri="", **how):
    """`template` with a signature over it in place of its @."""
    octets = c14n(template.replace("@", "")) if octets is None else octets
    return template.replace("@", signature(ref(uri, octets, *transforms), **how))


written = set()


def case(path, document, runs, standard=None):
    """Writes one case. `standard`: names of the elements with Ids of a document that xmlsec1 verifies."""
    if len(sys.argv) > 1 and path.split("/")[0] not in sys.argv[1:]:
        return
    assert path not in written, path
    written.add(path)
    folder = OUT / path
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "document.xml").write_bytes(document if isinstance(document, bytes) else document.encode())
    runs = re.sub(r"^ +", "", runs.strip("\n"), flags=re.M)
    (folder / "case.vec").write_text(f"# Made by tools/{pathlib.Path(sys.argv[0]).name}.\n[runs]\n{runs.rstrip()}\n")
    if standard is not None:
        ids = [word for name in standard.split() for word in ("--id-attr:Id", name)]
        run("xmlsec1", "--verify", "--pubkey-pem", str(KEYS / "rsa.pub"), *ids, str(folder / "document.xml"))


def make_keys():
    KEYS.mkdir(parents=True, exist_ok=True)
    for name, options in (("rsa", ["-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048"]),
                          ("k256", ["-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:secp256k1"]),
                          ("ed25519", ["-algorithm", "ED25519"])):
        key = KEYS / f"{name}.key"
        if not key.exists():
            run("openssl", "genpkey", *options, "-out", str(key))
        run("openssl", "pkey", "-in", str(key), "-pubout", "-out", str(KEYS / f"{name}.pub"))
    if not (KEYS / "mldsa65.key").exists():
        private = mldsa.MLDSA65PrivateKey.generate()
        (KEYS / "mldsa65.key").write_bytes(private.private_bytes(
            serialization.Encoding.PEM, serialization.PrivateFormat.PKCS8, serialization.NoEncryption()))
        (KEYS / "mldsa65.pub").write_bytes(private.public_key().public_bytes(
            serialization.Encoding.PEM, serialization.PublicFormat.SubjectPublicKeyInfo))


GOOD = """
    What = as signed
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Accommodations ="""
IMPLIED = f"{GOOD} enveloped.implied"


def changed(what, reason=1, more=""):
    return f"""

    What = content changed
    Change = {what}
    WithReferences = false
    WithoutReferences = true
    Reasons = {reason}
    Log = Failed to verify reference digest
    {more}"""


def sii():
    """A DTE signed with no namespace in scope, then enclosed in an EnvioDTE that declares some."""
    documento = '<Documento ID="T1"><Monto>119</Monto></Documento>'
    dte = f'<DTE version="1.0">\n{documento}@</DTE>'
    first = signature(ref("#T1", c14n(documento), method=DS + "sha1", value=sha(c14n(documento), "sha1")),
                      c14n_method=INC)
    scope = ' xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"'
    opening = f'<EnvioDTE xmlns="http://www.sii.cl/SiiDte"{scope} version="1.0">'
    content = f'><Caratula>1</Caratula>{dte.replace("@", first)}</SetDTE>'
    alone = c14n(f'<SetDTE xmlns="http://www.sii.cl/SiiDte"{scope} ID="SetDoc"{content}')
    second = signature(ref("#SetDoc", alone, INC), c14n_method=INC, scope=scope)
    case("sii/enclosed", f'{opening}<SetDTE ID="SetDoc"{content}{second}</EnvioDTE>', """
    What = the DTE verifies in the text that was cut out, so only with its references
    NumSignatures = 2
    Profile = sii
    WithReferences = true
    WithoutReferences = false
    Reasons = 0
    Log = Preprocessing for sii.cl
    Log = profileMarkerOffset
    Accommodations = profile.cut-out

    What = the set verifies in the whole document
    Selector = 1
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Accommodations =

    What = after the DTE, the cut text is still there and too short for the set's signature
    First = 0
    Selector = 1
    WithReferences = false
    WithoutReferences = false
    Log = Failed to canonicalize sii.cl SignedInfo fragment.

    What = a changed amount; no other order of attributes is tried
    Change = >119< => >118<
    WithReferences = false
    WithoutReferences = false
    Reasons = 1
    NoLog = Retry with duplication

    What = another name than Documento is not cut out
    Change = <Documento => <Documenta
    Change = </Documento => </Documenta
    WithReferences = false
    Reasons = 1
    Accommodations =

    What = an element between the two start tags prevents the cut
    Change = <DTE version="1.0"> => <DTE version="1.0"><x/>
    WithReferences = false
    Reasons = 1
    Accommodations =

    What = the first marker of the list decides
    Change = <Caratula> => <Caratula a="urn:cma:stp:xsd:stp">
    Profile = sii
    WithReferences = true
    """)
    case("sii/alone", dte.replace("@", first), GOOD + """
    Profile =

    What = the marker alone changes nothing where the DTE stands at the very beginning
    Change = <DTE version => <DTE a="sii.cl" version
    Profile = sii
    WithReferences = true
    WithoutReferences = true
    """ + changed(">119< => >118<"))


def doda():
    body = "<doda><Folio>7</Folio>@</doda>"
    ordinary = f"<m:doc xmlns:m='urn:m'>{body}</m:doc>"
    cut = enveloped(body, ENVELOPED, INC, c14n_method=INC)
    case("doda/cut-out", f'<m:doc xmlns:m="http://impl.siat.sat.gob.mx/matce">{cut}<tail/></m:doc>', """
    What = signed without what surrounds it
    Profile = sat-doda
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Log = Canonicalizing fragment from <doda> to </doda>
    Accommodations = profile.cut-out

    What = what stands around is not covered
    Change = <tail/> => <tail>new</tail>
    WithReferences = true

    What = what stands within is
    Change = <Folio>7 => <Folio>8
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    Log = Failed to verify reference digest

    What = without the marker it is an ordinary document, and the namespace around it counts
    Change = sat.gob.mx => sat.gob.mz
    Profile =
    WithReferences = false
    WithoutReferences = false
    Reasons = 1
    Log = RSA verify hash found the signature to be invalid.
    LogOf = value

    What = the first start counts, wherever it stands
    Change = <doda> => <!--<doda>--><doda>
    WithReferences = false
    WithoutReferences = false
    Reasons = 5
    Log = Failed to canonicalize doda SignedInfo fragment.
    LogOf = value
    """)
    case("doda/marker-only", enveloped(ordinary.replace("doda>", "dodo>").replace("<Folio>", "<Folio a='sat.gob.mx'>"),
                                       ENVELOPED, INC, c14n_method=INC, scope=" xmlns:m='urn:m'"),
         GOOD + "\n    Profile =" + changed("<Folio => <Folia\n    Change = </Folio => </Folia"), "")


def zatca():
    # By the standard these expressions select nothing; what their signers mean is to leave out.
    transforms = [xpath(f"not(//ancestor-or-self::{e})") for e in
                  ("ext:UBLExtensions", "cac:Signature", "cac:AdditionalDocumentReference[cbc:ID='QR']")] + [C14N11]
    opening = ('<Invoice xmlns="urn:invoice" xmlns:cac="urn:cac" xmlns:cbc="urn:cbc" xmlns:ext="urn:ext">')
    rest = ('<cbc:ID>S1</cbc:ID>{qr}{sig}<cbc:Amount currency="SAR">100</cbc:Amount></Invoice>')
    reference = "<cac:AdditionalDocumentReference><cbc:ID>{}</cbc:ID></cac:AdditionalDocumentReference>"
    signed = c14n(opening + rest.format(qr=reference.format("ICV"), sig=""))
    # The digest method is closed at once in what is digested, opened and closed in the document.
    properties = ('<xades:SignedProperties xmlns:xades="http://uri.etsi.org/01903/v1.3.2#" Id="props"><ds:DigestMethod '
                  + f'xmlns:ds="{DS}" Algorithm="{SHA256}"></ds:DigestMethod><xades:a></xades:a></xades:SignedProperties>')
    digested = exc(properties).replace(b"></ds:DigestMethod>", b"/>", 1)
    hexadecimal = b64(hashlib.sha256(digested).hexdigest().encode())

    def document(octets, value=None):
        invoice_hash = hashlib.sha256(octets).digest() if value is None else value
        block = signature(ref("", octets, *transforms, value=b64(invoice_hash)), ref("#props", b"", value=hexadecimal),
                          id="signature", prefix="ds:", method=MORE + "ecdsa-sha256", c14n_method=C14N11,
                          value=sign(invoice_hash, "k256"), signed=b"",
                          after="<ds:Object>" + properties + "</ds:Object>")
        extensions = f"<ext:UBLExtensions><ext:UBLExtension>{block}</ext:UBLExtension></ext:UBLExtensions>"
        return opening + extensions + rest.format(
            qr=reference.format("ICV") + reference.format("QR"), sig="<cac:Signature><cbc:ID>x</cbc:ID></cac:Signature>")

    case("zatca/invoice", document(signed), """
    What = with the option
    Key = k256
    Options = ZATCA
    NumSignatures = 1
    WithReferences = true
    WithoutReferences = true
    Reasons = 0 0
    Log = Will validate according to ZATCA rules...
    NoLog = Retry with ZATCA rules...
    Accommodations = zatca.rules xpath.by-shape

    What = the option in lower case, loaded from bytes
    Key = k256
    Options = x-zatca
    Load = bytes
    WithReferences = true
    WithoutReferences = true

    What = without the option the rules are found by the length of the second digest
    Key = k256
    WithReferences = true
    WithoutReferences = false
    Reasons = 0 0
    Log = Retry with ZATCA rules...
    Accommodations = zatca.auto zatca.rules xpath.by-shape

    What = a changed amount; the value covers the stored digest only
    Key = k256
    Options = ZATCA
    Change = >100< => >101<
    WithReferences = false
    WithoutReferences = true
    Reasons = 1 0
    Log = refFailureCount: 1
    NoLog = Retry with duplication

    What = what the expressions leave out may change
    Key = k256
    Options = ZATCA
    Change = <cbc:ID>x< => <cbc:ID>y<
    Change = <cbc:ID>QR</cbc:ID> => <cbc:ID>QR</cbc:ID><x/>
    WithReferences = true

    What = another attachment may not
    Key = k256
    Options = ZATCA
    Change = >ICV< => >ICW<
    WithReferences = false
    Reasons = 1 0

    What = changed properties
    Key = k256
    Options = ZATCA
    Change = <xades:a></xades:a> => <xades:b></xades:b>
    WithReferences = false
    Reasons = 0 1
    """)
    case("zatca/enveloped", enveloped('<Invoice><Sum>1</Sum>@</Invoice>', ENVELOPED, INC, id="signature"), """
    What = an ordinary enveloped signature
    WithReferences = true
    Reasons = 0

    What = by the rules a signature of this Id is not taken out, since the expressions do that
    Options = ZATCA
    WithReferences = false
    Reasons = 1
    """)
    # Twenty bytes that the key has signed somewhere else are not the hash of an invoice.
    case("zatca/short-hash", document(signed, b"twenty octets, no m."), """
    What = the first digest is not of its method's size
    Key = k256
    Options = ZATCA
    WithReferences = false
    WithoutReferences = false
    Reasons = 1 0
    Log = The first DigestValue is not a digest of its method.
    LogOf = value
    """)


def simple_profiles():
    """Peru, CMA STP, SK-XML: one simple rule each."""
    ubl = '<Invoice xmlns="urn:i" xmlns:cac="urn:cac" a="urn:sunat:names:specification:ubl:peru"><cac:Signature Id="s"/>@</Invoice>'
    case("peru/enveloped", enveloped(ubl, ENVELOPED, INC, id="SignSUNAT"), GOOD + """
    NumSignatures = 1
    Profile = peru-ubl
    """ + changed('<cac:Signature Id="s"/> => <cac:Signature Id="t"/>'), "")

    envelope = '<e:Env xmlns:e="urn:cma:stp:xsd:stp">{}@</e:Env>'
    document = '<Document xmlns="urn:d"><Sum>5</Sum></Document>'
    case("cma-stp/document", envelope.format(f"<e:Head>h</e:Head>{document}").replace(
        "@", signature(ref("", c14n(document), ENVELOPED, INC))), """
    What = a whole-document reference covers the Document element alone
    Profile = cma-stp
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    NoLog = URI is the entire XML document.
    Accommodations = profile.cut-out

    What = around it anything may change
    Change = <e:Head>h => <e:Head>i
    WithReferences = true

    What = within it nothing may
    Change = <Sum>5 => <Sum>6
    WithReferences = false
    WithoutReferences = true
    Reasons = 1

    What = without the marker the reference is the whole document
    Change = urn:cma:stp => urn:cma:stq
    WithReferences = false
    Reasons = 1
    Log = URI is the entire XML document.
    Accommodations =
    """)
    case("cma-stp/no-document", enveloped(envelope.format("<Sum>5</Sum>"), ENVELOPED, INC), GOOD + """
    Profile = cma-stp
    """ + changed("<Sum>5 => <Sum>6") + """

    What = an end tag whose start tag has no attributes: all behind it is cut off, and the rest is no document
    Change = <Sum>5</Sum> => <Document>5</Document>
    WithReferences = false
    Reasons = 5
    Log = Failed to canonicalize XML fragment.
    """, "")
    part = '<Document xmlns="urn:d" Id="d"><Sum>5</Sum></Document>'
    inherited = part.replace('xmlns="urn:d"', 'xmlns="urn:d" xmlns:e="urn:cma:stp:xsd:stp"')
    case("cma-stp/by-id", envelope.format(part).replace("@", signature(ref("#d", c14n(inherited), INC))),
         GOOD + "\n    Profile = cma-stp" + changed("<Sum>5 => <Sum>6"), "Document")

    signed_doc = '<SignedDoc format="SK-XML" version="1.0" xmlns:x="urn:x"><Data Id="D0">text</Data>@</SignedDoc>'
    data = c14n('<Data xmlns:x="urn:x" Id="D0">text</Data>')
    case("sk-xml/signed-doc", signed_doc.replace("@", signature(ref("#D0", data), c14n_method=INC, inner_scope="")), """
    What = SignedInfo is signed without the namespaces that it inherits
    Profile = sk-xml
    WithReferences = true
    WithoutReferences = true
    Reasons = 0

    What = without the second marker it would have them
    Change = SK-XML => SK-XMM
    Profile =
    WithReferences = false
    WithoutReferences = false
    Reasons = 0
    Log = RSA verify hash found the signature to be invalid.

    What = the mark goes together with another profile
    Change = version="1.0" => version="urn:hl7-org:"
    Profile = hl7
    WithReferences = true
    """ + changed(">text => >test"))


def attribute_order():
    """One element whose attributes stand differently in every order that signers use."""
    declared = 'xmlns:a="urn:2" xmlns:b="urn:1"'
    attributes = {"standard": 'z="1" b:m="3" a:k="2"', "prefix": 'z="1" a:k="2" b:m="3"',
                  "local-name": 'a:k="2" b:m="3" z="1"'}
    markers = ["jpk.mf.gov.pl", "crd.gov.pl", "www.zus.pl", "urn:hl7-org:v3", "fascicolosanitario.gov.it",
               "rejestry.ezdrowie.gov.pl"]
    names = ["poland-finance", "poland-finance", "poland-social-insurance", "hl7", "italy-health-record",
             "poland-health-registry"]
    opening = "<r {} {}>"
    for order, shown in attributes.items():
        octets = f'{opening.format(declared, shown)}<e b="2" c="1"></e></r>'.encode()
        assert order != "standard" or octets == c14n(octets)
        document = f'<!--urn:none-->{opening.format(attributes["prefix"], declared)}<e c="1" b="2"/>@</r>'
        standard = order == "standard"
        known = {"prefix": "prefix, local name", "local-name": "local name"}.get(order)
        emulated = "c14n.attr-sort-emulated" if not standard else ""
        found = f"Log = attributeOrder: {known}" if known else "NoLog = attributeOrder"
        software = "This signature was produced by software having the attribute sorting bug."
        runs = f"""
    What = no marker, so the standard's order is tried first
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    {"NoLog" if standard else "Log"} = {software}
    {found}
    Accommodations = {emulated}

    What = the always marker leaves no second chance
    Change = urn:none => csioz.gov.pl
    Profile = poland-health-it-centre
    WithReferences = {"false" if standard else "true"}
    WithoutReferences = true
    Reasons = {1 if standard else 0}
    {found}

    What = none of the orders
    Change = m="3" => m="4"
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    Log = Retry with duplication of common XML canonicalization attribute sorting bug...
    NoLog = {software}
    Accommodations =
    """
        for marker, name in zip(markers, names):
            runs += f"""
    What = marked, so the emulation is tried first
    Change = urn:none => {marker}
    Profile = {name}
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    {"Log" if standard else "NoLog"} = Retry without duplication
    {found}
    """
        case(f"attribute-order/{order}", enveloped(document, ENVELOPED, INC, octets=octets), runs,
             "" if standard else None)
    item = f'<i Id="{{}}" {declared} {attributes["prefix"]}></i>'
    plain = '<i Id="{}"></i>'
    wrong = [item.format(n).replace(f'Id="{n}" {declared} z="1" a:k="2"', f'{declared} Id="{n}" z="1" a:k="2"').encode()
             for n in "ab"]
    refs = [ref("#a", wrong[0], EXC), ref("#b", wrong[1], EXC), ref("#c", plain.format("c").encode(), EXC)]
    case("attribute-order/several-references",
         f'<r>{item.format("a")}{item.format("b")}{plain.format("c")}{signature(*refs)}</r>', """
    What = the emulation stays on after the reference that needed it
    WithReferences = true
    Reasons = 0 0 0
    LogTimes = 1 Retry with duplication

    What = it is switched off again by a mismatch
    Change = <i Id="b" => <i c="" Id="b"
    WithReferences = false
    Reasons = 0 1 0
    Log = Retry without duplication
    Log = refFailureCount: 1
    """)


def ebics():
    namespaces = f' xmlns="urn:org:ebics:H004" xmlns:ds="{DS}"'
    marked = ['<header authenticate="true"><id>1</id></header>', '<ReturnCode authenticate="true">000</ReturnCode>',
              '<Bank authenticate="true">x</Bank>']

    def document(parts, uri="#xpointer(//*[@authenticate='true'])", tail=""):
        octets = b"".join(c14n(re.sub(r"^<(\w+)", rf"<\1{namespaces}", part)) for part in parts[:100])
        auth = signature(ref(uri, octets, INC), prefix="ds:", name="AuthSignature", c14n_method=INC,
                         inner_scope=namespaces, declared="")
        auth = auth.replace("ds:AuthSignature", "AuthSignature")
        return f'<ebicsResponse{namespaces}>{parts[0]}{auth}<body>{"".join(parts[1:])}</body>{tail}</ebicsResponse>'

    case("ebics/three-elements", document(marked), """
    What = all marked elements, one after the other
    NumSignatures = 1
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Log = Canonicalizing for EBICS...
    Accommodations =

    What = a changed element
    Change = >x</Bank> => >y</Bank>
    WithReferences = false
    WithoutReferences = true
    Reasons = 1

    What = a further marked element
    Change = </body> => <x authenticate="true"/></body>
    WithReferences = false
    Reasons = 1

    What = an element that is not marked is not covered
    Change = </body> => <x authenticate="false"/></body>
    WithReferences = true

    What = white space in a tag and an unmarked neighbour change nothing
    Change = >x</Bank> => >x</Bank ><c/>
    WithReferences = true

    What = no element is marked
    Change = authenticate="true" => authenticate="no"
    WithReferences = false
    Reasons = 5
    Log = Failed to canonicalize XML fragment.
    """)
    case("ebics/short-name", document(marked, "#EBICS"), GOOD + changed(">x</Bank> => >y</Bank>"))
    case("ebics/other-expression", document(marked, "#xpointer(//*[@authenticate='yes'])"), """
    What = an expression without all of its three words is the name of an element, which is not there
    WithReferences = false
    WithoutReferences = true
    Reasons = 5
    NoLog = Canonicalizing for EBICS...
    """)
    many = ['<h authenticate="true"></h>'] + [f'<i authenticate="true">{i}</i>' for i in range(100)]
    case("ebics/hundred-and-one", document(many), """
    What = the last of 101 elements is not covered, and that is reported
    WithReferences = true
    Accommodations = limit.100

    What = so it may change
    Change = <i authenticate="true">99 => <i authenticate="true">changed
    WithReferences = true

    What = the last but one may not
    Change = <i authenticate="true">98 => <i authenticate="true">changed
    WithReferences = false
    Reasons = 1
    """)
    case("ebics/hundred", document(many[:100]), """
    What = exactly as many as are covered
    WithReferences = true
    Accommodations =
    """)


def swift():
    template = '<DataPDU xmlns="urn:swift:saa:xsd:saa.2.0"><Body>5</Body>{}</DataPDU>'
    octets = exc(template.format(""))
    runs = """
    What = digested without the block that holds the signature
    Key = {key}
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Log = Adjusting XML to canonicalized by removing <LAU ... </LAU>
    Accommodations = profile.removal

    What = a changed body
    Key = {key}
    Change = >5< => >6<
    WithReferences = false
    WithoutReferences = true
    Reasons = 1

    What = another namespace is no SWIFT message
    Key = {key}
    Change = urn:swift:saa:xsd:saa.2.0 => urn:swift:saa:xsd:saa.3.0
    WithReferences = false
    Reasons = 1
    NoLog = Adjusting XML
    Accommodations =
    """
    for key, method in (("rsa", MORE + "rsa-sha256"), ("hmac", MORE + "hmac-sha256")):
        block = signature(ref("", octets, ENVELOPED, EXC), prefix="ds:", key=key, method=method)
        case(f"swift/{key}", template.format(f"<LAU>{block}</LAU>"), runs.format(key=key))
    prefixed_block = '<Saa:LAU xmlns:Saa="urn:swift:saa:xsd:saa.2.0">{}</Saa:LAU>'
    without = exc(template.format(prefixed_block.format("")))
    block = signature(ref("", without, ENVELOPED, EXC))
    case("swift/prefixed", template.format(prefixed_block.format(block)), """
    What = a prefixed block stays, without its signature
    WithReferences = true
    NoLog = Adjusting XML
    Accommodations =
    """, "")


NEXT = "http://schemas.xmlsoap.org/soap/actor/next"
NEXT_MSH = "urn:oasis:names:tc:ebxml-msg:actor:nextMSH"


def ebxml():
    expression = (f'not(ancestor-or-self::node()[@S:actor="{NEXT_MSH}"] | ancestor-or-self::node()[@S:actor="{NEXT}"])')
    transforms = (ENVELOPED, xpath(expression), INC)
    envelope = '<S:Env xmlns:S="urn:s" xmlns:eb="urn:eb"><S:Header>{}<eb:To>b</eb:To>@</S:Header><S:Body/></S:Env>'
    block = '<eb:Via S:actor="{}">{}</eb:Via>'
    octets = c14n(envelope.format("").replace("@", ""))

    def document(blocks):
        return enveloped(envelope.format(blocks), *transforms, octets=octets)

    case("ebxml/both-actors", document(block.format(NEXT, 1) + block.format(NEXT_MSH, 2)), """
    What = blocks for the next actor are left out
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Log = commonXPathOption: 2
    Log = transformXPathSuccess: true

    What = so they may change
    Change = >1</eb:Via> => >3</eb:Via>
    WithReferences = true

    What = but what stands beside them may not
    Change = <eb:To>b => <eb:To>c
    WithReferences = false
    WithoutReferences = true
    Reasons = 1

    What = a block for another actor stays
    Options = GivenRulesOnly
    Change = actor/next => actor/last
    WithReferences = false
    Reasons = 1
    """)
    case("ebxml/thirteen", document("".join(block.format(NEXT, i) for i in range(13))), """
    What = thirteen blocks are removed
    WithReferences = true

    What = a fourteenth stays
    Options = GivenRulesOnly
    Change = <S:Header> => <S:Header><eb:Via S:actor="http://schemas.xmlsoap.org/soap/actor/next">x</eb:Via>
    WithReferences = false
    Reasons = 1
    """)
    case("ebxml/self-closing", document(f'<eb:Ack S:actor="{NEXT_MSH}"/>'), """
    What = a self-closing block has no end tag and stays, so the digest of a conforming signer fails
    Options = GivenRulesOnly
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    Log = commonXPathOption: 2
    """)


def ubl():
    signatures = '<sig:UBLDocumentSignatures>{}</sig:UBLDocumentSignatures>'
    template = '<Invoice xmlns="urn:i" xmlns:sig="urn:sig"><Sum>1</Sum>{}</Invoice>'
    for name, algorithm, expression in (
            ("xpath", XPATH, "count(ancestor-or-self::sig:UBLDocumentSignatures | here()/x) > 1"),
            ("filter2", FILTER2, "here()/ancestor-or-self::sig:UBLDocumentSignatures")):
        octets = c14n(template.format(""))
        document = template.format(signatures.format(signature(ref("", octets, xpath(expression, algorithm), INC))))
        case(f"ubl/{name}", document, """
    What = the container of the signatures is left out
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Log = Found UBLDocumentSignatures transform.
    Log = commonXPathOption: 3

    What = a start tag with an attribute is not found
    Change = <sig:UBLDocumentSignatures> => <sig:UBLDocumentSignatures a="">
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    """ + changed("<Sum>1 => <Sum>2"))


def xpath_shapes():
    cac = '<r xmlns:cac="urn:c" xmlns:ext="urn:x" xmlns:cbc="urn:b">{}<Sum>1</Sum>{}</r>'
    plain = cac.replace("{}", "")
    extra = '<cac:Signature>a</cac:Signature>'

    def shape(name, expression, option, runs, left_out="", kept="", algorithm=XPATH, attributes="", rest="",
              behind=""):
        """`left_out`, and `behind` the signature, stand in the document and not in what is digested; `kept` in both."""
        octets = c14n(cac.format(kept, "\n"))
        block = signature(ref("", octets, xpath(expression, algorithm, attributes, rest), INC))
        document = cac.format(left_out + kept, f"{block}\n{behind}")
        number = f"\n    Log = commonXPathOption: {option}" if option else ""
        # None of them declares its prefixes, and by XPath each has another meaning, or none.
        good = GOOD if "Signature" in expression and "cac:" not in expression else IMPLIED
        bent = "" if name == "filter2-extensions" else " xpath.by-shape"
        case(f"xpath/{name}", document, good + bent + number + runs + changed("<Sum>1 => <Sum>2"))

    other = signature(ref("#none", b"", value="AAAA"), id="other", value="AAAA", signed=b"")
    shape("every-signature", "not(ancestor-or-self::ds:Signature)", 1, """

    What = another signature may change, or go
    Change = Id="other" => Id="another"
    WithReferences = true
    Log = removing all Signatures from the XML to be canonicalized
    """, behind=other)
    shape("business-signatures", "not(//ancestor-or-self::cac:Signature)", 1, """

    What = a start tag with an attribute is not found
    Change = <cac:Signature>a => <cac:Signature Id="s">a
    WithReferences = false
    Reasons = 1

    What = no such element: nothing to leave out
    Change = <cac:Signature>a</cac:Signature> => 
    WithReferences = true
    NoLog = removing all Signatures
    """, left_out=extra)
    shape("business-signatures-hundred", "not(//ancestor-or-self::cac:Signature)", 1, """

    What = the hundred and first stays
    Change = <Sum>1 => <cac:Signature>b</cac:Signature><Sum>1
    WithReferences = false
    Reasons = 1
    Accommodations = limit.100
    """, left_out=extra * 100)
    for name, expression in (("descendant", "/descendant::ds:Signature"),
                             ("by-name", "/descendant::*[name()='ds:Signature']")):
        shape(f"filter2-{name}", expression, 4, """

    What = another operation than subtract
    Change = Filter="subtract" => Filter="intersect"
    WithReferences = false
    WithoutReferences = false
    Reasons = 99
    Log = unhandledXPath: 1

    What = upper case is another operation
    Change = Filter="subtract" => Filter="Subtract"
    WithReferences = false
    Reasons = 99
    """, behind=other, algorithm=FILTER2, attributes=' Filter="subtract"')
    shape("filter2-extensions", "/", 5, """

    What = another operation in the second place
    Change = Filter="subtract" => Filter="intersect"
    WithReferences = false
    Reasons = 99
    Log = unhandledXPath: 3

    What = another expression there
    Change = ext:UBLExtension</XPath> => ext:Other</XPath>
    WithReferences = false
    Reasons = 99
    Log = unhandledXPath: 3

    What = no second expression
    Change = <XPath Filter="subtract">here()/ancestor::ext:UBLExtensions/ext:UBLExtension</XPath> => 
    WithReferences = false
    Reasons = 99
    Log = unhandledXPath: 3

    What = only the first such element is left out
    Change = <Sum>1 => <ext:UBLExtensions>2</ext:UBLExtensions><Sum>1
    WithReferences = false
    Reasons = 1
    """, left_out="<ext:UBLExtensions>1</ext:UBLExtensions>", algorithm=FILTER2, attributes=' Filter="intersect-all"',
          rest='<XPath Filter="subtract">here()/ancestor::ext:UBLExtensions/ext:UBLExtension</XPath>')
    shape("element", "not(//ancestor-or-self::ext:UBLExtensions)", 7, """

    What = all of them are left out
    Change = <Sum>1 => <ext:UBLExtensions/><ext:UBLExtensions>2</ext:UBLExtensions><Sum>1
    Change = <ext:UBLExtensions/> => 
    WithReferences = true
    Log = Matched not(//ancestor-or-self::*)
    Log = endTag: </ext:UBLExtensions>
    """, left_out="<ext:UBLExtensions>1</ext:UBLExtensions>")
    attachment = "<cac:Doc><cbc:ID>{}</cbc:ID></cac:Doc>"
    shape("element-with-id", "not(//ancestor-or-self::cac:Doc[cbc:ID='QR'])", 6, """

    What = one with another value is covered
    Change = >PIH< => >PIG<
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    Log = mustContain: <cbc:ID>QR</cbc:ID>
    """, left_out=attachment.format("QR"), kept=attachment.format("PIH"))
    shape("element-with-other-id", "not(//ancestor-or-self::cac:Doc[cbc:ID='PIH'])", 6, """

    What = the value QR is looked for, whatever the expression says
    Change = >QR< => >PIH<
    WithReferences = false
    Reasons = 1
    Log = mustContain: <cbc:ID>PIH</cbc:ID>
    """, left_out=attachment.format("QR"))
    shape("element-with-id-cut-short", "not(//ancestor-or-self::*[cbc:ID='QR'])", 6, "", left_out="")
    case("xpath/unknown", enveloped(plain.replace("</r>", "@</r>"), ENVELOPED, xpath("ancestor-or-self::Sum"), INC,
                                    octets=c14n(plain)), """
    What = an expression that is not known fails, even where it would select what was signed
    Options = GivenRulesOnly
    WithReferences = false
    WithoutReferences = false
    Reasons = 99
    Log = unhandledXPath: 2
    Log = transformXPathSuccess: false

    What = no expression at all
    Change = XPath> => YPath>
    WithReferences = false
    Reasons = 99
    Log = No XPath found in transform.
    """.replace("WithoutReferences = false", "WithoutReferences = true"))


def digests():
    template = '<r a="1"><Sum>1</Sum>@</r>'
    octets = c14n(template.replace("@", ""))
    hexadecimal = hashlib.sha256(octets).hexdigest()

    def document(**how):
        return template.replace("@", signature(ref("", octets, ENVELOPED, INC, **how)))

    for name, value in (("hex", hexadecimal), ("hex-upper", hexadecimal.upper())):
        case(f"digests/{name}", document(value=value), """
    What = hexadecimal in place of base64
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Log = Checking to see if the signed XML's digest is hex.  Will convert to base64 and re-compare.
    Accommodations = digest.hex
    """ + changed("<Sum>1 => <Sum>2"))
    case("digests/tolerated", document(), GOOD + changed("<Sum>1 => <Sum>2") + """

    What = a mismatch passes where the application says so
    Change = <Sum>1 => <Sum>2
    Options = AllowXmlDigestError
    WithReferences = true
    Reasons = 0
    Accommodations = digest.tolerated
    Warning = digest-tolerated
    Warning = document-not-covered

    What = the word counts as written only
    Change = <Sum>1 => <Sum>2
    Options = allowxmldigesterror
    WithReferences = false
    Reasons = 1

    What = a transform that is not known is no mismatch
    Change = #enveloped-signature => #enveloped
    Options = AllowXmlDigestError
    WithReferences = false
    Reasons = 99
    Log = unrecognizedTransform
    """, "")
    for name, method in (("unknown-method", "urn:some-digest"), ("sha3", "http://www.w3.org/2007/05/xmldsig-more#sha3-256"),
                         ("no-method", "")):
        case(f"digests/{name}", document(method=method, value=sha(octets, "sha1")), """
    What = a digest method that is not known is SHA-1
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Accommodations = digest.unknown-sha1
    """ + changed("<Sum>1 => <Sum>2"))
    for name, alg, method in (("sha512-upper-case", "sha512", "urn:SHA512"), ("md5", "md5", MORE + "md5"),
                              ("first-name-counts", "sha256", "urn:sha1-sha512-sha256")):
        case(f"digests/{name}", document(method=method, value=sha(octets, alg)), GOOD + changed("<Sum>1 => <Sum>2"))
    digest = sha(octets)
    case("digests/white-space", document(value=f"\n  {digest[:20]}\t{digest[20:]}\n"), GOOD + changed("<Sum>1 => <Sum>2"))
    case("digests/empty", document(value=""), """
    What = an empty digest matches nothing
    WithReferences = false
    Reasons = 1
    """)


def enveloped_signatures():
    template = "<r><a>1</a>@</r>"
    octets = c14n(template.replace("@", ""))
    follower = '<Signature xmlns="urn:f">{}</Signature>'

    def document(followers="", **how):
        own = signature(ref("", octets, ENVELOPED, INC), **how)
        return template.replace("@", own + followers)

    case("enveloped/adjacent", document(follower.format("other")), """
    What = a signature that follows directly is removed too
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    Accommodations = enveloped.extra-removed

    What = a line end between them keeps it
    Change = <Signature xmlns="urn:f" => \\n<Signature xmlns="urn:f"
    WithReferences = false
    Reasons = 1
    Accommodations =

    What = a name that begins so counts
    Change = <Signature xmlns="urn:f">other => <SignatureBlock/><Signature xmlns="urn:f">other
    WithReferences = true

    What = an end tag of another name ends nothing
    Change = <Signature xmlns="urn:f">other</Signature> => <SignatureBlock>other</SignatureBlock>
    WithReferences = false
    Reasons = 1

    What = the last end tag in the text counts
    Change = other</Signature> => other</Signature><b/><Signature xmlns="urn:f"/><Signature xmlns="urn:f"></Signature>
    WithReferences = true
    """)
    prefixed_follower = '<f:Signature xmlns:f="urn:f">1</f:Signature>'
    case("enveloped/adjacent-prefixed", document(prefixed_follower, id="s"), """
    What = of any prefix
    WithReferences = true
    Accommodations = enveloped.extra-removed

    What = and of no other name
    Change = f:Signature => f:Signed
    WithReferences = false
    Reasons = 1
    """)
    hundred = "".join(f'<f{i}:Signature xmlns:f{i}="urn:f"></f{i}:Signature>' for i in range(100))
    case("enveloped/hundred-following", document(hundred), """
    What = a hundred following signatures go
    WithReferences = true
    Accommodations = enveloped.extra-removed

    What = another one stays
    Change = <f0:Signature xmlns:f0 => <g:Signature xmlns:g="urn:g"></g:Signature><f0:Signature xmlns:f0
    WithReferences = false
    Reasons = 1
    """)
    case("enveloped/no-transforms", template.replace("@", signature(ref("", octets))), IMPLIED +
         changed("<a>1 => <a>2"))
    case("enveloped/no-uri", template.replace("@", signature(ref(None, octets, ENVELOPED))), GOOD +
         changed("<a>1 => <a>2"))
    case("enveloped/by-id-without-transforms", "<r><a Id='x'>1</a>{}</r>".format(
        signature(ref("#x", b'<a Id="x">1</a>'))), GOOD + changed(">1</a> => >2</a>"), "a")
    case("enveloped/only-exclusive", '<r xmlns:u="urn:u"><a>1</a>{}</r>'.format(
        signature(ref("", b"<r><a>1</a></r>", EXC))), IMPLIED + """
    Log = transformEnvelopedSignature
    """ + changed("<a>1 => <a>2"))
    case("enveloped/last", '<r xmlns:u="urn:u"><a>1</a>{}</r>'.format(
        signature(ref("", b"<r><a>1</a></r>", EXC, ENVELOPED), id="s")), GOOD + changed("<a>1 => <a>2"))
    both = INC.replace("xml-c14n", "enveloped-signature-xml-c14n")
    case("enveloped/named-with-canonicalization", '<r><a>1</a>{}</r>'.format(
        signature(ref("", b"<r><a>1</a></r>", both))), GOOD + changed("<a>1 => <a>2"))


def references():
    case("references/base64", "<r>{}{}</r>".format(
        "<d Id='x'>aGVsbG8=</d>", signature(ref("#x", b"hello", BASE64))), GOOD + """
    Log = decodedSize: 5

    What = white space does not count
    Change = aGVsbG8= => aGVs\\n bG8=
    WithReferences = true

    What = no base64
    Change = aGVsbG8= => (%s)
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    Log = base64 decoding failed.  Maybe this was not actually base64?

    What = text within children does not count
    Change = aGVsbG8= => aGVsbG8=<b/>
    WithReferences = true
    Log = Expected 0 XML children.
    Log = numChildren: 1

    What = nothing at all
    Change = aGVsbG8= => 
    WithReferences = false
    Reasons = 1
    """, "d")
    plain = "<r><a>1</a>@</r>"
    case("references/xpointer", '<r><a Id="x">1</a>{}</r>'.format(signature(
        ref("#xpointer(/)", b'<r><a Id="x">1</a></r>', ENVELOPED, INC), ref("#xpointer(id('x'))", b'<a Id="x">1</a>', INC),
        ref(" #x ", b'<a Id="x">1</a>', INC))), """
    What = the whole document, an element, and an element with white space around its name
    WithReferences = true
    WithoutReferences = true
    Reasons = 0 0 0

    What = a changed element
    Change = >1</a> => >2</a>
    WithReferences = false
    WithoutReferences = true
    Reasons = 1 1 1
    Log = refFailureCount: 3

    What = no such element
    Change = Id="x" => Id="y"
    WithReferences = false
    Reasons = 1 5 5

    What = two such elements
    Change = <a Id="x">1</a> => <a Id="x">1</a><a Id="x">1</a>
    WithReferences = false
    Reasons = 1 5 5
    Log = Failed to canonicalize XML fragment.
    """)
    for count in (100, 101):
        transforms = [ENVELOPED] * (count - 1) + [INC]
        case(f"references/transforms-{count}", enveloped(plain, *transforms), f"""
    What = {count} transforms
    WithReferences = {"true" if count == 100 else "false"}
    WithoutReferences = true
    Reasons = {0 if count == 100 else 99}
    {"NoLog" if count == 100 else "Log"} = The document passes the limit transformsPerReference of 100.
    """)
    case("references/order-of-failures", "<r><a Id='x'>1</a>{}</r>".format(signature(
        ref("#x", b'<a Id="x">1</a>', INC), ref("file.txt", b"detached"), ref("#none", b"", INC),
        ref("#x", b'<a Id="x">1</a>', "urn:other"), ref("#x", b'<a Id="x">2</a>', INC))), """
    What = every reference is tried, and its reason is told
    WithReferences = false
    WithoutReferences = true
    Reasons = 0 2 5 99 1 3
    Log = No external data defined for this reference.
    Log = Hint 1: Set the IgnoreExternalRefs property
    Log = unrecognizedTransform: urn:other
    Log = refFailureCount: 4
    LogTimes = 4 Failed to verify reference digest

    What = data that is missing may be ignored, but is reported
    Ignore = true
    WithReferences = false
    Log = refFailureCount: 3
    LogTimes = 4 Failed to verify reference digest

    What = data of the wrong content counts even then
    Ignore = true
    Data = 1 tampered
    WithReferences = false
    Reasons = 0 1 5 99 1
    Log = refFailureCount: 4
    """)
    case("references/external", "<r>{}</r>".format(signature(ref("file.txt", b"detached"))), """
    What = data supplied as bytes
    Data = 0 detached
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    NoLog = No external data

    What = other data; neither the option nor the retry helps
    Data = 0 Detached
    Options = AllowXmlDigestError
    WithReferences = false
    Reasons = 1

    What = no data, not counted
    Ignore = true
    WithReferences = true
    Reasons = 2
    Log = Failed to verify reference digest

    What = data of another reference
    Data = 1 detached
    WithReferences = false
    Reasons = 2
    """)
    # Two gibibytes and one byte, all zero: what a sparse file holds.
    zeros = hashlib.sha256()
    for _ in range(2048):
        zeros.update(bytes(1 << 20))
    zeros.update(bytes(1))
    case("references/external-sparse", "<r>{}</r>".format(
        signature(ref("big.bin", b"", value=b64(zeros.digest())), key="hmac", method=MORE + "hmac-sha256")), """
    What = the file is not there
    Key = hmac
    WithReferences = false
    WithoutReferences = true
    Reasons = 2
    """)
    case("references/none", "<r>{}</r>".format(signature()), """
    What = a signature over nothing
    WithReferences = false
    WithoutReferences = false
    Reasons = 3
    Log = There are no references.
    """)


def wrapping():
    """One signature's SignedInfo must not vouch for another's references."""
    element = '<a Id="{}">{}</a>'
    genuine = signature(ref("#x", element.format("x", "pay 1").encode(), EXC), id="s")
    forged = signature(ref("#y", element.format("y", "pay 999").encode(), EXC), id="s", value="AAAA", signed=b"")
    contents = element.format("x", "pay 1") + element.format("y", "pay 999")
    refused = """
    WithReferences = false
    WithoutReferences = false
    Reasons = 0
    """
    for order, first, second in (("forged-first", forged, genuine), ("forged-second", genuine, forged)):
        number = 0 if order == "forged-first" else 1
        case(f"wrapping/one-id-{order}", f"<r>{contents}{first}{second}</r>", f"""
    What = two signatures with one Id, the forged one selected
    NumSignatures = 2
    Selector = {number}{refused}
    What = the genuine one; it may be refused, but must not be taken for the other
    Selector = {1 - number}
    Change = pay 1< => pay 2<
    WithReferences = false
    Reasons = 1
    """)
    digest = sha(element.format("x", "pay 1").encode())
    genuine = genuine.replace(' Id="s"', "")
    tail = ref("#y", element.format("y", "pay 999").encode(), EXC)
    forged = signature(ref("#x", b"", EXC, value=digest), tail, value="AAAA", signed=b"")
    taken = re.search("<SignatureValue>(.*)</SignatureValue>", genuine).group(1)
    forged = forged.replace("AAAA", taken)
    for order, pieces in (("forged-first", (forged, genuine)), ("forged-second", (genuine, forged))):
        number = pieces.index(forged)
        case(f"wrapping/one-digest-{order}", f"<r>{contents}{pieces[0]}{pieces[1]}</r>", f"""
    What = two signatures whose first digest is the same, the forged one selected
    NumSignatures = 2
    Selector = {number}
    WithReferences = false
    WithoutReferences = false
    Reasons = 0 0
    """)
    for name, hidden in (("comment", f"<!--{genuine}-->"), ("cdata", f"<c><![CDATA[{genuine}]]></c>"),
                         ("instruction", f"<?copy {genuine}?>")):
        case(f"wrapping/copy-in-{name}", f"<r>{hidden}{contents}{forged}</r>", """
    What = a copy of a genuine signature that is no element
    NumSignatures = 1
    WithReferences = false
    WithoutReferences = false
    Reasons = 0 0
    """)
    entity = genuine.replace('"', "'")
    case("wrapping/copy-in-entity", f'<!DOCTYPE r [<!ENTITY copy "{entity}">]><r>{contents}{forged}</r>', """
    What = a copy of a genuine signature in an entity that is not used
    NumSignatures = 1
    WithReferences = false
    WithoutReferences = false
    Reasons = 0 0
    """)
    info = re.search("<SignedInfo>.*</SignedInfo>", genuine).group(0)
    false_info = re.search("<SignedInfo>.*</SignedInfo>", forged).group(0)
    for name, pair in (("genuine-first", info + false_info), ("forged-first", false_info + info),
                       ("genuine-nested", false_info + f"<Object>{info}</Object>")):
        case(f"wrapping/two-signed-infos-{name}", f"<r>{contents}{genuine.replace(info, pair)}</r>", """
    What = two SignedInfo elements in one signature
    WithReferences = false
    WithoutReferences = false
    """)
    case("wrapping/genuine", f"<r>{contents}{genuine}</r>", GOOD + changed("pay 1< => pay 2<") + """

    What = the Id on a second element as well
    Change = Id="y" => xml:id="x"
    WithReferences = false
    WithoutReferences = true
    Reasons = 5
    """, "a")


def methods():
    content = '<a Id="x">1</a>'

    def document(method=MORE + "rsa-sha256", **how):
        return f"<r>{content}{signature(ref('#x', content.encode(), EXC), method=method, **how)}</r>"

    nothing = """
    What = {}
    Options = GivenRulesOnly
    Key = {}
    WithReferences = false
    WithoutReferences = false
    Reasons = 0
    {}"""
    empty = b64(run("openssl", "pkeyutl", "-sign", "-inkey", str(KEYS / "rsa.key"), "-pkeyopt", "rsa_padding_mode:pkcs1"))
    for name, method, key, line in (
            ("no-digest-rsa", MORE + "rsa-sha224", "rsa", "NoLog = The RSA signature was verified."),
            ("no-digest-ecdsa", MORE + "ecdsa-sha224", "k256", "Log = ECDSA verify hash found the signature to be invalid."),
            ("no-digest-hmac", MORE + "hmac-sha224", "hmac", "Log = HMAC verify failed."),
            ("sha3", "http://www.w3.org/2007/05/xmldsig-more#sha3-256-rsa-MGF1", "rsa",
             "Log = Hash algorithm not implemented yet by Vantrel."),
            ("unknown-key-type", "urn:x#eddsa-sha256", "rsa", "Log = Key type not implemented yet by Vantrel."),
            ("upper-case", (MORE + "rsa-sha256").upper(), "rsa", "Log = Key type not implemented yet by Vantrel.")):
        value = empty if name == "no-digest-rsa" else None
        case(f"methods/{name}", document(method, key=key, value=value),
             nothing.format("no signature verifies by this method", key, line))
    case("methods/hmac", document(MORE + "hmac-sha256", key="hmac"), """
    What = as signed
    Key = hmac
    WithReferences = true
    WithoutReferences = true

    What = white space around the value
    Key = hmac
    Change = <SignatureValue> => <SignatureValue>\\n\\x20
    Change = </SignatureValue> => \\n</SignatureValue>
    WithoutReferences = true

    What = white space within the value
    Key = hmac
    Change = =</SignatureValue> => \\n=</SignatureValue>
    WithoutReferences = true

    What = the same by the given rules
    Key = hmac
    Options = GivenRulesOnly
    Change = =</SignatureValue> => \\n=</SignatureValue>
    WithoutReferences = false
    Log = HMAC validation failed.
    LogOf = value

    What = a truncated value
    Key = hmac
    Change = =</SignatureValue> => </SignatureValue>
    WithoutReferences = false

    What = no secret
    Key = rsa
    WithReferences = false
    WithoutReferences = false
    Log = No HMAC key available to verify signature.
    LogOf = value
    """)
    inclusive = document(c14n_method="urn:no-such-method")
    case("methods/unknown-canonicalization", inclusive, """
    What = the inclusive method is tried
    WithReferences = true
    WithoutReferences = true
    Log = Unrecognized canonicalization method.
    Log = canonicalizationMethod: urn:no-such-method
    Accommodations = c14n.unknown-inclusive

    What = and its value decides
    Change = urn:no-such-method => urn:other-method
    WithReferences = false
    Log = RSA verify hash found the signature to be invalid.
    """)
    case("methods/rsa", document(), GOOD + """

    What = no base64
    Change = <SignatureValue> => <SignatureValue>(
    WithReferences = false
    WithoutReferences = false
    Reasons = 0

    What = references to carriage returns do not count
    Change = <SignatureValue> => <SignatureValue>&#13;\\n
    WithReferences = true

    What = a changed SignedInfo
    Change = #x" => #x "
    WithReferences = false
    WithoutReferences = false
    Reasons = 0
    Log = RSA verify hash found the signature to be invalid.
    Log = signedInfoHash

    What = a key of another kind
    Key = k256
    WithReferences = false
    Log = Public key is not an RSA key.

    What = no key
    Key = none
    WithReferences = false
    Log = No public key available to verify signature.
    """, "a")


def standards():
    """What the recommendations have beyond the rules that are tried first."""
    content = '<a Id="x">1</a>'
    octets = content.encode()
    sha3 = "http://www.w3.org/2007/05/xmldsig-more#sha3-256"
    spki = b64(run("openssl", "pkey", "-pubin", "-in", str(KEYS / "rsa.pub"), "-outform", "DER"))
    der = f'<k:DEREncodedKeyValue xmlns:k="http://www.w3.org/2009/xmldsig11#">{spki}</k:DEREncodedKeyValue>'

    def document(digest=None, **how):
        reference = ref("#x", octets, EXC) if digest is None else ref("#x", octets, EXC, **digest)
        return f"<r>{content}{signature(reference, **how)}</r>"

    def runs(key, more=""):
        return f"""
    What = as signed
    Key = {key}
    WithReferences = true
    WithoutReferences = true

    What = content changed
    Key = {key}
    Change = >1< => >2<
    WithReferences = false
    Reasons = 1

    What = by the given rules
    Key = {key}
    Options = GivenRulesOnly
    WithReferences = false
    {more}"""

    case("standards/sha3", document({"method": sha3, "value": sha(octets, "sha3_256")}), runs("rsa"))
    case("standards/eddsa", document(method="http://www.w3.org/2021/04/xmldsig-more#eddsa-ed25519", key="ed25519"),
         runs("ed25519", """
    What = a key of another kind
    Key = rsa
    WithReferences = false

    What = a key of the other curve
    Key = ed25519
    Change = ed25519 => ed448
    WithReferences = false"""))
    more = "http://www.aleksey.com/xmlsec/2025/12/xmldsig-more#"
    context = f'<k:MLDSAContextString xmlns:k="{more}">{b64(CONTEXT)}</k:MLDSAContextString>'
    case("standards/ml-dsa", document(method=more + "ml-dsa-65", key="mldsa65", inner=context), runs("mldsa65", """
    What = parameters that the key has not
    Key = mldsa65
    Change = ml-dsa-65 => ml-dsa-87
    WithReferences = false

    What = another context
    Key = mldsa65
    Change = >YSBjb250ZXh0< => >YSBjb250ZXh1<
    WithReferences = false

    What = a context that is not base64
    Key = mldsa65
    Change = >YSBjb250ZXh0< => >*<
    WithReferences = false
    Log = Key type not implemented yet by Vantrel."""))
    for length, holds in (("32", "true"), ("20", "false")):
        params = (f'<k:RSAPSSParams xmlns:k="{sha3[:-8]}"><DigestMethod Algorithm="{SHA256}"></DigestMethod>'
                  f"<k:SaltLength>{length}</k:SaltLength></k:RSAPSSParams>")
        case(f"standards/pss-salt-{length}", document(method=sha3[:-8] + "rsa-pss", key="pss", inner=params), f"""
    What = a salt of 32 bytes, of which {length} are named
    Key = rsa
    WithReferences = {holds}
    WithoutReferences = {holds}""")
    case("standards/hmac-cut", document(method=MORE + "hmac-sha256", key="hmac-128",
                                        inner="<HMACOutputLength>128</HMACOutputLength>"), runs("hmac", """
    What = without its last octet
    Key = hmac
    Change = =</SignatureValue> => </SignatureValue>
    WithoutReferences = false"""))
    case("standards/hmac-too-short", document(method=MORE + "hmac-sha256", key="hmac-120",
                                              inner="<HMACOutputLength>120</HMACOutputLength>"), """
    What = less than half of the hash proves too little
    Key = hmac
    WithReferences = false
    WithoutReferences = false""")
    case("standards/der-key", document(after=f"<KeyInfo>{der}</KeyInfo>"), runs("none"))
    certificate = self_signed("rsa", "carried")
    digest = sha(certificate)
    case("standards/x509-digest", document(after=(
        '<KeyInfo><X509Data><k:X509Digest xmlns:k="http://www.w3.org/2009/xmldsig11#" '
        f'Algorithm="{SHA256}">{digest}</k:X509Digest></X509Data></KeyInfo>'
        f"<Object><X509Certificate>{b64(certificate)}</X509Certificate></Object>")), runs("none", f"""
    What = the digest of another certificate
    Key = none
    Change = {digest} => {sha(b"")}
    WithReferences = false
    Log = No public key available to verify signature."""))
    # Of the outer elements SignedInfo has the language, and the bases as one; not the identifier.
    around = '<r xml:id="i" xml:lang="en" xml:base="http://example.com/a/"><s xml:base="b/">'
    inherited = ' xml:lang="en" xml:base="http://example.com/a/b/"'
    below = signature(ref("#x", octets, EXC), c14n_method=C14N11, scope=inherited)
    case("standards/signed-info-c14n11", f"{around}{content}{below}</s></r>", runs("rsa", """
    What = another base
    Key = rsa
    Change = "b/" => "c/"
    WithReferences = false

    What = another identifier is no matter
    Key = rsa
    Change = "i" => "j"
    WithReferences = true"""), "a")
    case("standards/key-info-reference", document(after=(
        '<KeyInfo><k:KeyInfoReference xmlns:k="http://www.w3.org/2009/xmldsig11#" URI="#k1"></k:KeyInfoReference></KeyInfo>'
        '<Object><KeyInfo Id="k1"><RetrievalMethod URI="#k2"></RetrievalMethod></KeyInfo>'
        f'<KeyInfo Id="k2"><KeyValue></KeyValue>{der}</KeyInfo></Object>')), runs("none", """
    What = references in a circle
    Key = none
    Change = URI="#k2" => URI="#k1"
    WithReferences = false
    Log = No public key available to verify signature.

    What = a reference out of the document
    Key = none
    Change = URI="#k2" => URI="k2"
    WithReferences = false"""))


def bent_readings():
    """What is accepted though the recommendations read it otherwise, each beside a sound one that is alike."""
    def runs(code, key="rsa"):
        return GOOD.replace("    With", f"    Key = {key}\n    With", 1) + f" {code}"

    commented = "<r><!--c--><a>1</a>@</r>"
    octets = b"<r><!--c--><a>1</a></r>"
    for name, uri, code in (("comments", "", "c14n.comments-kept"), ("comments-of-pointer", "#xpointer(/)", "")):
        case(f"bent/{name}", enveloped(commented, ENVELOPED, INC + "#WithComments", octets=octets, uri=uri), runs(code))
    # Of an outer identifier 1.0 makes one of the element's own; of one outer base both make the same.
    for name, outer, inherited, code in (("id", 'xml:id="i"', ' xml:id="i"', "c14n.11-as-10"), ("id-by-11", 'xml:id="i"', "", ""),
                                         ("base", 'xml:base="http://a/"', ' xml:base="http://a/"', "")):
        digested = c14n(f'<a Id="x"{inherited}>1</a>')
        case(f"bent/c14n11-{name}", f'<r {outer}><a Id="x">1</a>{signature(ref("#x", digested, C14N11))}</r>', runs(code))
        below = signature(ref("#x", b'<a Id="x">1</a>', EXC), c14n_method=C14N11, scope=inherited)
        case(f"bent/signed-info-{name}", f'<r {outer}><a Id="x">1</a>{below}</r>', runs(code))
    own = "not(ancestor-or-self::ds:Signature)"
    for name, expression, code in (("signature", own, ""), ("no-more", f"{own} and true()", ""),
                                   ("more", f"{own} and not(self::a)", "xpath.by-shape")):
        case(f"bent/xpath-{name}", enveloped("<r><a>1</a>@</r>", xpath(expression), INC, prefix="ds:"), runs(code))
    for name, more, code in (("signature", "", ""), ("more", '<XPath Filter="subtract">/r/a</XPath>', "xpath.by-shape")):
        subtracted = xpath("/descendant::ds:Signature", FILTER2, ' Filter="subtract"', more)
        case(f"bent/filter2-{name}", enveloped("<r><a>1</a>@</r>", subtracted, INC, prefix="ds:"), runs(code))
    for bits, code in ((128, "hmac.length-ignored"), (256, "")):
        case(f"bent/whole-hmac-{bits}", enveloped("<r><a>1</a>@</r>", ENVELOPED, INC, method=MORE + "hmac-sha256", key="hmac",
                                                  inner=f"<HMACOutputLength>{bits}</HMACOutputLength>"), runs(code, "hmac"))


def encodings():
    text = '<r a="gr\u00fcn"><b>caf\u00e9 {}</b>@</r>'
    for name, python_name, extra in (("iso-8859-1", "latin-1", ""), ("windows-1252", "cp1252", "\u20ac"),
                                     ("utf-16", "utf-16", "\u20ac\U0001f600"), ("iso-8859-15", "iso8859-15", "\u20ac")):
        document = f'<?xml version="1.0" encoding="{name}"?>\n' + enveloped(text.format(extra), ENVELOPED, INC)
        case(f"encodings/{name}", document.encode(python_name), """
    What = as bytes
    Load = bytes
    WithReferences = true
    WithoutReferences = true
    Reasons = 0
    """, "")
        case(f"encodings/{name}-changed", document.replace("caf\u00e9", "caf\u00e8").encode(python_name), """
    What = one letter changed
    Load = bytes
    WithReferences = false
    WithoutReferences = true
    Reasons = 1
    """)
    lines = '<?xml version="1.0"?>\r\n<r>\r\n  <b Id="x">one\r\ntwo</b>\r\n  @\r\n</r>\r\n'
    document = lines.replace("@", signature(ref("", c14n(lines.replace("@", "")), ENVELOPED, INC),
                                            ref("#x", b'<b Id="x">one\ntwo</b>', EXC)))
    case("encodings/crlf", document, """
    What = line ends count as one character
    Load = bytes
    WithReferences = true
    WithoutReferences = true
    Reasons = 0 0

    What = so they may be changed
    Change = \\r\\n => \\n
    Load = bytes
    WithReferences = true

    What = but not doubled
    Change = one\\r\\n => one\\r\\r\\n
    Load = bytes
    WithReferences = false
    WithoutReferences = true
    Reasons = 1 1
    """, "b")

    plain = '<?xml version="1.0" encoding="UTF-8"?>' + enveloped('<r><b>1</b><!-- +AC0ALQA+ADw-i/+AD4- -->@</r>',
                                                                ENVELOPED, INC)
    case("encodings/declared", plain, """
    What = the honest one
    Load = bytes
    WithReferences = true
    NoWarning = encoding-mismatch

    What = another reader sees an element in the comment
    Change = UTF-8 => UTF-7
    Load = bytes
    LoadError = not supported: UTF-7

    What = and in text that somebody decoded
    Change = UTF-8 => UTF-7
    LoadError = not supported: UTF-7

    What = the mark of UTF-8 does not help
    Change = <?xml => \\xef\\xbb\\xbf<?xml
    Change = UTF-8 => UTF-7
    Load = bytes
    LoadError = not supported: UTF-7

    What = nor do two of them
    Change = <?xml => \\xef\\xbb\\xbf\\xef\\xbb\\xbf<?xml
    Change = UTF-8 => UTF-7
    Load = bytes
    LoadError = not supported: UTF-7

    What = nor line ends and the other quotes
    Change = "1.0" encoding="UTF-8" => '1.0'\\n\\tencoding\\r=\\n'utf-7'\\n
    Load = bytes
    LoadError = not supported: utf-7

    What = every byte stands for another character
    Change = UTF-8 => IBM037
    LoadError = not supported: IBM037

    What = a byte of markup may be half a character
    Change = UTF-8 => Shift_JIS
    Load = bytes
    LoadError = not supported: Shift_JIS

    What = the name has no such form
    Change = UTF-8 =>  UTF-7
    Load = bytes
    LoadError = declaration is malformed

    What = named twice
    Change = encoding="UTF-8" => encoding="UTF-8" encoding="UTF-7"
    Load = bytes
    LoadError = declaration is malformed

    What = named behind the wrong word
    Change = encoding="UTF-8" => standalone="yes" encoding="UTF-7"
    Load = bytes
    LoadError = declaration is malformed

    What = the declaration is not at the front
    Change = <?xml =>  <?xml
    Change = UTF-8 => UTF-7
    Load = bytes
    LoadError = may not be "xml"

    What = four bytes a character
    Change = UTF-8 => UTF-32
    Load = bytes
    LoadError = contradict the encoding that the XML declaration names: UTF-32

    What = and so in text
    Change = UTF-8 => UTF-32
    LoadError = contradict the encoding that the XML declaration names: UTF-32

    What = converted on the way
    Change = UTF-8 => UTF-16
    Load = bytes
    WithReferences = true
    Warning = encoding-mismatch

    What = and handed over as text
    Change = UTF-8 => utf-16LE
    WithReferences = true
    Warning = encoding-mismatch

    What = the mark wins
    Change = <?xml => \\xef\\xbb\\xbf<?xml
    Change = UTF-8 => windows-1252
    Load = bytes
    WithReferences = true
    Warning = encoding-mismatch

    What = characters that are not there
    Change = UTF-8 => windows-1252
    Load = bytes
    WithReferences = true
    NoWarning = encoding-mismatch

    What = nor here
    Change = UTF-8 => US-ASCII
    Load = bytes
    WithReferences = true
    NoWarning = encoding-mismatch
    """)


def entities():
    body = '<r xml:lang="en"><b c="&lt;one">one</b><i/>@</r>'
    signed = enveloped(body, ENVELOPED, INC)
    prolog = '<!DOCTYPE r [<!ENTITY e "one"><!ENTITY i "<i/>"><!ATTLIST r xml:lang CDATA "en">]>'
    document = prolog + (signed.replace(' xml:lang="en"', "").replace("lt;one", "lt;&e;").replace(">one<", ">&e;<")
                         .replace("<i/>", "&i;"))
    case("entities/declared", document, """
    What = the honest one
    WithReferences = true
    NoWarning = external-dtd-not-read

    What = from parameter entities that are read
    Change = <!ENTITY i => <!ENTITY % p '<!ENTITY i
    Change = "<i/>"> => "<i/>">'>%p;
    WithReferences = true
    NoWarning = external-dtd-not-read

    What = an external subset may say more
    Change = DOCTYPE r => DOCTYPE r SYSTEM "x.dtd"
    WithReferences = true
    Warning = external-dtd-not-read

    What = a claim to stand alone does not keep others from reading it
    Change = <!DOCTYPE r => <?xml version='1.0' standalone='yes'?><!DOCTYPE r SYSTEM "x.dtd"
    WithReferences = true
    Warning = external-dtd-not-read

    What = an external parameter entity at the end
    Change = ]> => <!ENTITY % p PUBLIC "p" "x.dtd">%p;]>
    WithReferences = true
    Warning = external-dtd-not-read

    What = nobody refers to it
    Change = ]> => <!ENTITY % p PUBLIC "p" "x.dtd">]>
    WithReferences = true
    NoWarning = external-dtd-not-read

    What = or at the front
    Change = [ => [<!ENTITY % p SYSTEM "x.dtd">%p;
    LoadError = not read: e

    What = before an element
    Change = <!ENTITY i => <!ENTITY % p SYSTEM "x.dtd">%p;<!ENTITY i
    LoadError = not read: i

    What = a default behind it is not applied
    Change = <!ATTLIST => <!ENTITY % p SYSTEM "x.dtd">%p;<!ATTLIST
    WithReferences = false
    Reasons = 1
    Warning = external-dtd-not-read

    What = unless the document stands alone
    Change = <!DOCTYPE => <?xml version='1.0' standalone='yes'?><!DOCTYPE
    Change = <!ATTLIST => <!ENTITY % p SYSTEM "x.dtd">%p;<!ATTLIST
    WithReferences = true
    Warning = external-dtd-not-read

    What = added, with no text for who does not read it
    Change = <r> => <r>&evil;
    Change = DOCTYPE r => DOCTYPE r SYSTEM "x.dtd"
    LoadError = not read: evil

    What = in a value
    Change = c=" => c="&evil;
    Change = DOCTYPE r => DOCTYPE r SYSTEM "x.dtd"
    LoadError = not read: evil

    What = in a default
    Change = CDATA " => CDATA "&evil;
    Change = DOCTYPE r => DOCTYPE r SYSTEM "x.dtd"
    LoadError = not read: evil

    What = in another entity
    Change = "one" => "&evil;one"
    Change = DOCTYPE r => DOCTYPE r SYSTEM "x.dtd"
    LoadError = not read: evil

    What = that is external
    Change = <!ENTITY e "one"> => <!ENTITY e SYSTEM "x">
    LoadError = external entity
    """)


def make(groups):
    """Writes the groups' cases; named on the command line: only those below these folders."""
    make_keys()
    for group in groups:
        group()
    print(f"{len(written)} cases written")


if __name__ == "__main__":
    make((sii, doda, zatca, simple_profiles, attribute_order, ebics, swift, ebxml, ubl, xpath_shapes, digests,
          enveloped_signatures, references, wrapping, methods, standards, bent_readings, encodings, entities))
