#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares what other readers see in signed documents with what `xmldsig` digested.

    second_reader.py TOOL [--mutants N] [--seed N] [--only TEXT] [--every N] [--keep FOLDER]

Every valid document of tests/vectors/dsig, and of the shared corpora where they are, is read by expat and
by libxml2. The covered element without what the report calls excluded, as expat sees it (elements,
attributes, character data, processing instructions), must be what stands in the octets of `digest-input`,
and those must have the stored digest. The same is asked of N mutants of each document that the tool still
calls valid; of one in which a covered letter differs, that it is not. Exits with 77 without xmllint."""

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
IDS = ("Id", "ID", "id", "AssertionID", "RequestID", "ResponseID")
HASHES = ("sha3-256", "sha3-384", "sha3-512", "sha224", "sha256", "sha384", "sha512", "sha1", "md5", "ripemd160")
LONGEST = 60_000  # octets of a document that is mutated

Case = collections.namedtuple("Case", "name data options signature")
counts = collections.Counter()
failures = []


def tool_word(word):
    """The library looks for its words within the text of its options; the tool takes them whole."""
    return "ZATCA" if "zatca" in word.lower() else word


class Difference(Exception):
    """What a reader sees is not what was digested."""


class Skip(Exception):
    """A reference to which the comparison does not apply, and why."""


UNREADABLE = (Difference, xml.parsers.expat.ExpatError, UnicodeError, LookupError)


class Node:
    """An element; the document itself has no name."""

    def __init__(self, name, attributes, start, parent):
        self.name, self.attributes, self.start, self.parent = name, attributes, start, parent
        self.children = []  # Node, (offset, text) or (offset, target, data)
        self.declared = {a[6:]: v for a, v in attributes if a == "xmlns" or a[:6] == "xmlns:"}

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

    def ancestors(self):
        node = self
        while node.parent is not None:
            node = node.parent
            yield node


def parse(data, encoding=None):
    """The tree that expat builds; offsets count octets of `data`."""
    parser = xml.parsers.expat.ParserCreate(encoding)
    parser.ordered_attributes = True
    parser.SetParamEntityParsing(xml.parsers.expat.XML_PARAM_ENTITY_PARSING_ALWAYS)  # internal ones; no file is read
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
    parser.ProcessingInstructionHandler = lambda *pi: stack[-1].children.append((parser.CurrentByteIndex, *pi))
    parser.SkippedEntityHandler = skipped
    parser.Parse(data, True)
    return document


def inside(offset, ranges):
    return any(start <= offset < end for start, end in ranges)


def kept_text(offset, text, source, ranges):
    """Of one piece of character data, what lies outside the ranges."""
    octets = text.encode()
    if not ranges or source[offset:offset + len(octets)] != octets:  # a reference or a line end
        return "" if inside(offset, ranges) else text
    return bytes(o for i, o in enumerate(octets) if not inside(offset + i, ranges)).decode()


def tag(node, bare, inherited):
    def named(name, is_attribute):
        prefix = name.rpartition(":")[0]
        return name, "" if bare or (is_attribute and not prefix) else node.namespace(prefix)
    attributes = [a for a in node.attributes if a not in inherited and a[0] != "xmlns" and a[0][:6] != "xmlns:"]
    return ("<", *named(node.name, False), *sorted((*named(name, True), value) for name, value in attributes))


def tokens(apexes, source=b"", ranges=(), bare=False, inherited=()):
    """Tags, merged character data and processing instructions of the subtrees, comments dropped. `bare`: without
    namespace names; `inherited`: attributes that an apex may have taken over from its ancestors."""
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
                result.append(tag(item, bare, () if depth else inherited))
                stack.append((None, 0))
                depth += 1
            stack += [(child, depth) for child in reversed(item.children)]
        elif len(item) == 3:
            if not inside(item[0], ranges):
                result.append(("?", *item[1:]))
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


def read(data, mismatch):
    """(text as it is loaded, tree) as expat sees them, in either way of decoding. `mismatch`: the report says that the
    declared encoding is not that of the octets."""
    mark, codec = mutations.codec_of(data)
    text = data[len(mark):].decode("utf-8" if mismatch else codec).encode()
    declared = mutations.DECLARED.match(text)
    if declared and declared.group(2).lower() != b"utf-8" and (mark or not mismatch):
        text = mutations.DECLARED.sub(rb"\1UTF-8", text)  # what is converted says so, which moves what follows
    tree = parse(text, "utf-8")
    if not mismatch:
        try:
            raw = parse(data)
        except ValueError:  # expat knows no such encoding; libxml2 may
            return text, tree
        if tokens([tree]) != tokens([raw]):
            raise Difference("the declared encoding reads differently")
    return text, tree


def libxml2_agrees(path, tree):
    options = ("--nonet", "--huge", "--noent", "--dtdattr", "--dropdtd", "--encode", "UTF-8")
    done = subprocess.run(["xmllint", *options, str(path)], capture_output=True, check=False)
    if b"namespace warning" in done.stderr:
        counts["not asked: libxml2 loses prefixes that are in scope where an entity is used"] += 1
    elif done.returncode != 0 or tokens([tree]) != tokens([parse(done.stdout)]):
        raise Difference(f"libxml2 reads something else {done.stderr[:200]}")


def excluded(reference):
    return [(x["start"], x["start"] + x["length"]) for x in reference.get("excluded", [])]


def is_base64(tree, signature, reference):
    """Whether the Reference, as a reader finds it, has a base64 transform."""
    node = at_path(tree, signature["path"])
    for name, number in (("SignedInfo", 0), ("Reference", reference["index"])):
        node = [c for c in node.children if isinstance(c, Node) and c.name.split(":")[-1] == name][number]
    return ("Algorithm", "http://www.w3.org/2000/09/xmldsig#base64") in [a for n in node.elements() for a in n.attributes]


def covered(reference, tree):
    """The covered elements. The one that the URI names must be the only one with its Id."""
    if reference["covers"] == "document":
        return [tree]
    paths = reference.get("paths") or [reference[n] for n in ("path",) if n in reference]
    if not paths or any("..." in path for path in paths):
        raise Skip("no full path in the report")
    apexes = [at_path(tree, path) for path in paths]
    uri = reference["uri"].strip()
    named = re.fullmatch(r"#xpointer\(id\(['\"](.*)['\"]\)\)", uri) or re.fullmatch(r"#(?!xpointer)(.+)", uri)
    if named and reference["covers"] == "element":
        holders = [node for node in tree.elements()
                   if any(v == named.group(1) and a.split(":")[-1] in IDS for a, v in node.attributes)]
        if holders and holders != apexes:
            raise Difference(f"{uri} is not the element that is reported, or not the only one")
    return apexes


def compare(signature, reference, bare, text, tree, octets):
    """What a reader sees of the covered part against the octets that were digested."""
    apexes = covered(reference, tree)
    seen = tokens(apexes, text, excluded(reference), bare)
    if is_base64(tree, signature, reference):
        if re.sub(r"\s", "", "".join(t[1] for t in seen if t[0] == "t")) != base64.b64encode(octets).decode():
            raise Difference("the base64 text is not that of the octets")
        return
    inherited = {a for apex in apexes for up in apex.ancestors() for a in up.attributes if a[0][:4] == "xml:"}
    whole = parse(b"<all>" + octets + b"</all>", "utf-8").children[0]
    whole.name = None
    digested = tokens([whole], octets, (), bare, inherited - {a for apex in apexes for a in apex.attributes})
    if seen != digested:
        at = next((i for i, pair in enumerate(zip(seen, digested)) if pair[0] != pair[1]), min(len(seen), len(digested)))
        raise Difference(f"digested is {digested[at:at + 2]}, a reader sees {seen[at:at + 2]}"[:400])


class Tool:
    def __init__(self, program, folder):
        self.program, self.folder, self.made = program, folder, 0
        self.digested = {}

    def run(self, name, *command):
        done = subprocess.run([self.program, *map(str, command)], capture_output=True, check=False, timeout=600)
        if done.returncode not in (0, 1, 2):
            failures.append(f"{name}: {command[0]} ended with {done.returncode} {done.stderr[-300:]}")
        return done

    def verify(self, cases):
        """(case, path, report) of each, in as few processes as the options allow."""
        groups = collections.defaultdict(list)
        for case in cases:
            self.made += 1
            path = self.folder / f"{self.made}.xml"
            path.write_bytes(case.data)
            groups[case.options].append((case, path))
        for options, group in groups.items():
            (self.folder / "names").write_text("".join(f"{path}\n" for _, path in group))
            done = self.run(group[0][0].name, "verify", "--json", *options, "--files-from", self.folder / "names")
            reports = done.stdout.decode().splitlines()
            if len(reports) != len(group):
                failures.append(f"no report of {group[len(reports)][0].name}")
            self.run(group[0][0].name, "info", "--json", *(path for _, path in group))
            for (case, path), line in zip(group, reports):
                yield case, path, json.loads(line)

    def digest_input(self, case, path, signature, reference, fresh):
        """What was digested. Equal digests have equal octets, so that few calls are needed for mutants."""
        stored = reference.get("digest", {}).get("stored")
        key = (reference["digestMethod"], stored)
        if fresh or stored is None or key not in self.digested:
            done = self.run(case.name, "digest-input", "--signature", signature["index"], "--reference", reference["index"],
                            *case.options, path)
            if done.returncode != 0:
                raise Difference(f"digest-input ended with {done.returncode} {done.stderr[:200]}")
            tail = re.split("[#/]", key[0].lower())[-1]
            guessed = "digest.unknown-sha1" in reference["accommodations"]
            name = next((h for h in HASHES if tail.endswith(h) and not guessed), "sha1").replace("sha3-", "sha3_")
            digest = hashlib.new(name, done.stdout).digest()
            in_hex = digest.hex()
            texts = (base64.b64encode(digest).decode(), in_hex, in_hex.upper(), base64.b64encode(in_hex.encode()).decode())
            if stored not in (*texts, None):
                raise Difference("digest-input is not what was digested")
            self.digested[key] = done.stdout
        return self.digested[key]

    def other_commands(self, case, path):
        for command in (("certs",), ("c14n",), ("c14n", "--exclusive", "--with-comments")):
            self.run(case.name, *command, path)


def check_reference(tool, case, path, seen, signature, reference, fresh):
    used = set(signature.get("accommodations", [])) | set(reference.get("accommodations", []))
    for why, applies in (("status " + reference["status"], reference["status"] != "match"),
                         ("digest tolerated", "digest.tolerated" in used),
                         ("not signed", reference.get("signed", True) is False),
                         ("coverage unknown", "coverage-unknown" in signature["warnings"])):
        if applies:
            raise Skip(why)
    octets = tool.digest_input(case, path, signature, reference, fresh)
    if reference["covers"] == "external":
        raise Skip("external")
    compare(signature, reference, "profile.cut-out" in used, *seen, octets)


def check_warnings(signature):
    """A signature that does not show all that it leaves out must say so."""
    parts = [r for r in signature["references"] if r.get("signed", True) and r["status"] == "match"]
    own = signature["path"]
    paths = [[x["path"] for x in r.get("excluded", [])] for r in parts]
    if any(path != own and not (own in left_out and path.startswith(own + "/")) for left_out in paths for path in left_out):
        if not {"content-excluded", "coverage-unknown"} & set(signature["warnings"]):
            raise Difference("content is excluded and no warning says so")
    whole = any(r["covers"] == "document" or re.fullmatch("/[^/]+", r.get("path", "")) for r in parts)
    root_is_signature = re.fullmatch("/[^/]+", signature["path"])
    if not whole and not root_is_signature and "document-not-covered" not in signature["warnings"]:
        raise Difference("no reference covers the document and no warning says so")


def valid_signatures(case, report):
    return [s for s in report["signatures"] if s["status"] == "valid" and case.signature in (None, s["index"])]


def judge(tool, case, path, report, fresh, with_libxml2):
    """Compares every reference of every valid signature; true when there was one."""
    valid = valid_signatures(case, report)
    if not valid:
        return False
    warnings = {w for s in valid for w in s["warnings"]}
    try:
        seen = read(case.data, "encoding-mismatch" in warnings)
        if with_libxml2 and not warnings & {"external-dtd-not-read", "encoding-mismatch"}:
            libxml2_agrees(path, seen[1])
    except UNREADABLE as problem:
        failures.append(f"{case.name}: {problem}")
        return True
    for signature in valid:
        where = f"{case.name}: signature {signature['index']}"
        for reference in signature["references"]:
            try:
                check_reference(tool, case, path, seen, signature, reference, fresh)
                counts["references compared"] += 1
            except Skip as why:
                counts[f"skipped: {why}"] += 1
            except UNREADABLE as problem:
                failures.append(f"{where} reference {reference['index']}: {problem}")
        try:
            check_warnings(signature)
        except Difference as problem:
            failures.append(f"{where}: {problem}")
    return True


def unescaped(text):
    """The octets of a value of a vector file."""
    letters = {b"n": b"\n", b"r": b"\r", b"t": b"\t"}
    return re.sub(rb"\\(?:x(..)|(.))", lambda m: bytes.fromhex(m[1].decode()) if m[1] else letters.get(m[2], m[2]),
                  text.encode())


def vector_cases():
    """The runs of the project's vectors that are valid, with their changes and options."""
    keys = {path.stem: ("--key", str(path)) for path in (VECTORS / "keys").glob("*.pub")}
    keys["none"] = ()
    keys["hmac"] = ("--hmac-key", "a secret of some length", "--hmac-encoding", "ascii")
    for path in sorted(VECTORS.glob("*/*/case.vec")):
        for number, block in enumerate(re.split(r"\n\s*\n", path.read_text())):
            lines = [re.split(r" = ?", line, maxsplit=1) for line in block.splitlines() if " =" in line]
            values = dict(lines)
            if values.get("WithReferences") != "true" or "Data" in values or "Ignore" in values:
                continue
            data = (path.parent / "document.xml").read_bytes()
            for old, _, new in (change.partition(" =>") for name, change in lines if name == "Change"):
                data = data.replace(unescaped(old), unescaped(new.removeprefix(" ")))
            words = tuple(w for word in values.get("Options", "").split() for w in ("--option", tool_word(word)))
            yield Case(f"{path.parent.parent.name}/{path.parent.name} run {number}", data,
                       keys[values.get("Key", "rsa")] + words, int(values.get("Selector", "0")))


def manifest(folder, name=None):
    path = SHARED / folder / "manifest.json"
    if not path.is_file():
        print(f"skipped: there is no {folder}")
        return []
    content = json.loads(path.read_text())
    return content[name] if name else content


def corpus_cases():
    """Entries of the shared folders' manifests: signed documents, real and forged."""
    folder = SHARED / "corpus/xmldsig"
    for entry in manifest("corpus/xmldsig", "entries"):
        if entry["expected_status"] == "valid":
            key = entry["key"]
            options = ["--hmac-key", key["hmac_hex"]] if "hmac_hex" in key else []
            options += ["--key", str(folder / key["public_key"])] if "public_key" in key else []
            for file in key.get("cert_store", []):
                options += ["--cert", str(folder / file)]
            for one in entry["external"]:
                options += ["--ref-data", f"{one['reference']}={folder / one['file']}"] if one.get("file") else []
            yield Case(entry["path"], (folder / entry["path"]).read_bytes(), tuple(options), entry["signature_index"])
    for sample in manifest("profiles", "samples"):
        secret = sample.get("hmac_key")
        options = ("--hmac-key", secret, "--hmac-encoding", "ascii") if secret else ()
        data = (SHARED / "profiles" / sample["path"]).read_bytes()
        yield Case(sample["path"], data, options, None)
        if "by_our_rules_with_option_ZATCA" in sample:
            yield Case(sample["path"] + " ZATCA", data, options + ("--option", "ZATCA"), None)
    folder = SHARED / "corpus/attacks"
    for entry in manifest("corpus/attacks"):
        if entry["expect"] != "bounded":
            options = tuple(str(folder / o) if (folder / o).is_file() else o for o in entry["options"])
            yield Case(entry["file"], (folder / entry["file"]).read_bytes(), options, None)


def covered_letters(case, report):
    """The text, and the offsets of letters and digits that a valid signature covers, entities apart."""
    signatures = [s for s in valid_signatures(case, report) if "coverage-unknown" not in s["warnings"]]
    text, tree = read(case.data, any("encoding-mismatch" in s["warnings"] for s in signatures))
    found = set()
    for signature in signatures:
        for reference in signature["references"]:
            if reference["covers"] not in ("document", "element") or reference["status"] != "match":
                continue
            if is_base64(tree, signature, reference) or reference.get("signed", True) is False:
                continue
            if "digest.tolerated" in reference["accommodations"]:
                continue
            for node in (node for apex in covered(reference, tree) for node in apex.elements()):
                for offset, piece in (c for c in node.children if not isinstance(c, Node) and len(c) == 2):
                    if text[offset:offset + len(piece)] == piece.encode():
                        found |= {offset + i for i, letter in enumerate(piece)
                                  if letter.isalnum() and not inside(offset + i, excluded(reference))}
    return text, sorted(found)


def mutants(case, report, rng, number):
    """(kind, mutant); every sixth with a covered letter changed, the others by the means of forgers."""
    try:
        text, letters = covered_letters(case, report)
    except (*UNREADABLE, Skip):
        return
    left_out = [r for s in report["signatures"] for x in s["references"] for r in excluded(x)]
    for i in range(number):
        if letters and i % 6 == 0:
            at = rng.choice(letters)
            other = b"8" if text[at:at + 1] == b"7" else b"7"
            yield "letter", case._replace(name=f"{case.name}, letter at {at}",
                                          data=mutations.encoded(text[:at] + other + text[at + 1:], case.data))
            continue
        kind = rng.choice(list(mutations.KINDS))
        data = mutations.mutate(kind, text, case.data, rng, left_out)
        if data not in (None, case.data):
            yield kind, case._replace(name=f"{case.name}, {kind} {i}", data=data, signature=None)


def run_mutants(tool, bases, arguments):
    rng = random.Random(arguments.seed)
    made = {mutant: kind for case, report in bases if len(case.data) <= LONGEST
            for kind, mutant in mutants(case, report, rng, arguments.mutants)}
    for i, (case, path, report) in enumerate(tool.verify(made)):
        before = len(failures)
        counts[f"mutants, {made[case]}"] += 1
        if made[case] == "letter" and report["status"] == "valid":
            failures.append(f"{case.name}: a covered letter differs and every signature is valid")
        if judge(tool, case, path, report, i % 8 == 0, i % 16 == 0):
            counts["mutants with a valid signature"] += 1
        if i % 16 == 0:
            tool.other_commands(case, path)
        if arguments.keep and len(failures) > before:
            name = re.sub(r"\W+", "_", case.name)
            pathlib.Path(arguments.keep, f"{name}.xml").write_bytes(case.data)
        path.unlink()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("--mutants", type=int, default=int(os.environ.get("VANTREL_MUTANTS", "20")))
    parser.add_argument("--seed", type=int, default=20)
    parser.add_argument("--only", default="")
    parser.add_argument("--every", type=int, default=int(os.environ.get("VANTREL_EVERY", "1")),
                        help="of how many documents one is taken")
    parser.add_argument("--keep")
    arguments = parser.parse_args()
    if not shutil.which("xmllint"):
        print("skipped: xmllint is not installed")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        tool = Tool(arguments.tool, pathlib.Path(folder))
        bases = []
        chosen = [c for c in (*vector_cases(), *corpus_cases()) if arguments.only in c.name]
        for case, path, report in tool.verify(chosen[::arguments.every]):
            if judge(tool, case, path, report, True, True):
                tool.other_commands(case, path)
                bases.append((case, report))
        counts["documents"] = len(bases)
        run_mutants(tool, bases, arguments)
    for failure in failures:
        print(f"FAILED: {failure}")
    for name, count in sorted(counts.items()):
        print(f"{count:6} {name}")
    print(f"{counts['references compared']} passed, {len(failures)} failed")
    return 1 if failures or not counts["references compared"] else 0


if __name__ == "__main__":
    sys.exit(main())
