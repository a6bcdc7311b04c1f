#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the reports of xmldsig against docs/report.schema.json and docs/report.md.

    report_test.py TOOL

Every word and code of the sources has its line in docs/report.md, every member of the schema too. The
report of every document of tests/vectors/dsig, of the examples, and of the shared corpora where they are
satisfies the schema and names its file's octets; every word in it is in docs/report.md; what
`digest-input` writes for the first references of each has the digest and the size that the report gives. Ends with "N passed, N failed";
exits with 77 where python3-jsonschema is absent."""

import base64
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    print("skipped: python3-jsonschema is not installed")
    sys.exit(77)

TOP = pathlib.Path(__file__).resolve().parents[2]
SHARED = pathlib.Path(os.environ.get("VANTREL_SHARED", TOP.parent / "shared"))
TOOL = sys.argv[1]
SCHEMA = json.loads((TOP / "docs/report.schema.json").read_text())
WORDS = set(re.findall(r"`([^`\s]+)`", (TOP / "docs/report.md").read_text()))
HASHES = ("sha256", "sha512", "sha384", "md5", "ripemd160",  # else SHA-1; the first name counts
          "sha224", "sha3-224", "sha3-256", "sha3-384", "sha3-512")
BATCH = 40
LONGEST = 1_000_000  # octets of a digest input that is asked for
REFERENCES = 20  # of a signature that are asked for
EVERY = int(os.environ.get("VANTREL_EVERY", "1"))  # of how many documents one is taken
failures = []
passed = 0


def expect(condition, what):
    global passed
    if condition:
        passed += 1
    else:
        failures.append(what)


def documents():
    found = sorted((TOP / "tests/vectors/dsig").rglob("document.xml")) + sorted((TOP / "examples").glob("*.xml"))
    for folder in (SHARED / "corpus/xmldsig", SHARED / "profiles"):
        found += sorted(folder.rglob("*.xml"))
    # Without the folder of documents that are hostile by their size.
    found += sorted((SHARED / "corpus/attacks").glob("*.xml"))
    if not SHARED.is_dir():
        print("note: the shared corpora are absent")
    return [str(path) for path in found[::EVERY]]


def words_of_sources():
    """The codes of the report, as the sources declare them."""
    for name in ("codes.h", "coverage.h", "causes.h"):
        text = (TOP / "dsig/report" / name).read_text()
        yield from re.findall(r'constexpr std::string_view k\w+ = "([^"]+)"', text)
    text = (TOP / "dsig/document/standards.h").read_text()
    yield from re.findall(r'constexpr std::string_view k\w+ = "([^"]+)"', text)
    text = "".join((TOP / "dsig/trust" / name).read_text() for name in ("demands.h", "demands.cpp"))
    yield from re.findall(r'constexpr std::string_view k\w+ = "([^"]+)"', text)
    yield from re.findall(r'{Demand::\w+, "[^"]+", "([^"]+)"', text)
    text = (TOP / "dsig/explain/codes.h").read_text()
    yield from re.findall(r'constexpr std::string_view k\w+ = "([^"]+)"', text)
    yield from re.findall(r'KeySource k\w+\{"(\w+)"', (TOP / "dsig/keys/key_sources.h").read_text())


def members_of(schema):
    if isinstance(schema, dict):
        for name, value in schema.items():
            if name == "properties":
                yield from value
            yield from members_of(value)
    elif isinstance(schema, list):
        for value in schema:
            yield from members_of(value)


def words_of(report):
    for signature in report["signatures"]:
        yield from signature.get("refusals", [])
        yield from signature["warnings"] + signature["accommodations"] + signature["standards"]
        for holder in [signature] + signature["references"]:
            if "cause" in holder:
                yield holder["cause"]["code"]
        for reference in signature["references"]:
            yield from reference["accommodations"]
            yield from (exclusion["why"] for exclusion in reference["excluded"])


def check_octets(file, signature, reference):
    """Where nothing could be digested, nothing is handed out."""
    run = subprocess.run([TOOL, "digest-input", "--signature", str(signature["index"]), "--reference",
                          str(reference["index"]), file], capture_output=True, check=False)
    where = f"{file}: signature {signature['index']}, reference {reference['index']}"
    computed = reference["digest"]["computed"]
    if run.returncode != 0:
        expect(computed == "", f"{where}: a digest of octets that digest-input does not have")
        return
    method = reference["digestMethod"].lower()
    guessed = "digest.unknown-sha1" in reference["accommodations"]
    name = "sha1" if guessed else next((name for name in HASHES if name in method), "sha1")
    digest = base64.b64encode(hashlib.new(name.replace("-", "_"), run.stdout).digest()).decode()
    expect(digest == computed, f"{where}: digest-input has {digest}, the report {computed}")
    expect(len(run.stdout) == reference["octets"], f"{where}: {len(run.stdout)} octets, {reference['octets']} told")


def check_members(line, validator):
    report = json.loads(line)
    file = report["file"]
    problems = [f"{file}: {'/'.join(map(str, error.absolute_path))}: {error.message[:200]}"
                for error in validator.iter_errors(report)]
    expect(not problems, "\n    ".join(problems[:5]))
    unknown = sorted(set(words_of(report)) - WORDS)
    expect(not unknown, f"{file}: not in docs/report.md: {unknown}")
    return report


def check_report(line, validator):
    report = check_members(line, validator)
    file = report["file"]
    octets = pathlib.Path(file).read_bytes()
    expect((report["size"], report["sha256"]) == (len(octets), hashlib.sha256(octets).hexdigest()),
           f"{file}: size or sha256")
    for signature in report["signatures"]:
        for reference in signature["references"][:REFERENCES]:
            if reference["octets"] <= LONGEST:
                check_octets(file, signature, reference)


def main():
    expect(not (missing := sorted(set(words_of_sources()) - WORDS)), f"not in docs/report.md: {missing}")
    expect(not (missing := sorted(set(members_of(SCHEMA)) - WORDS)), f"members not in docs/report.md: {missing}")
    validator = jsonschema.Draft202012Validator(SCHEMA)
    files = documents()
    told = 0
    for start in range(0, len(files), BATCH):
        run = subprocess.run([TOOL, "verify", "--json", *files[start:start + BATCH]], capture_output=True,
                             text=True, check=False)
        for line in run.stdout.splitlines():
            check_report(line, validator)
            told += 1
        # The same documents, none of which anybody has to accept.
        run = subprocess.run([TOOL, "verify", "--json", "--strict", "--anchor", str(TOP / "examples/keys/root.pem"),
                              "--must-cover", "document", "--timestamps", *files[start:start + BATCH]],
                             capture_output=True, text=True, check=False)
        for line in run.stdout.splitlines():
            check_members(line, validator)
    expect(told == len(files) and told > 0, f"{told} reports of {len(files)} files")
    for failure in failures[:40]:
        print(f"FAILED: {failure}")
    print(f"{passed} passed, {len(failures)} failed")
    return 1 if failures else 0


sys.exit(main())
