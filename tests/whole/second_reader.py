#!/usr/bin/env python3
"""Compares what other readers see in signed documents with what `xmldsig` digested.

    second_reader.py TOOL [--mutants N] [--seed N] [--only TEXT] [--keep FOLDER]

Every valid document of tests/vectors/dsig, and of the shared corpora where they are, is read by
expat and by libxml2. The covered element without what the report calls excluded, as expat sees it
(elements, attributes, character data, processing instructions), must be what stands in the octets
of `digest-input`. The same is asked of N mutants of each document that the tool still calls valid;
of a mutant in which a covered letter differs, that it is not. Needs xmllint; exits with 77 without
it. Ends with "N passed, N failed"."""

import argparse
import base64
import collections
import hashlib
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import xml.parsers.expat

import mutations

TOP = pathlib.Path(__file__).resolve().parents[2]
VECTORS = TOP / "tests/vectors/dsig"
SHARED = pathlib.Path(os.environ.get("VANTREL_SHARED", TOP.parent / "shared"))
XML = "http://www.w3.org/XML/1998/namespace"
HASHES = ("sha3-224", "sha3-256", "sha3-384", "sha3-512", "sha224", "sha256", "sha384", "sha512", "sha1", "md5",
          "ripemd160")
LONGEST = 100_000  # octets of a document that is mutated

Case = collections.namedtuple("Case", "name data options signature")
counts = collections.Counter()
failures = []


class Difference(Exception):
    """What a reader sees is not what was digested."""


class Skip(Exception):
    """A reference to which the comparison does not apply, and why."""


class Node:
    """An element; the document itself has no name."""

    def __init__(self, name, attributes, start, parent):
        self.name, self.attributes, self.start, self.parent = name, attributes, start, parent
        self.children = []  # Node, (offset, text) or (offset, target, data)
        self.declared = {a[6:] if a[5:] else "": v for a, v in attributes if a == "xmlns" or a[:6] == "xmlns:"}

    def namespace(self, prefix):
        node = self
        while node is not None and prefix not in node.declared:
            node = node.parent
        return node.declared[prefix] if node is not None else XML if prefix == "xml" else ""

    def elements(self):
        stack = [self]
        while stack:
            node = stack.pop()
            yield node
            stack += [child for child in reversed(node.children) if isinstance(child, Node)]


def parse(data, encoding=None):
    """The tree that expat builds; offsets count octets of `data`."""
    parser = xml.parsers.expat.ParserCreate(encoding)
    parser.ordered_attributes = True
    document = Node(None, [], 0, None)
    stack = [document]

    def start(name, flat):
        node = Node(name, list(zip(flat[::2], flat[1::2])), parser.CurrentByteIndex, stack[-1])
        stack[-1].children.append(node)
        stack.append(node)

    def skipped(name, is_parameter):
        if not is_parameter:
            raise Difference(f"the entity {name} is not read")

    parser.StartElementHandler = start
    parser.EndElementHandler = lambda name: stack.pop()
    parser.CharacterDataHandler = lambda text: stack[-1].children.append((parser.CurrentByteIndex, text))
    parser.ProcessingInstructionHandler = (
        lambda target, text: stack[-1].children.append((parser.CurrentByteIndex, target, text)))
    parser.SkippedEntityHandler = skipped
    parser.Parse(data, True)
    return document


def inside(offset, ranges):
    return any(start <= offset < end for start, end in ranges)


def kept_text(offset, text, source, ranges):
    """Of one piece of character data, what lies outside the ranges."""
    octets = text.encode()
    if len(text) == 1 or source[offset:offset + 1] == b"&" or source[offset:offset + len(octets)] != octets:
        return "" if inside(offset, ranges) else text
    return bytes(o for i, o in enumerate(octets) if not inside(offset + i, ranges)).decode()


def tag(node, bare, inherited=()):
    """`bare`: without namespace names; `inherited`: attributes that an apex may have taken over."""
    def named(name, is_attribute):
        prefix = name.partition(":")[0] if ":" in name else ""
        return name, "" if bare or (is_attribute and not prefix) else node.namespace(prefix)
    attributes = sorted((*named(a, True), v) for a, v in node.attributes
                        if a != "xmlns" and a[:6] != "xmlns:" and (a, v) not in inherited)
    return ("<", *named(node.name, False), *attributes)


def tokens(apexes, source, ranges, bare, inherited=()):
    """Tags, merged character data and processing instructions of the subtrees, comments dropped."""
    result = []
    stack = [(apex, 0) for apex in reversed(apexes)]
    while stack:
        item, depth = stack.pop()
        if item is None:
            result.append((">",))
        elif isinstance(item, Node):
            if item.name is not None:
                if inside(item.start, ranges):
                    continue
                result.append(tag(item, bare, inherited if depth == 0 else ()))
                stack.append((None, 0))
                depth += 1
            stack += [(child, depth) for child in reversed(item.children)]
        elif len(item) == 3:
            if not inside(item[0], ranges):
                result.append(("?", item[1], item[2]))
        elif depth > 0:
            text = kept_text(*item, source, ranges)
            if text and result[-1][0] == "t":
                result[-1] = ("t", result[-1][1] + text)
            elif text:
                result.append(("t", text))
    return result


def at_path(document, path):
    node = document
    for step in path.strip("/").split("/"):
        name, _, number = step.rstrip("]").partition("[")
        same = [c for c in node.children if isinstance(c, Node) and c.name == name]
        if len(same) < int(number or 1):
            raise Difference(f"a reader finds no {path}")
        node = same[int(number or 1) - 1]
    return node


def loaded_text(data):
    """The text in UTF-8 without its mark, as its declaration says it is to be read."""
    for mark, codec in ((b"\xef\xbb\xbf", "utf-8"), (b"\xff\xfe", "utf-16-le"), (b"\xfe\xff", "utf-16-be")):
        if data.startswith(mark):
            return data[len(mark):].decode(codec).encode()
    declared = re.match(rb"<\?xml[^>]*?encoding\s*=\s*[\"']([\w.:-]+)", data)
    return data.decode(declared.group(1).decode() if declared else "utf-8").encode()


def read(data, mismatch=False):
    """(text, tree) as expat sees them; both of its ways must agree, and libxml2 with them.
    `mismatch`: the declared encoding is known not to be that of the octets."""
    if mismatch:
        text = data.removeprefix(b"\xef\xbb\xbf")
        return text, parse(text, "utf-8")
    text = loaded_text(data)
    tree = parse(text, "utf-8")
    try:
        raw = parse(data)
    except ValueError:  # an encoding of several octets a character that expat does not know
        counts["documents read by libxml2 in their encoding"] += 1
        return text, tree
    if tokens([tree], text, (), False) != tokens([raw], text, (), False):
        raise Difference("the declared encoding reads differently")
    return text, tree


def libxml2_agrees(path, tree):
    done = subprocess.run(["xmllint", "--nonet", "--huge", "--noent", "--dtdattr", "--dropdtd", "--encode", "UTF-8", str(path)],
                          capture_output=True, check=False)
    if done.returncode != 0:
        raise Difference(f"libxml2 does not read it: {done.stderr[:200]}")
    if tokens([tree], b"", (), False) != tokens([parse(done.stdout)], b"", (), False):
        raise Difference("libxml2 reads something else")


def excluded(reference):
    return [(x["start"], x["start"] + x["length"]) for x in reference.get("excluded", [])]


def check_target(reference, tree, apexes):
    """The Id that the URI names is that of the covered element, and of no other."""
    uri = reference["uri"].strip()
    match = re.fullmatch(r"#xpointer\(id\(['\"](.*)['\"]\)\)", uri) or re.fullmatch(r"#(?!xpointer)(.+)", uri)
    if match is None or reference["covers"] != "element":
        return
    holders = [node for node in tree.elements() if any(
        v == match.group(1) and a.split(":")[-1] in ("Id", "ID", "id", "AssertionID", "RequestID", "ResponseID")
        for a, v in node.attributes)]
    if holders and holders != apexes:
        raise Difference(f"{uri} is not the element that is reported, or not the only one")


def compare(reference, accommodations, text, tree, octets):
    """What a reader sees of the covered part against the octets that were digested."""
    covers = reference["covers"]
    if covers == "document":
        apexes = [tree]
    elif covers in ("element", "elements"):
        paths = reference.get("paths") or [reference["path"]] if "path" in reference or "paths" in reference else []
        if not paths or any("..." in path or "\u2026" in path for path in paths):
            raise Skip("no full path in the report")
        apexes = [at_path(tree, path) for path in paths]
    else:
        raise Skip(f"covers {covers or 'nothing'}")
    check_target(reference, tree, apexes)
    ranges = excluded(reference)
    if any(t.get("algorithm", "").endswith("#base64") for t in reference.get("transforms", [])):
        content = "".join(t[1] for t in tokens(apexes, text, ranges, True) if t[0] == "t")
        if re.sub(r"\s", "", content) != base64.b64encode(octets).decode():
            raise Difference("the base64 text is not that of the octets")
        return
    bare = "profile.cut-out" in accommodations
    inherited = [a for apex in apexes if apex.parent for up in ancestors(apex) for a in up.attributes if a[0][:4] == "xml:"]
    own = {a for apex in apexes for a in apex.attributes}
    seen = tokens(apexes, text, ranges, bare)
    digested = parse(b"<all>" + octets + b"</all>", "utf-8").children[0]
    digested.name = None
    if seen != tokens([digested], octets, (), bare, set(inherited) - own):
        raise Difference("digested is " + difference(seen, tokens([digested], octets, (), bare, set(inherited) - own)))


def ancestors(node):
    while node.parent is not None:
        node = node.parent
        yield node


def difference(seen, digested):
    at = next((i for i, pair in enumerate(zip(seen, digested)) if pair[0] != pair[1]), min(len(seen), len(digested)))
    return f"{digested[at:at + 2]}, a reader sees {seen[at:at + 2]}"[:400]


class Tool:
    def __init__(self, program, folder):
        self.program, self.folder, self.made = program, folder, 0
        self.digested = {}

    def store(self, case):
        self.made += 1
        path = self.folder / f"{self.made}.xml"
        path.write_bytes(case.data)
        return path

    def verify(self, cases):
        """(case, path, report) of each, in as few processes as the options allow."""
        groups = collections.defaultdict(list)
        for case in cases:
            groups[case.options].append((case, self.store(case)))
        for options, group in groups.items():
            names = self.folder / "names"
            names.write_text("".join(f"{path}\n" for _, path in group))
            done = subprocess.run([self.program, "verify", "--json", *options, "--files-from", str(names)],
                                  capture_output=True, check=False, timeout=600)
            reports = done.stdout.decode().splitlines()
            if done.returncode not in (0, 1, 2) or len(reports) != len(group):
                failures.append(f"verify ended with {done.returncode} after {len(reports)} of {len(group)} documents, "
                                f"the last: {group[min(len(reports), len(group) - 1)][0].name} {done.stderr[:300]}")
                continue
            for (case, path), line in zip(group, reports):
                yield case, path, json.loads(line)

    def digest_input(self, case, path, signature, reference, fresh):
        """What was digested; an equal digest has equal octets, so few calls are needed for mutants."""
        stored = reference.get("digest", {}).get("stored")
        known = (reference["digestMethod"], stored)
        if fresh or stored is None or known not in self.digested:
            done = subprocess.run([self.program, "digest-input", "--signature", str(signature["index"]), "--reference",
                                   str(reference["index"]), *case.options, str(path)], capture_output=True, check=False)
            if done.returncode != 0:
                raise Difference(f"digest-input ended with {done.returncode}: {done.stderr[:200]}")
            self.digested[known] = done.stdout
            if stored is not None:
                self.check_digest(reference, stored, done.stdout)
        return self.digested[known]

    @staticmethod
    def check_digest(reference, stored, octets):
        tail = re.split("[#/]", reference["digestMethod"].lower())[-1]
        name = next((h for h in HASHES if tail.endswith(h)), "sha1").replace("sha3-", "sha3_")
        digest = hashlib.new(name, octets).digest()
        texts = (base64.b64encode(digest).decode(), digest.hex(), base64.b64encode(digest.hex().encode()).decode())
        if stored not in texts and stored.lower() not in texts:
            raise Difference("digest-input is not what was digested")


def check_reference(tool, case, path, seen, signature, reference, fresh):
    accommodations = set(signature.get("accommodations", [])) | set(reference.get("accommodations", []))
    if reference["status"] != "match" or reference.get("signed", True) is False:
        raise Skip("not signed" if reference["status"] == "match" else "status " + reference["status"])
    if "digest.tolerated" in accommodations:
        raise Skip("digest tolerated")
    if "coverage-unknown" in signature["warnings"]:
        raise Skip("coverage unknown")
    octets = tool.digest_input(case, path, signature, reference, fresh)
    if reference["covers"] == "external":
        raise Skip("external")
    compare(reference, accommodations, *seen, octets)


def check_warnings(signature):
    """A signature that does not show all that it leaves out must say so."""
    parts = [r for r in signature["references"] if r.get("signed", True) and r["status"] == "match"]
    others = any(x["why"] != "enveloped-signature" for r in parts for x in r.get("excluded", []))
    if others and "content-excluded" not in signature["warnings"]:
        raise Difference("content is excluded and no warning says so")
    if not any(r["covers"] == "document" for r in parts) and "document-not-covered" not in signature["warnings"]:
        raise Difference("no reference covers the document and no warning says so")


def judge(tool, case, path, report, fresh, with_libxml2):
    """Compares every reference of every valid signature; true when there was one."""
    valid = [s for s in report["signatures"] if s["status"] == "valid" and case.signature in (None, s["index"])]
    if not valid:
        return False
    try:
        seen = read(case.data, any("encoding-mismatch" in s["warnings"] for s in valid))
        unread = any("external-dtd-not-read" in s["warnings"] for s in valid)
        if with_libxml2 and not unread:
            libxml2_agrees(path, seen[1])
    except (Difference, xml.parsers.expat.ExpatError, UnicodeError, LookupError) as problem:
        failures.append(f"{case.name}: {problem}")
        return True
    for signature in valid:
        for reference in signature["references"]:
            try:
                check_reference(tool, case, path, seen, signature, reference, fresh)
                counts["references compared"] += 1
            except Skip as why:
                counts[f"skipped: {why}"] += 1
            except (Difference, xml.parsers.expat.ExpatError) as problem:
                failures.append(f"{case.name}: signature {signature['index']} reference {reference['index']}: {problem}")
        try:
            check_warnings(signature)
        except Difference as problem:
            failures.append(f"{case.name}: signature {signature['index']}: {problem}")
    return True


def unescaped(text):
    """The octets of a value of a vector file."""
    return re.sub(rb"\\(?:x(..)|(.))", lambda m: bytes.fromhex(m[1].decode()) if m[1] else
                  {b"n": b"\n", b"r": b"\r", b"t": b"\t"}.get(m[2], m[2]), text.encode())


def vector_cases():
    """The runs of the project's vectors that are valid, with their changes and options."""
    keys = {name: ("--key", str(VECTORS / f"keys/{name}.pub")) for name in ("rsa", "k256")}
    keys["hmac"] = ("--hmac-key", "a secret of some length", "--hmac-encoding", "ascii")
    keys["none"] = ()
    for path in sorted(VECTORS.glob("*/*/case.vec")):
        for number, block in enumerate(re.split(r"\n\s*\n", path.read_text())):
            lines = [re.split(r" = ?", line, maxsplit=1) for line in block.splitlines() if " =" in line]
            values = dict(lines)
            if values.get("WithReferences") != "true" or "Data" in values or "Ignore" in values:
                continue
            data = (path.parent / "document.xml").read_bytes()
            for name, change in lines:
                if name == "Change":
                    old, _, new = change.partition(" =>")
                    data = data.replace(unescaped(old), unescaped(new.removeprefix(" ")))
            words = tuple(w for word in values.get("Options", "").split() for w in ("--option", word))
            yield Case(f"{path.parent.parent.name}/{path.parent.name} run {number}", data,
                       keys[values.get("Key", "rsa")] + words, int(values.get("Selector", "0")))


def corpus_cases():
    """Valid entries of the shared folders' manifests."""
    folder = SHARED / "corpus/xmldsig"
    for entry in manifest(folder / "manifest.json", "entries"):
        if entry["expected_status"] != "valid":
            continue
        options = []
        key = entry["key"]
        if "hmac_hex" in key:
            options += ["--hmac-key", key["hmac_hex"]]
        if "public_key" in key:
            options += ["--key", str(folder / key["public_key"])]
        for file in key.get("cert_store", []):
            options += ["--cert", str(folder / file)]
        for one in entry["external"]:
            if one.get("file"):
                options += ["--ref-data", f"{one['reference']}={folder / one['file']}"]
        yield Case(entry["path"], (folder / entry["path"]).read_bytes(), tuple(options), entry["signature_index"])
    folder = SHARED / "profiles"
    for sample in manifest(folder / "manifest.json", "samples"):
        secret = sample.get("hmac_key")
        options = ("--hmac-key", secret, "--hmac-encoding", "ascii") if secret else ()
        data = (folder / sample["path"]).read_bytes()
        yield Case(sample["path"], data, options, None)
        if "by_our_rules_with_option_ZATCA" in sample:
            yield Case(sample["path"] + " ZATCA", data, options + ("--option", "ZATCA"), None)
    folder = SHARED / "corpus/attacks"
    for entry in manifest(folder / "manifest.json", None):
        if entry["expect"] != "bounded":
            options = tuple(str(folder / o) if (folder / o).is_file() else o for o in entry["options"])
            yield Case(entry["file"], (folder / entry["file"]).read_bytes(), options, None)


def manifest(path, name):
    if not path.is_file():
        print(f"skipped: there is no {path.parent.name}")
        return []
    content = json.loads(path.read_text())
    return content[name] if name else content


def covered_letters(case, report):
    """Offsets of letters and digits of character data that a valid signature covers."""
    text, tree = read(case.data)
    found = set()
    for signature in report["signatures"]:
        if signature["status"] != "valid" or case.signature not in (None, signature["index"]):
            continue
        for reference in signature["references"]:
            if reference["covers"] not in ("document", "element") or reference["status"] != "match":
                continue
            if any(t.get("algorithm", "").endswith("#base64") for t in reference.get("transforms", [])):
                continue
            if reference.get("signed", True) is False or "coverage-unknown" in signature["warnings"]:
                continue
            ranges = excluded(reference)
            top = tree if reference["covers"] == "document" else at_path(tree, reference["path"])
            for node in top.elements():
                found |= {o + i for o, t in (c for c in node.children if not isinstance(c, Node) and len(c) == 2)
                          for i, letter in enumerate(t) if letter.isalnum() and text[o:o + i + 1] == t[:i + 1].encode()
                          and not inside(o + i, ranges)}
    return text, sorted(found)


def mutants(case, report, rng, number):
    try:
        text, letters = covered_letters(case, report)
    except (Difference, UnicodeError, LookupError, KeyError, xml.parsers.expat.ExpatError):
        return
    names = list(mutations.KINDS)
    for i in range(number):
        if letters and i % 6 == 0:
            at = rng.choice(letters)
            other = b"7" if text[at:at + 1] != b"7" else b"8"
            yield "letter", case._replace(name=f"{case.name}, letter at {at}", signature=None,
                                          data=mutations.encoded(text[:at] + other + text[at + 1:], case.data))
            continue
        kind = rng.choice(names)
        data = mutations.mutate(kind, text, case.data, rng, [r for s in report["signatures"] for x in s["references"]
                                                            for r in excluded(x)])
        if data is not None and data != case.data:
            yield kind, case._replace(name=f"{case.name}, {kind} #{i}", data=data, signature=None)


def keep(folder, case):
    if folder:
        pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
        name = re.sub(r"\W+", "_", case.name)
        (pathlib.Path(folder) / f"{name}.xml").write_bytes(case.data)


def run_mutants(tool, bases, arguments):
    rng = random.Random(arguments.seed)
    made = {}
    for case, report in bases:
        if len(case.data) <= LONGEST:
            for kind, mutant in mutants(case, report, rng, arguments.mutants):
                made[mutant] = kind
    for i, (case, path, report) in enumerate(tool.verify(made)):
        before = len(failures)
        kind = made[case]
        counts["mutants"] += 1
        counts[f"mutants, {kind}"] += 1
        signed = [s for s in report["signatures"] if s["status"] == "valid"]
        if kind == "letter" and report["status"] == "valid":
            failures.append(f"{case.name}: a covered letter differs and every signature is valid")
        if judge(tool, case, path, report, i % 8 == 0, i % 16 == 0):
            counts["mutants with a valid signature"] += 1 if signed else 0
        if len(failures) > before:
            keep(arguments.keep, case)
        path.unlink()


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("tool")
    arguments.add_argument("--mutants", type=int, default=int(os.environ.get("VANTREL_MUTANTS", "12")))
    arguments.add_argument("--seed", type=int, default=20)
    arguments.add_argument("--only", default="")
    arguments.add_argument("--keep")
    arguments = arguments.parse_args()
    if not shutil.which("xmllint"):
        print("skipped: xmllint is not installed")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        tool = Tool(arguments.tool, pathlib.Path(folder))
        cases = [c for c in [*vector_cases(), *corpus_cases()] if arguments.only in c.name]
        bases = []
        for case, path, report in tool.verify(cases):
            if judge(tool, case, path, report, True, True):
                counts["documents"] += 1
                bases.append((case, report))
        run_mutants(tool, bases, arguments)
    for failure in failures[:200]:
        print(f"FAILED: {failure}")
    for name, count in sorted(counts.items()):
        print(f"{count:6} {name}")
    print(f"{counts['references compared']} passed, {len(failures)} failed")
    return 1 if failures or not counts["references compared"] else 0


if __name__ == "__main__":
    sys.exit(main())
