#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares `xmldsig c14n` with libxml2 on random documents, byte for byte.

    c14n_random.py --tool build/xmldsig [--count 1000] [--seed 1] [--keep DIR]

Each document is canonicalized whole and by the Id of one of its elements, inclusive and exclusive,
with and without comments, and with a prefix list. libxml2 is loaded with ctypes and is the oracle
only; where it is absent the script says so and exits with 77, which the test driver counts as skipped.
With --keep, documents that fail are written to DIR.
"""

import argparse
import ctypes
import ctypes.util
import os
import random
import subprocess
import sys
import tempfile

SKIPPED = 77
C14N_1_0, C14N_EXCLUSIVE = 0, 1
PARSE_FLAGS = 2 | 8 | 32 | 64 | 2048 | (1 << 19)  # NOENT, DTDATTR, NOERROR, NOWARNING, NONET, HUGE


class Libxml2:
    """The few calls of libxml2 that serve as oracle."""

    def __init__(self):
        name = ctypes.util.find_library("xml2") or "libxml2.so.2"
        self.lib = ctypes.CDLL(name)
        lib, ptr = self.lib, ctypes.c_void_p
        lib.xmlReadMemory.restype = ptr
        lib.xmlReadMemory.argtypes = [ctypes.c_char_p, ctypes.c_int, ctypes.c_char_p, ctypes.c_char_p, ctypes.c_int]
        lib.xmlXPathNewContext.restype = ptr
        lib.xmlXPathNewContext.argtypes = [ptr]
        lib.xmlXPathEvalExpression.restype = ptr
        lib.xmlXPathEvalExpression.argtypes = [ctypes.c_char_p, ptr]
        for free in ("xmlFreeDoc", "xmlXPathFreeContext", "xmlXPathFreeObject"):
            getattr(lib, free).argtypes = [ptr]
            getattr(lib, free).restype = None
        lib.xmlC14NDocDumpMemory.argtypes = [
            ptr, ptr, ctypes.c_int, ctypes.POINTER(ctypes.c_char_p), ctypes.c_int, ctypes.POINTER(ptr)]
        self.free = ctypes.CFUNCTYPE(None, ptr).in_dll(lib, "xmlFree")

    def parse(self, text):
        return self.lib.xmlReadMemory(text, len(text), b"random.xml", None, PARSE_FLAGS)

    def canonical(self, doc, mode, comments, prefixes, element_id):
        """The canonical octets, or None when the library refuses."""
        context = result = nodes = None
        if element_id is not None:
            here = "//*[@Id='%s']" % element_id
            path = "{0}/descendant-or-self::node() | {0}/descendant-or-self::*/@* | " \
                   "{0}/descendant-or-self::*/namespace::*".format(here)
            context = self.lib.xmlXPathNewContext(doc)
            result = self.lib.xmlXPathEvalExpression(path.encode(), context)
            # xmlXPathObject: type (int), padding, nodesetval
            nodes = ctypes.c_void_p.from_address(result + 8).value
        listed = None
        if prefixes:
            listed = (ctypes.c_char_p * (len(prefixes) + 1))(*[p.encode() for p in prefixes], None)
        out = ctypes.c_void_p()
        size = self.lib.xmlC14NDocDumpMemory(doc, nodes, mode, listed, int(comments), ctypes.byref(out))
        octets = ctypes.string_at(out, size) if size >= 0 and out else None
        if out:
            self.free(out)
        if result:
            self.lib.xmlXPathFreeObject(result)
            self.lib.xmlXPathFreeContext(context)
        return octets


PREFIXES = ["a", "b", "p0", "p1", "n-1", "_x", "Z"]
URIS = ["http://a.example/", "http://b.example/x", "urn:one", "urn:two", "urn:a", "http://a.example/q"]
LOCALS = ["e", "f", "Item", "x1", "long-element.name_with_a_tail", "\u00e9l\u00e9ment", "B", "a"]
ATTRIBUTES = ["a", "b", "B", "id2", "x", "xy", "x-y", "x.y", "_u", "\u00e4", "\u4e2d", "\U00010400", "z", "type", "nil"]
TEXTS = ["text", " ", "\n", "a\tb", "1 < 2", "x > y", "&", "]]", "\"'", "\r", "\u00fc\u20ac", "\U0001f600",
         "a much longer run of plain text that needs no change at all, so that it is copied in one piece "]
REFERENCES = ["&amp;", "&lt;", "&gt;", "&quot;", "&apos;", "&#13;", "&#xD;", "&#10;", "&#x9;", "&#65;",
              "&#x20AC;", "&#38;", "&#60;", "&#x10FFFD;"]


class Generator:
    """One random document that is well-formed and respects namespaces."""

    def __init__(self, rng):
        self.rng = rng
        self.ids = []
        self.dtd = rng.random() < 0.3
        self.entities = []
        self.crlf = rng.random() < 0.25
        self.budget = rng.choice([3, 10, 40, 120])

    def pick(self, probability):
        return self.rng.random() < probability

    def space(self):
        return self.rng.choice([" ", " ", " ", " ", "  ", "\n", "\t", "\n    "])

    def escaped(self, text):
        return text.replace("&", "&amp;").replace("<", "&lt;").replace("\r", "&#13;")

    def value(self, quote):
        out = []
        for _ in range(self.rng.choice([0, 1, 1, 1, 2, 3])):
            kind = self.rng.random()
            if kind < 0.7:
                out.append(self.escaped(self.rng.choice(TEXTS)))
            elif kind < 0.9 or not self.entities:
                out.append(self.rng.choice(REFERENCES))
            else:
                out.append("&%s;" % self.rng.choice(self.entities)[0])
        return "".join(out).replace(quote, "&#34;" if quote == '"' else "&#39;")

    def attribute(self, name, value=None):
        quote = '"' if self.pick(0.7) else "'"
        equals = "=" if self.pick(0.85) else self.rng.choice([" = ", "= ", " =", "\n="])
        return name + equals + quote + (self.value(quote) if value is None else value) + quote

    def comment(self):
        return "<!--%s-->" % self.rng.choice(["", " c ", " <a> & ]]> ", "two\nlines", "- -x", "\u00fc", "&amp;"])

    def instruction(self):
        return self.rng.choice(["<?pi?>", "<?pi  data ?>", "<?target a='<&>' ?>", "<?p\nline\nline?>", "<?\u00e9 \u00e9?>"])

    def outside(self):
        out = []
        for _ in range(self.rng.choice([0, 0, 1, 2, 3])):
            out.append(self.comment() if self.pick(0.5) else self.instruction())
            out.append(self.rng.choice(["", "\n", "  \n\t"]))
        return "".join(out)

    def content_entity(self):
        usable = self.entities
        return "&%s;" % self.rng.choice(usable)[0]

    def text(self):
        out = []
        for _ in range(self.rng.choice([1, 1, 2, 4])):
            kind = self.rng.random()
            if kind < 0.6:
                out.append(self.escaped(self.rng.choice(TEXTS)))
            elif kind < 0.75:
                out.append(self.rng.choice(REFERENCES))
            elif kind < 0.85:
                inner = self.rng.choice(["", "x", "<a>&amp;</a>", "]] >", "a\nb", "\"'>", "]"])
                out.append("<![CDATA[%s]]>" % inner)
            elif self.entities:
                out.append(self.content_entity())
        text = "".join(out)
        return text.replace("]]>", "]]&gt;") if "<![CDATA[" not in text else text

    def namespaces(self, scope):
        """Declarations of one element; returns the new scope and the attributes."""
        scope, declared = dict(scope), []
        for _ in range(self.rng.choice([0, 0, 0, 1, 1, 2, 3])):
            prefix = self.rng.choice(PREFIXES + ["", "", ""])
            if prefix in declared:
                continue
            uri = self.rng.choice(URIS + ([""] if prefix == "" else []))
            if self.pick(0.3) and scope.get(prefix):
                uri = scope[prefix]  # a superfluous one
            declared.append(prefix)
            scope[prefix] = uri
        return scope, [self.attribute("xmlns:" + p if p else "xmlns", scope[p]) for p in declared]

    def attributes(self, scope):
        out, used = [], set()
        for _ in range(self.rng.choice([0, 0, 1, 1, 2, 3, 5, 12])):
            local = self.rng.choice(ATTRIBUTES)
            prefixes = [p for p in scope if p]
            prefix = self.rng.choice(prefixes) if prefixes and self.pick(0.5) else ""
            key = (scope[prefix] if prefix else "", local)
            if key in used:
                continue
            used.add(key)
            out.append(self.attribute(prefix + ":" + local if prefix else local))
        for name, values in (("xml:lang", ["en", "de", ""]), ("xml:space", ["preserve", "default"]),
                             ("xml:base", ["http://base.example/", "x/"]), ("xml:other", ["1"])):
            if self.pick(0.06):
                out.append(self.attribute(name, self.rng.choice(values)))
        return out

    def element(self, scope, depth, root=False):
        self.budget -= 1
        scope, tags = self.namespaces(scope)
        prefixes = [p for p in scope if p]
        prefix = self.rng.choice(prefixes) if prefixes and self.pick(0.4) else ""
        local = self.rng.choice(LOCALS + (["dtd", "dtd", "dtd"] if self.dtd else []))
        name = prefix + ":" + local if prefix else local
        tags += self.attributes(scope)
        if root or self.pick(0.25):
            element_id = "i%d" % len(self.ids)
            self.ids.append(element_id)
            tags.append(self.attribute("Id", element_id))
        if self.pick(0.8):
            self.rng.shuffle(tags)
        start = "<" + name + "".join(self.space() + t for t in tags) + self.rng.choice(["", "", "", " ", "\n"])
        if self.pick(0.15):
            return start + "/>"
        inner = []
        while self.budget > 0 and self.pick(0.75):
            kind = self.rng.random()
            if kind < 0.5 and depth < 12:
                inner.append(self.element(scope, depth + 1))
            elif kind < 0.85:
                inner.append(self.text())
            elif kind < 0.93:
                inner.append(self.comment())
            else:
                inner.append(self.instruction())
        return start + ">" + "".join(inner) + "</" + name + self.rng.choice(["", "", "", " ", "\n"]) + ">"

    def subset(self, root):
        lines = []
        for name, value in (("plain", "some text"), ("amp", "&#38;#38;"), ("lines", "a\n\tb"),
                            ("nested", "[&plain;]"), ("refs", "&#38;lt;&#38;#62;")):
            if self.pick(0.7):
                if name == "nested" and not any(e[0] == "plain" for e in self.entities):
                    continue
                lines.append('<!ENTITY %s "%s">' % (name, value))
                if name != "amp":
                    self.entities.append((name, value))
        for line in ('<!ATTLIST dtd da CDATA "de fault" tok NMTOKENS " a  b ">',
                     '<!ATTLIST dtd x NMTOKENS #IMPLIED y CDATA #IMPLIED type (u|v) "v">',
                     '<!ATTLIST dtd xml:space (default|preserve) "preserve">',
                     '<!ATTLIST Item added CDATA "&#60;&#13;&#9;">'):
            if self.pick(0.6):
                lines.append(line)
        lines.append("<!-- <not-a-tag> --><?dtd-pi?>")
        self.rng.shuffle(lines)
        lines.sort(key=lambda line: not line.startswith("<!ENTITY plain"))
        return "<!DOCTYPE %s [\n%s\n]>\n" % (root, "\n".join(lines))

    def document(self):
        """The octets of the document; its Ids are in self.ids afterwards."""
        head = self.rng.choice(["", '<?xml version="1.0"?>\n', "<?xml version='1.0' encoding='UTF-8'?>"])
        subset = self.subset("any") if self.dtd else ""
        before, after = self.outside(), self.outside()
        text = head + before + subset + self.outside() * self.pick(0.5) + self.element({}, 0, True) + after
        if self.crlf:
            text = text.replace("\n", self.rng.choice(["\r\n", "\r"]))
        return text.encode("utf-8")


def variants(rng, ids):
    """(mode, comments, prefixes, id) of the canonical forms that are compared."""
    apex = [None, rng.choice(ids)]
    listed = rng.sample(PREFIXES, rng.randint(1, 4)) + (["#default"] if rng.random() < 0.5 else [])
    for element_id in apex:
        yield C14N_1_0, rng.random() < 0.5, [], element_id
        yield C14N_EXCLUSIVE, rng.random() < 0.5, [], element_id
        yield C14N_EXCLUSIVE, rng.random() < 0.5, listed, element_id


def run_tool(tool, path, mode, comments, prefixes, element_id):
    command = [tool, "c14n"]
    command += ["--exclusive"] if mode == C14N_EXCLUSIVE else []
    command += ["--with-comments"] if comments else []
    command += ["--id", element_id] if element_id is not None else []
    command += ["--prefixes", " ".join(prefixes)] if prefixes else []
    done = subprocess.run(command + [path], capture_output=True, check=False)
    return done.returncode, done.stdout, done.stderr


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--tool", required=True)
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--keep")
    options = parser.parse_args()
    if not os.access(options.tool, os.X_OK):
        print("skipped: no tool at", options.tool)
        return SKIPPED
    try:
        oracle = Libxml2()
    except OSError as reason:
        print("skipped: libxml2 is not there:", reason)
        return SKIPPED

    compared = refused = failed = 0
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "random.xml")
        for number in range(options.count):
            rng = random.Random(options.seed * 1000003 + number)
            generator = Generator(rng)
            text = generator.document()
            doc = oracle.parse(text)
            if not doc:
                print("document %d: libxml2 does not parse it" % number)
                refused += 1
                continue
            with open(path, "wb") as file:
                file.write(text)
            for variant in variants(rng, generator.ids):
                expected = oracle.canonical(doc, *variant)
                if expected is None:
                    refused += 1
                    continue
                code, octets, complaint = run_tool(options.tool, path, *variant)
                compared += 1
                if code == 0 and octets == expected:
                    continue
                failed += 1
                print("document %d, variant %r: exit %d %r\n  expected %r\n  got      %r"
                      % (number, variant, code, complaint, expected, octets))
                if options.keep:
                    os.makedirs(options.keep, exist_ok=True)
                    with open(os.path.join(options.keep, "%d.xml" % number), "wb") as file:
                        file.write(text)
            oracle.lib.xmlFreeDoc(doc)
    print("%d canonical forms compared, %d differ, %d not judged by the oracle" % (compared, failed, refused))
    if compared < 3 * options.count:
        print("too few forms were compared")
        return 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
