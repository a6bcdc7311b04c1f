# SPDX-License-Identifier: MIT
"""Seeded changes to signed documents: the means by which forgers make a verifier and another reader see
different documents. A change takes the text (UTF-8), a generator of choices and the stretches that the
digests leave out; it gives the changed text, or None where it does not apply."""

import re

TAG = re.compile(rb"<(/?)([A-Za-z_][\w.:-]*)((?:[^<>\"']|\"[^\"]*\"|'[^']*')*?)(/?)>")
HIDING = (b"<!--%s-->", b"<x><![CDATA[%s]]></x>", b"<?x %s?>", b"<x a='%s'/>")
MARKERS = (
    b"sii.cl", b"urn:sunat:names:specification:ubl:peru", b"mf.gov.pl", b"zus.pl", b"urn:hl7-org:", b"ezdrowie.gov.pl",
    b"csioz.gov.pl", b"urn:cma:stp:xsd:stp", b"sat.gob.mx", b"<doda>", b"</doda>", b"<SignedDoc ", b"SK-XML", b"<DTE",
    b"urn:swift:saa:xsd:saa.2.0", b"<LAU", b"</LAU>", b"</DTE>", b"<Documento", b"</Document>", b"<Document ",
    b'<e a:actor="http://schemas.xmlsoap.org/soap/actor/next">', b"<ext:UBLExtensions>", b"</ext:UBLExtensions>",
    b"<cac:Signature>", b"</cac:Signature>", b"<sig:UBLDocumentSignatures>", b"</sig:UBLDocumentSignatures>")
ENCODINGS = (b"UTF-7", b"UTF-16", b"UTF-16LE", b"UTF-32", b"ISO-8859-1", b"windows-1252", b"Shift_JIS", b"GB18030", b"utf-8",
             b"HZ-GB-2312", b"ISO-2022-JP", b"ISO-2022-KR", b"IBM037", b"x-none", b"US-ASCII", b"Big5", b"UTF-8 ", b"")
MARKS = ((b"\xef\xbb\xbf", "utf-8"), (b"\xff\xfe", "utf-16-le"), (b"\xfe\xff", "utf-16-be"))
DECLARED = re.compile(rb"^(<\?xml[^>]*?encoding\s*=\s*[\"'])([\w.:-]+)")
EVIL = b"<Evil>999</Evil>"


def codec_of(data):
    """(byte-order mark, name of the codec) by mark or width, else by declaration."""
    for mark, codec in MARKS:
        if data.startswith(mark):
            return mark, codec
        if data.startswith("<".encode(codec)) and codec != "utf-8":
            return b"", codec
    declared = DECLARED.match(data)
    return b"", declared.group(2).decode() if declared else "utf-8"


def encoded(text, original):
    """`text` in the encoding of the original octets."""
    mark, codec = codec_of(original)
    if codec.lower() == "utf-8":
        return mark + text
    declared = DECLARED.match(original[len(mark):].decode(codec).encode())
    if declared:
        text = DECLARED.sub(declared.group(), text)
    return mark + text.decode(errors="replace").encode(codec, errors="xmlcharrefreplace")


def elements(text):
    """(start, end of the start tag, start of the end tag, end) of every element, in order of their ends."""
    found, opened = [], []
    for m in TAG.finditer(text):
        if m.group(4):
            found.append((m.start(), m.end(), m.end(), m.end()))
        elif not m.group(1):
            opened.append(m)
        elif opened and opened[-1].group(2) == m.group(2):
            start = opened.pop()
            found.append((start.start(), start.end(), m.start(), m.end()))
    return found


def boundary(text, rng):
    return rng.choice([m.end() for m in TAG.finditer(text)][:-1])


def insert(text, at, what):
    return text[:at] + what + text[at:]


def hidden(tags, rng):
    """The tags as a comment, section, instruction or value can hold them."""
    hiding = rng.choice(HIDING)
    if b"'" in hiding:
        return hiding % tags.replace(b"&", b"&amp;").replace(b"<", b"&lt;").replace(b"'", b"&apos;")
    return hiding % tags.replace(b"--", b"- ").replace(b"]]>", b"").replace(b"?>", b"")


def hidden_tags(text, rng, excluded):
    """An element between, before or behind what looks like two tags, of one name that the document has."""
    name = rng.choice([m.group(2) for m in TAG.finditer(text)] + [b"Signature", b"ds:Signature", b"ext:UBLExtensions"])
    pieces = [hidden(b"<" + name + b">", rng), EVIL, hidden(b"</" + name + b">", rng)]
    at = rng.choice([boundary(text, rng)] + [place for stretch in excluded for place in stretch])
    shape = rng.randrange(4)
    if shape == 3:
        first, second = sorted((at, boundary(text, rng)))
        return text[:first] + pieces[0] + text[first:second] + pieces[2] + text[second:]
    return insert(text, at, b"".join((pieces, pieces[:2], pieces[::-1])[shape]))


def hidden_original(text, rng, excluded):
    """An element moves to where no reader sees it, and another stands in its place."""
    start, _, _, end = rng.choice(elements(text))
    pair = [hidden(text[start:end], rng), re.sub(rb">[^<>]*\w[^<>]*<", b">999<", text[start:end]) + EVIL * rng.randrange(2)]
    rng.shuffle(pair)
    return text[:start] + b"".join(pair) + text[end:]


def with_doctype(text, declarations, external=b""):
    root = TAG.search(text)
    if root is None or b"<!DOCTYPE" in text:
        return None
    return insert(text, root.start(), b"<!DOCTYPE " + root.group(2) + external + b" [" + declarations + b"]>")


def entity(text, rng, excluded):
    """An element stands in an entity: as it was, with more, or with the entity declared twice."""
    start, _, _, end = rng.choice(elements(text))
    value = text[start:end].replace(b"&", b"&#38;").replace(b"%", b"&#37;").replace(b'"', b"&#34;")
    declaration = b'<!ENTITY e "' + value + EVIL * (rng.randrange(3) == 0) + b'">' + b"<!ENTITY e 'x'>" * rng.randrange(2)
    return with_doctype(text[:start] + b"&e;" + text[end:], declaration)


def unread_entity(text, rng, excluded):
    use = rng.choice((b"&e;", b"<x a='&e;'/>", b""))
    declarations, external = rng.choice((
        (b"", b" SYSTEM 'none.dtd'"), (b"<!ENTITY e SYSTEM 'none.ent'>", b""),
        (b"<!ENTITY % p SYSTEM 'none.ent'>%p;<!ENTITY e '" + EVIL + b"'>", b""),
        (b"<!ENTITY % p SYSTEM 'none.ent'><!ENTITY e '" + EVIL + b"'>", b""), (b"<!ENTITY e ''>", b" PUBLIC '-//N' 'none'")))
    return with_doctype(insert(text, boundary(text, rng), use), declarations, external)


def attribute_defaults(text, rng, excluded):
    name = rng.choice(list(TAG.finditer(text))).group(2)
    attribute = rng.choice((b"evil CDATA '1'", b"Id ID #IMPLIED", b"xml:space (preserve) 'preserve'", b"Id CDATA 'x'"))
    unread = rng.choice((b"", b"", b"<!ENTITY % p SYSTEM 'none.ent'>%p;"))
    return with_doctype(text, unread + b"<!ATTLIST " + name + b" " + attribute + b">")


def duplicate(text, rng, excluded):
    """An element a second time, as it is or with other content, somewhere."""
    start, _, _, end = rng.choice(elements(text))
    copy = text[start:end] if rng.randrange(2) else re.sub(rb">[^<>]+<", b">999<", text[start:end])
    at = rng.choice((start, end, boundary(text, rng)))
    return insert(text, at, copy if rng.randrange(2) else b"<Evil>" + copy + b"</Evil>")


def moved_signature(text, rng, excluded):
    """A signature stands elsewhere, or twice, or holds more."""
    found = [e for e in elements(text) if re.match(rb"<([\w-]+:)?Signature[\s>]", text[e[0]:e[1]])]
    start, _, end_tag, end = rng.choice(found)
    block = text[start:end]
    decoy = re.sub(rb"(DigestValue|SignatureValue)>[^<]+<", rb"\1>AAAA<", block) if rng.randrange(2) else block
    shape = rng.randrange(3)
    if shape == 0:
        return insert(text, rng.choice((start, end, boundary(text, rng))), decoy)
    if shape == 1:
        rest = text[:start] + text[end:]
        return insert(rest, boundary(rest, rng), block)
    return insert(text, end_tag, rng.choice((b"<Object>" + decoy + b"</Object>", EVIL)))


def marker(text, rng, excluded):
    """Markers of the national profiles, hidden, around what is there or other content."""
    first, second = (hidden(m, rng) for m in rng.sample(MARKERS, 2))
    ends = sorted((boundary(text, rng), boundary(text, rng)))
    return text[:ends[0]] + first + text[ends[0]:ends[1]] + EVIL * rng.randrange(2) + second + text[ends[1]:]


def inserted(text, rng, excluded):
    """Something small anywhere, or beside or within what was left out."""
    places = [boundary(text, rng)]
    for start, end in excluded:
        places += [start, end] + [m.end() + start for m in TAG.finditer(text[start:end])][:2]
    what = (EVIL, b"<Evil/>", b" ", b"&#32;", b"<?e 1?>", b"<!---->", b"x", b"<LAUNCH>9</LAUNCH>")
    return insert(text, rng.choice(places), rng.choice(what))


def unwrapped(text, rng, excluded):
    """An element within another, without its tags, or without all of it."""
    start, first, second, end = rng.choice(elements(text))
    name = rng.choice((b"Evil", b"LAU", b"doda", b"Object", b"DTE", b"Document"))
    wrapping = b"<" + name + b">" + text[start:end] + b"</" + name + b">"
    return text[:start] + rng.choice((wrapping, text[first:second], b"")) + text[end:]


def octet(text, rng, excluded):
    at = rng.randrange(len(text))
    return text[:at] + bytes([rng.choice((rng.randrange(256), text[at] ^ 0x20, 0x20, 0x26, 0x3c))]) + text[at + 1:]


def encoding(text, rng):
    """Another declared encoding, byte-order mark, or a declaration that is hard to read; the octets themselves."""
    body = re.sub(rb"^<\?xml[^>]*\?>", b"", text)
    shape = rng.choice((b"<?xml version='1.0' encoding='%s'?>", b'<?xml version="1.0" encoding="%s"?>',
                        b"<?xml version='1.0'" + b" " * 300 + b"encoding='%s'?>",
                        b"<?xml\tversion='1.0'\nencoding\n=\n'%s'?>"))
    if rng.randrange(3) == 0:
        body = insert(body, boundary(body, rng), b"<!--+AC0ALQA+ADw-Evil/+AD4APAAhAC0ALQ- ~{ ~} -->")
    mark, codec = rng.choice(MARKS + ((b"", "utf-8"),) * 3)
    return mark + (shape % rng.choice(ENCODINGS) + body).decode().encode(codec)


KINDS = {f.__name__: f for f in (hidden_tags, hidden_original, entity, unread_entity, attribute_defaults, duplicate,
                                 moved_signature, unwrapped, marker, inserted, octet, encoding)}


def mutate(kind, text, original, rng, excluded):
    """The octets of a mutant, in the original's encoding unless that is what changes. Some are changed twice."""
    try:
        if rng.randrange(4) == 0:
            text = KINDS[rng.choice(list(KINDS)[:-1])](text, rng, excluded) or text
        if kind == "encoding":
            return encoding(text, rng)
        changed = KINDS[kind](text, rng, excluded)
        return None if changed is None else encoded(changed, original)
    except (IndexError, UnicodeError):  # nothing to choose from, or an octet that is no character
        return None
