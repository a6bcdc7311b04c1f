#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The shared library: exports its interface and nothing else, and serves programs of all its kinds.
Usage: shared_test.py CXX CC LIBRARY [FLAGS...]. Ends with "N passed, N failed"."""

import pathlib
import re
import subprocess
import sys
import tempfile

CXX, CC, LIBRARY = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
FLAGS = sys.argv[4:]
TOP = pathlib.Path(__file__).resolve().parents[2]
PUBLIC = re.compile(
    r"vantrel_\w+$|((vtable|typeinfo) for )?vantrel::(version\(|verify\(|verifyFile\(|toString\(|decodeSecret\(|optionsFromJson\("
    r"|(Key|Certificate|CertificateStore|TrustAnchors|RevocationLists|Document|SignatureResult|VerifyResult|Cls\w+|_clsXmlDSigBase|SystemCertsHolder|StringBuffer"
    r"|DataBuffer|XString|VantrelObject|RefCountedObject\w*|SharedBytes|json::JsonValue|LogBase|_vlLogger)(::|$)"
    r"|dsig::(limitTable|setLimit|parseLimit|demandOf)\()|VANTREL_0$")
failures = []
passed = 0


def run(*command):
    return subprocess.run([str(part) for part in command], text=True, capture_output=True, check=False)


def expect(condition, what):
    global passed
    if condition:
        passed += 1
    else:
        failures.append(what)
        print("FAILED:", what)


# Lines of "address letter name".
names = [line.split(" ", 2)[2].removesuffix("@@VANTREL_0")
         for line in run("nm", "-DC", "--defined-only", LIBRARY).stdout.splitlines()]
foreign = [name for name in names if not PUBLIC.match(name)]
expect(len(names) > 100, f"only {len(names)} symbols")
expect(not foreign, f"{len(foreign)} of {len(names)} symbols are internal: {foreign[:10]}")
dynamic = run("readelf", "-d", LIBRARY).stdout
expect("SONAME" in dynamic and "[libvantrel.so.0]" in dynamic, "the SONAME is not libvantrel.so.0")

with tempfile.TemporaryDirectory() as folder:
    for source in ("verify.c", "verify.cpp", "consumer.cpp", "timestamp.cpp"):
        path = TOP / "tests/consumer" / source
        compiler = [CC, "-std=c11"] if path.suffix == ".c" else [CXX, "-std=c++20"]
        program = pathlib.Path(folder, source + ".run")
        built = run(*compiler, *FLAGS, "-I", TOP, "-I", TOP / "include", path, LIBRARY, f"-Wl,-rpath,{LIBRARY.parent}",
                    "-o", program)
        expect(built.returncode == 0, f"{source} does not link: {built.stderr[:1500]}")
        if built.returncode == 0 and source != "timestamp.cpp":
            codes = [run(program, TOP / "examples" / name).returncode for name in ("invoice.xml", "invoice-tampered.xml")]
            expect(codes == [0, 1], f"{source} ends with {codes}")
print(f"{passed} passed, {len(failures)} failed")
sys.exit(1 if failures else 0)
