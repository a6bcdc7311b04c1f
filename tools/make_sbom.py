#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes what a release consists of, as SPDX 2.3 in JSON: the files of the source archive with their hashes, and what
the programs need at run time, which is the C and C++ libraries of the system. Usage: make_sbom.py ARCHIVE > FILE.

The same archive gives the same text: its time is that of the archive's newest member."""

import datetime
import hashlib
import json
import pathlib
import re
import sys
import tarfile

RUNTIME = (("libstdc++", "GPL-3.0-or-later WITH GCC-exception-3.1"), ("libgcc", "GPL-3.0-or-later WITH GCC-exception-3.1"),
           ("glibc", "LGPL-2.1-or-later"))
NOTHING_SAID = "NOASSERTION"


def identifier(name):
    return "SPDXRef-" + re.sub("[^A-Za-z0-9.-]", "-", name)


def source_files(archive):
    """Each file with its hashes; SPDX asks for SHA-1 and allows more."""
    for number, member in enumerate(member for member in archive if member.isfile()):
        content = archive.extractfile(member).read()
        yield {"SPDXID": identifier(f"File-{number}"), "fileName": "./" + member.name.split("/", 1)[-1],
               "checksums": [{"algorithm": name, "checksumValue": hashlib.new(name.lower(), content).hexdigest()}
                             for name in ("SHA1", "SHA256")],
               "licenseConcluded": "MIT", "copyrightText": NOTHING_SAID}


def verification_code(files):
    """SPDX 2.3, 7.9: the SHA-1 of the sorted SHA-1s."""
    sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return hashlib.sha1("".join(sums).encode()).hexdigest()


def package(name, version, licence, **more):
    return {"SPDXID": identifier(name), "name": name, "versionInfo": version, "downloadLocation": NOTHING_SAID,
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": NOTHING_SAID, **more}


def relation(one, kind, other):
    return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}


def document(path):
    with tarfile.open(path) as archive:
        moment = datetime.datetime.fromtimestamp(max(member.mtime for member in archive), datetime.timezone.utc)
    with tarfile.open(path) as archive:
        files = list(source_files(archive))
    version = re.search(r"-(\d+\.\d+\.\d+)\.", path.name).group(1)
    digest = hashlib.sha256(path.read_bytes()).hexdigest()
    product = package("vantrel", version, "MIT", filesAnalyzed=True, packageFileName=path.name,
                      checksums=[{"algorithm": "SHA256", "checksumValue": digest}],
                      packageVerificationCode={"packageVerificationCodeValue": verification_code(files)})
    needed = [package(name, NOTHING_SAID, licence) for name, licence in RUNTIME]
    relations = [relation("SPDXRef-DOCUMENT", "DESCRIBES", product["SPDXID"])]
    relations += [relation(product["SPDXID"], "DEPENDS_ON", each["SPDXID"]) for each in needed]
    relations += [relation(product["SPDXID"], "CONTAINS", each["SPDXID"]) for each in files]
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": path.name,
            "documentNamespace": f"urn:vantrel:sbom:{version}:{digest}",
            "creationInfo": {"created": moment.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: make_sbom.py"]},
            "packages": [product, *needed], "files": files, "relationships": relations}


json.dump(document(pathlib.Path(sys.argv[1])), sys.stdout, indent=1)
print()
