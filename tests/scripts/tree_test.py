#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks of the source tree that no compiler makes: who includes whom, guards, log texts written
once, words that stay out. Run from anywhere: tree_test.py [TOP]. Ends with "N passed, N failed"."""

import pathlib
import re
import sys

TOP = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else __file__).resolve()
if TOP.is_file():
    TOP = TOP.parents[2]

CODE_FOLDERS = ("foundation", "dsig", "api", "include", "cli", "bindings", "tests", "bench", "fuzz", "examples")
PRODUCT_FOLDERS = ("foundation", "dsig", "api", "cli", "bindings")

# Who may include whom, by the longest prefix of the path. Every folder may include itself.
XML = ("foundation/xml/scan", "foundation/text", "foundation/cpu", "foundation/base")
CRYPTO = ("foundation/crypto", "foundation/text")
X509 = ("foundation/x509", "foundation/xml", "foundation/crypto", "foundation/asn1",
        "foundation/base", "foundation/text")
MAY_INCLUDE = {
    "foundation/cpu": (),
    "foundation/sandbox": (),
    "foundation/text": ("foundation/cpu",),
    "foundation/base": ("foundation/text",),
    "foundation/asn1": ("foundation/text",),
    "foundation/io": ("foundation/text", "foundation/base"),
    "foundation/json": ("foundation/text", "foundation/base"),
    "foundation/zip": ("foundation/text", "foundation/cpu", "foundation/io"),
    "foundation/crypto/hash": ("foundation/text", "foundation/cpu", "foundation/io",
                               "foundation/base"),
    "foundation/crypto/mac": ("foundation/text", "foundation/cpu",
                              "foundation/crypto/hash"),
    "foundation/crypto/bignum": ("foundation/text", "foundation/cpu"),
    "foundation/crypto/rsa": ("foundation/text", "foundation/cpu",
                              "foundation/crypto/bignum", "foundation/crypto/hash"),
    "foundation/crypto/signature": ("foundation/text", "foundation/crypto/bignum"),
    "foundation/crypto/dsa": ("foundation/text", "foundation/cpu", "foundation/crypto/bignum",
                              "foundation/crypto/signature"),
    "foundation/crypto/ecc": ("foundation/text", "foundation/cpu", "foundation/crypto/bignum",
                              "foundation/crypto/signature"),
    "foundation/crypto/edwards": ("foundation/text", "foundation/crypto/bignum",
                                  "foundation/crypto/ecc", "foundation/crypto/hash"),
    "foundation/crypto/mldsa": ("foundation/text", "foundation/crypto/hash"),
    "foundation/xml/scan": ("foundation/text", "foundation/cpu"),
    "foundation/xml/tree": XML,
    "foundation/xml/nodes": ("foundation/xml/scan", "foundation/text", "foundation/cpu"),
    "foundation/xml/xpath": ("foundation/xml/nodes", "foundation/xml/scan", "foundation/text",
                             "foundation/cpu"),
    "foundation/xml/canon": XML + ("foundation/xml/nodes",),
    "foundation/xml/locate": XML,
    "foundation/x509": X509 + ("foundation/io",),
    "foundation/x509/path": X509 + ("foundation/io", "foundation/json"),
    "foundation/cms": X509 + ("foundation/io", "foundation/json"),
    "foundation/keyfile": X509 + ("foundation/cms", "foundation/json"),
    "api": ("dsig", "foundation"),
    "dsig/document": ("foundation",),
    "dsig/report": ("dsig/document", "foundation"),
    "dsig/html": ("dsig/document", "dsig/report", "foundation"),
    "dsig/transform": ("dsig/document", "dsig/report", "foundation"),
    "dsig/reference": ("dsig/document", "dsig/report", "dsig/transform", "foundation"),
    "dsig/package": ("dsig/document", "dsig/report", "dsig/transform", "dsig/reference", "foundation"),
    "dsig/keys": ("dsig/document", "dsig/report", "dsig/transform", "foundation"),
    "dsig/xades": ("dsig/document", "dsig/report", "dsig/reference", "dsig/transform",
                   "dsig/keys", "foundation"),
    "dsig/object": ("dsig", "foundation"),
    "dsig/verify": ("dsig/document", "dsig/report", "dsig/transform", "dsig/reference", "dsig/keys",
                    "dsig/xades", "foundation"),
    "dsig/trust": ("dsig/document", "dsig/report", "dsig/transform", "dsig/reference", "dsig/keys",
                   "dsig/xades", "dsig/verify", "foundation"),
    "dsig/explain": ("dsig/document", "dsig/report", "dsig/transform", "dsig/reference", "dsig/keys",
                     "dsig/verify", "foundation"),
}

# The contract class's members that belong to a room of dsig; they alone look up, to its declaration.
MEMBERS = re.compile(r"^dsig/\w+/\w+_members\.cpp$")

# Programs outside the library include <vantrel/...> and nothing else of it.
PUBLIC_ONLY = ("cli", "bindings", "examples", "tests/consumer")

# Written so that this file does not contain the words it looks for.
FORBIDDEN = [
    (re.compile(r"\b[Pp]art" + r"s? [1-7]\.[0-9]\b"), "a chapter reference"),
    (re.compile(r"\b[Ss]pe" + r"c(s|ification|ifications)?\b"), "the design paper"),
    (re.compile(r"\b(TO" + r"DO|FIX" + r"ME|XX" + r"X|HA" + r"CK)\b"), "unfinished work"),
    (re.compile(r"(?<![\w.])/(wor" + r"k|tm" + r"p|roo" + r"t|hom" + r"e)/\w"), "a machine's path"),
]
TEXT_SUFFIXES = {".cpp", ".h", ".py", ".sh", ".md", ".txt", ".cmake", ".vec", ".awk", ".in", ".json",
                 ".java", ".js", ".mjs", ".ts", ".css", ".html"}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
PUBLIC_INCLUDE = re.compile(r"^\s*#\s*include\s+<vantrel/([^>]+)>", re.M)
LOG_CALL = re.compile(r'\b(?:LogError|LogInfo)\s*\(\s*"((?:[^"\\]|\\.)*)"')

failures = []
passed = 0


def check(name, problems):
    global passed
    problems = sorted(set(problems))
    if not problems:
        passed += 1
        return
    failures.append(name)
    print(f"FAILED: {name}")
    for problem in problems[:40]:
        print(f"    {problem}")


def tree_files(folders, suffixes):
    for folder in folders:
        for path in sorted((TOP / folder).rglob("*")):
            if path.suffix in suffixes and path.is_file() and "build" not in path.parts:
                yield path, path.relative_to(TOP).as_posix()


def folder_rule(name):
    matches = [folder for folder in MAY_INCLUDE if name.startswith(folder + "/")]
    return max(matches, key=len) if matches else None


def include_problems():
    for path, name in tree_files(CODE_FOLDERS, {".cpp", ".h"}):
        own = folder_rule(name)
        public_only = name.startswith(tuple(f + "/" for f in PUBLIC_ONLY))
        text = path.read_text()
        for header in PUBLIC_INCLUDE.findall(text):
            if not (TOP / "include/vantrel" / header).is_file():
                yield f"{name}: there is no vantrel/{header}"
            elif not public_only:
                yield f"{name} includes <vantrel/{header}>, which is for programs outside the library"
        for header in INCLUDE.findall(text):
            if not (TOP / header).is_file():
                yield f"{name}: there is no {header}"
            elif public_only:
                if not header.startswith(name.split("/")[0] + "/"):
                    yield f"{name} includes {header}, which is not public"
            elif own is not None:
                allowed = (own,) + MAY_INCLUDE[own]
                if MEMBERS.search(name):
                    allowed += ("dsig/object",)
                if not header.startswith(tuple(folder + "/" for folder in allowed)):
                    yield f"{name} may not include {header}"
            elif name.startswith(("foundation/", "dsig/", "api/")):
                yield f"{name}: no rule says what this folder may include"


def guard_problems():
    for path, name in tree_files(CODE_FOLDERS, {".h"}):
        guard = re.sub(r"[^A-Z0-9]+|_+", "_", name.upper()).replace("__", "_")
        if f"#ifndef {guard}\n#define {guard}\n" not in path.read_text():
            yield f"{name}: the guard is not {guard}"


def licence_problems():
    for path, name in tree_files(CODE_FOLDERS, {".h", ".cpp", ".c", ".py", ".java"}):
        if "vectors/" not in name and "SPDX-License-Identifier: MIT" not in path.read_text()[:200]:
            yield f"{name}: the first lines do not name the licence"


def log_text_problems():
    places = {}
    for path, name in tree_files(PRODUCT_FOLDERS, {".cpp", ".h"}):
        text = path.read_text()
        for match in LOG_CALL.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            places.setdefault(match.group(1), []).append(f"{name}:{line}")
    for text, where in places.items():
        if len(where) > 1:
            yield f'"{text}" is written in {", ".join(where)}'


def word_problems():
    for path in sorted(TOP.rglob("*")):
        name = path.relative_to(TOP).as_posix()
        if name.startswith((".git/", "build", "third_party/")) or not path.is_file():
            continue
        if name.startswith(("fuzz/corpus/", "examples/")) and path.suffix != ".md":
            continue
        if path.suffix in TEXT_SUFFIXES or name in ("xmldsig", ".ci/run"):
            for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
                for pattern, what in FORBIDDEN:
                    hit = pattern.search(line)
                    if hit and "names:" + hit.group(0) + ":ubl" not in line:
                        yield f"{name}:{number}: {what} ({hit.group(0)})"


def ascii_problems():
    for path, name in tree_files(CODE_FOLDERS, {".cpp", ".h"}):
        for number, line in enumerate(path.read_bytes().splitlines(), 1):
            if not line.isascii():
                yield f"{name}:{number}: not ASCII"


check("includes", include_problems())
check("include guards", guard_problems())
check("licences", licence_problems())
check("log texts occur once", log_text_problems())
check("words that stay out", word_problems())
check("ASCII sources", ascii_problems())
print(f"{passed} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
