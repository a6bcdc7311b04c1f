"""Seeded changes to signed documents: the means by which forgers have made a verifier and another
reader see different documents. A change takes the text (UTF-8) and gives the changed text, or None
where it does not apply."""

import re

TAG = re.compile(rb"<(/?)([A-Za-z_][\w.:-]*)((?:[^<>\"']|\"[^\"]*\"|'[^']*')*?)(/?)>")
HIDING = (b"<!--%s-->", b"<![CDATA[%s]]>", b"<?x %s?>", b"<x a='%s'/>")
MARKERS = (
    b"sii.cl", b"urn:sunat:names:specification:ubl:peru", b"mf.gov.pl", b"crd.gov.pl", b"zus.pl", b"urn:hl7-org:",
    b"fascicolosanitario.gov.it", b"ezdrowie.gov.pl", b"csioz.gov.pl", b"urn:cma:stp:xsd:stp", b"sat.gob.mx", b"<doda>",
    b"</doda>", b"<SignedDoc ", b"SK-XML", b"urn:swift:saa:xsd:saa.2.0", b"<LAU", b"</LAU>", b"<DTE", b"</DTE>",
    b"<Documento", b"</Document>", b"<Document ", b"http://schemas.xmlsoap.org/soap/actor/next",
    b"urn:oasis:names:tc:ebxml-msg:actor:nextMSH", b"<ext:UBLExtensions>", b"</ext:UBLExtensions>",
    b"<cac:Signature>", b"</cac:Signature>", b"<sig:UBLDocumentSignatures>", b"</sig:UBLDocumentSignatures>")
ENCODINGS = (b"UTF-7", b"UTF-16", b"UTF-16LE", b"UTF-32", b"ISO-8859-1", b"windows-1252", b"Shift_JIS", b"GB18030",
             b"HZ-GB-2312", b"ISO-2022-JP", b"ISO-2022-KR", b"EBCDIC-CP-US", b"IBM037", b"x-none", b"US-ASCII", b"utf-8", b"Big5")
EVIL = b"<Evil>999</Evil>"


def codec_of(data):
    for mark, codec in ((b"\xef\xbb\xbf", "utf-8"), (b"\xff\xfe", "utf-16-le"), (b"\xfe\xff", "utf-16-be")):
        if data.startswith(mark):
            return mark, codec
    declared = re.match(rb"<\?xml[^>]*?encoding\s*=\s*[\"']([\w.:-]+)", data)
    return b"", declared.group(1).decode() if declared else "utf-8"


def encoded(text, original):
    """`text` in the encoding of the original octets."""
    mark, codec = codec_of(original)
    return mark + text.decode(errors="replace").encode(codec, errors="xmlcharrefreplace")


def elements(text):
    """(start, end of the start tag, start of the end tag, end) of every element, in order of their ends."""
    found, opened = [], []
    for m in TAG.finditer(text):
        if m.group(1):
            if opened and opened[-1].group(2) == m.group(2):
                start = opened.pop()
                found.append((start.start(), start.end(), m.start(), m.end()))
        elif m.group(4):
            found.append((m.start(), m.end(), m.end(), m.end()))
        else:
            opened.append(m)
    return found


def boundary(text, rng):
    return rng.choice([m.end() for m in TAG.finditer(text)][:-1] or [len(text)])


def insert(text, at, what):
    return text[:at] + what + text[at:]


def tags_in(hiding, tags):
    """The tags as a comment, section, instruction or value can hold them."""
    if b"'" in hiding:
        return hiding % tags.replace(b"<", b"&lt;").replace(b"'", b"&apos;")
    return hiding % tags.replace(b"--", b"- ").replace(b"]]>", b"").replace(b"?>", b"")


def hidden_tags(text, rng, excluded):
    """An element between what looks like two tags, of one name that the document has."""
    name = rng.choice([m.group(2) for m in TAG.finditer(text)] + [b"Signature", b"ds:Signature", b"ext:UBLExtensions", b"doda"])
    hiding = rng.choice(HIDING)
    pieces = [tags_in(hiding, b"<" + name + b">"), tags_in(hiding, b"</" + name + b">")]
    at = rng.choice([boundary(text, rng)] + [s for s, _ in excluded] + [e for _, e in excluded])
    shape = rng.randrange(4)
    if shape == 0:
        return insert(text, at, pieces[0] + EVIL + pieces[1])
    if shape == 1:
        return insert(text, at, rng.choice(pieces) + EVIL)
    if shape == 2:
        return insert(text, at, pieces[1] + EVIL + pieces[0])
    first, second = sorted((at, boundary(text, rng)))
    return text[:first] + pieces[0] + text[first:second] + pieces[1] + text[second:]


def hidden_original(text, rng, excluded):
    """The signed element moves into a comment or value, and another stands in its place."""
    start, _, _, end = rng.choice(elements(text))
    other = re.sub(rb">[^<>]*[0-9A-Za-z][^<>]*<", b">999<", text[start:end]) + (EVIL if rng.randrange(2) else b"")
    pair = [tags_in(rng.choice(HIDING), text[start:end]), other]
    rng.shuffle(pair)
    return text[:start] + b"".join(pair) + text[end:]


def with_doctype(text, rng, declarations, external=b""):
    root = TAG.search(text)
    if root is None or b"<!DOCTYPE" in text:
        return None
    return insert(text, root.start(), b"<!DOCTYPE " + root.group(2) + external + b" [" + declarations + b"]>")


def entity(text, rng, excluded):
    """A stretch stands in an entity: as it was, changed, or the name of it declared twice."""
    start, _, _, end = rng.choice(elements(text))
    value = text[start:end].replace(b"&", b"&#38;").replace(b"%", b"&#37;").replace(b'"', b"&#34;")
    if rng.randrange(3) == 0:
        value = value + EVIL
    declaration = b'<!ENTITY e "' + value + b'">'
    if rng.randrange(3) == 0:
        declaration += b"<!ENTITY e 'other'>"
    return with_doctype(text[:start] + b"&e;" + text[end:], rng, declaration)


def unread_entity(text, rng, excluded):
    use = rng.choice((b"&e;", b"<x a='&e;'/>", b""))
    declarations, external = rng.choice((
        (b"", b" SYSTEM 'none.dtd'"), (b"<!ENTITY e SYSTEM 'none.ent'>", b""),
        (b"<!ENTITY % p SYSTEM 'none.ent'>%p;<!ENTITY e '" + EVIL + b"'>", b""),
        (b"<!ENTITY % p SYSTEM 'none.ent'><!ENTITY e '" + EVIL + b"'>", b""),
        (b"<!ENTITY e ''>", b" PUBLIC '-//N' 'none.dtd'")))
    return with_doctype(insert(text, boundary(text, rng), use), rng, declarations, external)


def attribute_defaults(text, rng, excluded):
    name = rng.choice(list(TAG.finditer(text))).group(2)
    attribute = rng.choice((b"evil CDATA '1'", b"Id ID #IMPLIED", b"xml:space (preserve) 'preserve'", b"Id CDATA 'x'"))
    pe = rng.choice((b"", b"", b"<!ENTITY % p SYSTEM 'none.ent'>%p;"))
    return with_doctype(text, rng, pe + b"<!ATTLIST " + name + b" " + attribute + b">")


def duplicate(text, rng, excluded):
    """An element a second time, as it is or with other content, somewhere."""
    start, _, _, end = rng.choice(elements(text))
    copy = text[start:end]
    if rng.randrange(2):
        copy = re.sub(rb">[^<>]+<", b">999<", copy)
    at = rng.choice((start, end, boundary(text, rng)))
    return insert(text, at, copy if rng.randrange(2) else b"<Evil>" + copy + b"</Evil>")


def signature_ranges(text):
    return [e for e in elements(text) if re.match(rb"<([\w-]+:)?Signature[\s>]", text[e[0]:e[1]])]


def moved_signature(text, rng, excluded):
    """A signature stands elsewhere, or twice, or in something that other rules take out."""
    found = signature_ranges(text)
    if not found:
        return None
    start, _, _, end = rng.choice(found)
    block = text[start:end]
    decoy = re.sub(rb"(DigestValue|SignatureValue)>[^<]+<", rb"\1>AAAA<", block) if rng.randrange(2) else block
    at = rng.choice((start, end, boundary(text, rng)))
    shape = rng.randrange(3)
    if shape == 0:
        return insert(text, at, decoy)
    if shape == 1 and (at <= start or at >= end):
        rest = text[:start] + text[end:]
        return insert(rest, at if at <= start else at - (end - start), block)
    end_tag = text.rindex(b"</", start, end)
    return insert(text, end_tag, rng.choice((b"<Object>" + decoy + b"</Object>", EVIL)))


def wrapped(text, rng, excluded):
    start, _, _, end = rng.choice(elements(text))
    opening = rng.choice((b"Evil", b"LAU", b"doda", b"Object", b"DTE", b"Document"))
    return text[:start] + b"<" + opening + b">" + text[start:end] + b"</" + opening + b">" + text[end:]


def marker(text, rng, excluded):
    """Markers of the national profiles, hidden and in the open, around other content."""
    chosen = rng.sample(MARKERS, 2)
    pieces = [tags_in(rng.choice(HIDING), m) for m in chosen]
    ends = sorted((boundary(text, rng), boundary(text, rng)))
    first = rng.choice((pieces[0], b"<x><![CDATA[" + chosen[0] + b"]]></x>"))
    return text[:ends[0]] + first + text[ends[0]:ends[1]] + rng.choice((pieces[1], EVIL + pieces[1])) + text[ends[1]:]


def inserted(text, rng, excluded):
    return insert(text, boundary(text, rng), rng.choice((EVIL, b"<Evil/>", b" ", b"&#32;", b"<?e 1?>", b"<!---->", b"x", b"<LAUNCH>9</LAUNCH>")))


def in_excluded(text, rng, excluded):
    """Something beside or within what was taken out."""
    places = [p for s, e in excluded for p in (s, e, rng.choice([m.end() + s for m in TAG.finditer(text[s:e])] or [e]))]
    return insert(text, rng.choice(places), rng.choice((EVIL, b"<!--x-->", b"<x/>"))) if places else None


def removed(text, rng, excluded):
    start, first, second, end = rng.choice(elements(text))
    return text[:start] + text[end:] if rng.randrange(2) else text[:first] + text[second:]


def octet(text, rng, excluded):
    at = rng.randrange(len(text))
    return text[:at] + bytes([rng.choice((rng.randrange(256), text[at] ^ 0x20, 0x20, 0x26, 0x3c))]) + text[at + 1:]


def encoding(text, original, rng):
    """Another declared encoding, byte-order mark, or a declaration that is hard to read."""
    body = re.sub(rb"^<\?xml[^>]*\?>", b"", text)
    name = rng.choice(ENCODINGS)
    declaration = rng.choice((
        b"<?xml version='1.0' encoding='" + name + b"'?>", b'<?xml version="1.0" encoding="' + name + b'"?>',
        b"<?xml version='1.0'" + b" " * 300 + b"encoding='" + name + b"'?>", b"<?xml\tversion='1.0'\nencoding\n=\n'" + name + b"'?>"))
    if rng.randrange(3) == 0:
        at = boundary(body, rng)
        body = insert(body, at, b"<!--+AC0ALQA+ADw-Evil/+AD4APAAhAC0ALQ- \x1b$B \x1b(B ~{ ~} -->")
    mark = rng.choice((b"", b"", b"", b"\xef\xbb\xbf", b"\xff\xfe", b"\xfe\xff"))
    if mark[:1] in (b"\xff", b"\xfe"):
        codec = "utf-16-le" if mark == b"\xff\xfe" else "utf-16-be"
        return mark + (declaration + body).decode(errors="replace").encode(codec)
    return mark + declaration + body


KINDS = {f.__name__: f for f in (hidden_tags, hidden_original, entity, unread_entity, attribute_defaults, duplicate,
                                 moved_signature, wrapped, marker, inserted, in_excluded, removed, octet, encoding)}


def mutate(kind, text, original, rng, excluded):
    """A mutant of the document, in its own encoding unless that is what changes."""
    if kind == "encoding":
        return encoding(text, original, rng)
    try:
        changed = KINDS[kind](text, rng, excluded)
    except IndexError:  # nothing to choose from
        return None
    if changed is None:
        return None
    return changed if codec_of(original) == (b"", "utf-8") else encoded(changed, original)
