# SPDX-License-Identifier: MIT
"""Work grows as its input does: for each kind of input that could make some step quadratic, the instructions
of a whole run (callgrind) at one size and at twice that size, less those of a run over next to nothing.
Exits with 77 where valgrind or openssl is absent.

    growth.py TOOL [WORD]     only the kinds whose names hold the word"""

import base64
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import signing
from checks import check, finish
from signing import DS, ENVELOPED, EXC, INC, ref, signature

if not shutil.which("valgrind") or not shutil.which("openssl"):
    print("skipped: valgrind or openssl is not installed")
    sys.exit(77)

MOST = 2.5  # times the work for twice the input: sorting and hash tables that grow take a little more than 2
XPATH = "http://www.w3.org/TR/1999/REC-xpath-19991116"
FILTER = "http://www.w3.org/2002/06/xmldsig-filter2"
KINDS = {}


def kind(size, *arguments, files=None):
    """A function that makes the document of a size; it is verified with these arguments, or with a command that
    is named first. `files(n)`: further arguments, of that size."""
    def add(make):
        KINDS[make.__name__] = (size, make, arguments or ("verify",), files)
        return make
    return add


def root(inner, *references, before="", after="", **how):
    return f"{before}<r>{inner}{signature(*references, **how)}</r>{after}".encode()


def enveloped(inner, transforms=(ENVELOPED, EXC), **how):
    return root(inner, ref("", f"<r>{inner}</r>".encode(), *transforms), **how)


def each(n, form):
    return "".join(form.format(i=i) for i in range(n))


@kind(1500)
def elements(n):
    return enveloped(each(n, '<a i="{i}"><b>text {i}</b></a>'))


@kind(150)
def references_by_id(n):
    return root(each(n, '<a Id="i{i}">{i}</a>'), *(ref(f"#i{i}", f'<a Id="i{i}">{i}</a>'.encode(), EXC) for i in range(n)))


@kind(100)
def references_that_fail(n):
    return root(each(n, '<a Id="i{i}">{i}</a>'), *(ref(f"#i{i}", b"other", EXC) for i in range(n)))


@kind(100)
def references_to_nothing(n):
    return root("", *(ref(f"#none{i}", b"", EXC) for i in range(n)))


@kind(30)
def signatures(n):
    one = '<a Id="i">x</a>'
    return f"<r>{one}{signature(ref('#i', one.encode(), EXC)) * n}</r>".encode()


@kind(30, "verify", "--signature", "0")
def signatures_side_by_side(n):
    return f"<r>{signature(ref('', b'<r></r>', ENVELOPED, EXC)) * n}</r>".encode()


@kind(2000)
def depth(n):
    return enveloped("<a>" * n + "</a>" * n)


@kind(600)
def depth_with_namespaces(n):
    return enveloped(each(n, '<p{i}:a xmlns:p{i}="u{i}">') + "".join(f"</p{i}:a>" for i in reversed(range(n))), (ENVELOPED, INC))


@kind(400)
def namespaces_on_one_element(n):
    names = "".join(sorted(f' xmlns:p{i}="u"' for i in range(n)))
    return enveloped(f"<a{names}>{each(n, '<p{i}:b></p{i}:b>')}</a>", (ENVELOPED, INC))


@kind(400)
def namespaces_used_by_all(n):
    names = "".join(sorted(f' xmlns:p{i}="u"' for i in range(n)))
    return enveloped(f"<a{names}>{each(n, '<p{i}:b></p{i}:b>')}</a>")


@kind(300)
def list_of_prefixes(n):
    names = each(n, ' xmlns:p{i}="u{i}"')
    listed = " ".join(f"p{i}" for i in range(n))
    transform = f'<Transform Algorithm="{EXC}"><InclusiveNamespaces xmlns="{EXC}" PrefixList="{listed}"></InclusiveNamespaces></Transform>'
    return root(f"<a{names}>{'<b></b>' * n}</a>", ref("", b"", ENVELOPED, transform))


@kind(3000)
def attributes_of_one_element(n):
    return enveloped("<a" + each(n, ' a{i}="v"') + "/>")


@kind(800)
def attributes_with_prefixes(n):
    return enveloped('<a xmlns:p="u"' + each(n, ' p:a{i}="v"') + "/>")


@kind(600)
def ids_twice(n):
    return enveloped(each(n, '<a Id="i{i}"/><b Id="i{i}"/>'))


@kind(300)
def declared_defaults(n):
    return root("<a/>" * n, ref("", b"", ENVELOPED, EXC),
                before="<!DOCTYPE r [<!ATTLIST a " + each(100, "b{i} CDATA 'v' ") + ">" + each(n, "<!ATTLIST c{i} d CDATA 'v'>") + "]>")


@kind(700)
def entities(n):
    return root(each(n, "&e{i};"), ref("", b"", ENVELOPED, EXC),
                before="<!DOCTYPE r [" + each(n, "<!ENTITY e{i} '<x>{i}</x>'>") + "]>")


@kind(4000)
def one_entity(n):
    return root("&e;" * n, ref("", b"", ENVELOPED, EXC), before="<!DOCTYPE r [<!ENTITY e '<x>y</x>'>]>")


@kind(2500)
def comments_within_texts(n):
    return enveloped("<a>" + "x<!--c-->" * n + "</a>")


@kind(2500)
def sections_and_instructions(n):
    return enveloped("<a>" + "<![CDATA[x]]><?p d?>" * n + "</a>")


@kind(6000)
def references_and_line_ends(n):
    return enveloped("<a>" + "x&#13;&amp;\r\n" * n + "</a>")


@kind(800)
def spaces_in_the_value(n):
    return enveloped("<a/>").replace(b"<SignatureValue>", b"<SignatureValue>" + b" \n" * n * 10)


@kind(400)
def xpath_by_name(n):
    transform = f'<Transform Algorithm="{XPATH}"><XPath xmlns="{DS}" xmlns:s="{DS}">not(ancestor-or-self::s:Signature)</XPath></Transform>'
    return root(each(n, "<a><b>{i}</b></a>"), ref("", b"", transform, EXC))


@kind(250)
def xpath_in_general(n):
    transform = f'<Transform Algorithm="{XPATH}"><XPath xmlns="{DS}">count(ancestor::node()) &lt; 7 and not(preceding-sibling::x)</XPath></Transform>'
    return root(each(n, "<a><b>{i}</b></a>"), ref("", b"", transform, EXC))


@kind(400)
def filter_by_paths(n):
    transform = f'<Transform Algorithm="{FILTER}"><XPath xmlns="{FILTER}" Filter="subtract">//b//c | //a/b[c]</XPath></Transform>'
    return root(each(n, "<a><b><c>{i}</c></b></a>"), ref("", b"", transform, EXC))


@kind(40)
def transforms_unknown(n):
    return root("<a/>", *(ref("", b"", f"urn:none:{i}") for i in range(n)))


@kind(60, "verify", "--log", "--verbose")
def log_of_references(n):
    return references_by_id(n)


@kind(60, "verify", "--json")
def report_of_references(n):
    return references_by_id(n)


@kind(60, "report", "--html")
def page_of_references(n):
    return references_by_id(n)


@kind(1200, "report", "--html")
def page_of_elements(n):
    return elements(n)


@kind(1200, "verify", "--json")
def report_of_long_paths(n):
    inner = f'<{"d" * 20}>' * n
    return (f"<r>{inner}<a Id='i'/>{inner.replace('<', '</')}"
            f"{signature(*(ref('#i', b'', EXC) for _ in range(20)))}</r>").encode()


@kind(1500, "c14n")
def canonical_form(n):
    return elements(n)


@kind(100)
def keys_in_key_info(n):
    number = base64.b64encode(bytes([0xC0] + [17] * 127)).decode()
    value = f"<KeyValue><RSAKeyValue><Modulus>{number}</Modulus><Exponent>AQAB</Exponent></RSAKeyValue></KeyValue>"
    return enveloped("", key_info=f"<KeyInfo>{value * n}</KeyInfo>")


@kind(60)
def certificates_in_key_info(n):
    data = "".join(f"<X509Certificate>{c}</X509Certificate>" for c in certificates(n))
    return enveloped("", key_info=f"<KeyInfo><X509Data>{data}</X509Data></KeyInfo>")


@kind(400)
def names_of_certificates(n):
    name = ", ".join(f"OU=unit {i}" for i in range(n))
    issuer = f"<X509IssuerSerial><X509IssuerName>{name}</X509IssuerName><X509SerialNumber>7</X509SerialNumber></X509IssuerSerial>"
    return enveloped("", key_info=f"<KeyInfo><X509Data>{issuer}<X509SubjectName>{name}</X509SubjectName></X509Data></KeyInfo>")


@kind(60, files=lambda n: ("--cert", store(n)))
def certificates_of_the_caller(n):
    name = "<X509Data><X509SubjectName>CN=subject</X509SubjectName></X509Data>"
    return enveloped("", key_info=f"<KeyInfo>{name}</KeyInfo>")


@kind(60, "path", files=lambda n: ("--cert", store(n), "--anchor", store(1)))
def candidate_issuers(n):
    return base64.b64decode(certificates(1)[0])


@kind(80)
def key_info_of_references(n):
    names = '<KeyInfoReference xmlns="http://www.w3.org/2009/xmldsig11#" URI="#k"></KeyInfoReference>' * n
    return enveloped("", key_info=f'<KeyInfo Id="k">{names}</KeyInfo>')


@kind(40)
def tokens(n):
    wsse = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd"
    certificate = certificates(1)[0]
    listed = "".join(f'<w:BinarySecurityToken xmlns:w="{wsse}" Id="t{i}">{certificate}</w:BinarySecurityToken>' for i in range(n))
    one = '<a Id="i">x</a>'
    signed = "".join(signature(ref("#i", one.encode(), EXC), key_info=f'<KeyInfo><w:SecurityTokenReference xmlns:w="{wsse}">'
                               f'<w:Reference URI="#t{i}"/></w:SecurityTokenReference></KeyInfo>') for i in range(min(n, 8)))
    return f"<r>{listed}{one}{signed * (n // 8)}</r>".encode()


@kind(1500)
def markers_of_profiles(n):
    return enveloped("<DTE><Documento></Documento></DTE><doda></doda><LAU></LAU>" * n + "sii.cl sat.gob.mx")


@kind(300, files=lambda n: sum((("--pin", f"sha256:{i:064x}") for i in range(n)), ()))
def pins(n):
    return enveloped("<a/>")


@kind(200)
def manifest(n):
    listed = "".join(ref("#i", b"x", EXC) for _ in range(n))
    return root('<a Id="i">x</a>', ref("#i", b'<a Id="i">x</a>', EXC), objects=f'<Object><Manifest Id="m">{listed}</Manifest></Object>')


def certificates(n):
    """Certificates of one name and different numbers; all but the first have a wrong signature."""
    first = (folder / "one.der").read_bytes()
    place = first.index(bytes.fromhex("020411223344")) + 2
    return [base64.b64encode(first[:place] + (0x11223344 + i).to_bytes(4, "big") + first[place + 4:]).decode() for i in range(n)]


def store(n):
    path = folder / f"store-{n}.pem"
    path.write_text("".join(f"-----BEGIN CERTIFICATE-----\n{c}\n-----END CERTIFICATE-----\n" for c in certificates(n)))
    return str(path)


def instructions(name, data, arguments):
    path = folder / name
    path.write_bytes(data)
    done = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", TOOL, *arguments, str(path)],
                          capture_output=True, check=False, env={**os.environ, "VANTREL_CPU": "avx2"}, timeout=300)
    counted = re.search(rb"Collected : (\d+)", done.stderr)
    if not counted or done.returncode not in (0, 1):
        sys.exit(f"{name}: exit {done.returncode}\n{done.stderr.decode(errors='replace')[-2000:]}")
    return int(counted.group(1))


def measure(name):
    size, make, arguments, files = KINDS[name]
    counts = []
    for n in (0, size, 2 * size):
        more = files(max(n, 1)) if files else ()
        alone = ("--no-sandbox", "--jobs", "1") if arguments[0] == "verify" else ()
        counts.append(instructions(f"{name}-{n}", make(max(n, 1)), (*arguments, *alone, *more)))
    return name, counts


if __name__ == "__main__":
    TOOL = str(pathlib.Path(sys.argv[1]).resolve())
    word = sys.argv[2] if len(sys.argv) > 2 else ""
    with tempfile.TemporaryDirectory() as made:
        folder = pathlib.Path(made)
        signing.begin(folder)
        signing.openssl("req", "-new", "-x509", "-key", "key.pem", "-subj", "/CN=subject", "-set_serial", str(0x11223344),
                        "-outform", "DER", "-out", "one.der")
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for name, (none, once, twice) in pool.map(measure, [k for k in KINDS if word in k]):
                ratio = (twice - none) / max(once - none, 1)
                print(f"{name:34} {once / 1e6:8.1f} {twice / 1e6:8.1f} million, {ratio:.2f}", flush=True)
                # Little work could hide its growth behind what varies.
                check(f"{name}: enough to be measured", once - none > 100_000, once - none)
                check(name, ratio <= MOST, f"{ratio:.2f} times")
    finish()
