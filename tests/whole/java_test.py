#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""bindings/java: builds the jar, runs VantrelTest.java with the checks of the Java Native Interface, and the samples of
docs/java.md. Usage: java_test.py TOOL LIBRARY CXX. Exits with 77 without a JDK; else ends with "N passed, N failed"."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from checks import check, finish

TOOL, LIBRARY = (str(pathlib.Path(argument).resolve()) for argument in sys.argv[1:3])
TOP = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = TOP / "examples"
# What a piece of a program has around it.
PIECE = "import java.util.Iterator;\nimport vantrel.Vantrel;\n\nclass Piece {{\n{}\n}}\n"
ENVIRONMENT = dict(os.environ, CXX=sys.argv[3])


def run(*command):
    return subprocess.run([str(part) for part in command], capture_output=True, check=False, text=True, env=ENVIRONMENT)


def jdk(name):
    """A program of the JDK with which the jar is built."""
    home = os.environ.get("JAVA_HOME")
    return f"{home}/bin/{name}" if home else name


def classes(folder, jar):
    """The checks of the class, under -Xcheck:jni, which complains on standard output and then goes on."""
    built = run(jdk("javac"), "-Xlint:all", "-Werror", "-cp", jar, "-d", folder, TOP / "tests/whole/VantrelTest.java")
    check("VantrelTest.java compiles", built.returncode == 0, built.stderr)
    done = run(jdk("java"), "-Xcheck:jni", "-Xmx600m", f"-Djava.io.tmpdir={folder}", "-Dsun.jnu.encoding=UTF-8", "-cp",
               f"{jar}:{folder}", "VantrelTest", TOOL, EXAMPLES, folder)
    print(done.stdout, end="")
    check("VantrelTest", done.returncode == 0, done.stderr)
    check("-Xcheck:jni has nothing to say", not re.search("WARNING in native|WARNING: JNI|FATAL", done.stdout + done.stderr), done.stdout + done.stderr)
    left = [path.name for path in folder.iterdir() if path.suffix == ".so"]
    check("no library is left behind", not left, left)


def samples(folder, jar):
    """Whole programs are run, with the library from each place where it is searched."""
    code = re.findall(r"```java\n(.*?)```", (TOP / "docs/java.md").read_text(), re.S)
    check("docs/java.md has samples", len(code) == 2, len(code))
    for sample in code:
        whole = re.search(r"public class (\w+)", sample)
        name = whole.group(1) if whole else "Piece"
        source = folder / f"{name}.java"
        source.write_text(sample if whole else PIECE.format(sample))
        built = run(jdk("javac"), "-Xlint:all", "-Werror", "-cp", jar, "-d", folder, source)
        check(f"{name} compiles", built.returncode == 0, built.stderr)
    build = jar.parent
    bare = folder / "bare"
    shutil.copytree(build / "classes", bare, ignore=shutil.ignore_patterns("linux-*"))
    places = {"jar": (jar, []), "java.library.path": (bare, [f"-Djava.library.path={build}"]),
              "vantrel.library": (bare, [f"-Dvantrel.library={build}/libvantrel_jni.so"])}
    for place, (archive, settings) in places.items():
        codes = [run(jdk("java"), *settings, "-cp", f"{archive}:{folder}", "Check", EXAMPLES / name).returncode
                 for name in ("invoice.xml", "invoice-tampered.xml", "absent.xml")]
        check(f"the library by {place}", codes == [0, 1, 1], codes)


with tempfile.TemporaryDirectory() as name:
    made = run(TOP / "bindings/java/build.sh", f"{name}/build", LIBRARY)
    if made.returncode == 77:
        print(f"skipped: {made.stderr}")
        sys.exit(77)
    check("build.sh", made.returncode == 0, made.stderr)
    scratch = pathlib.Path(name, "scratch")
    scratch.mkdir()
    classes(scratch, pathlib.Path(name, "build/vantrel.jar"))
    samples(scratch, pathlib.Path(name, "build/vantrel.jar"))
finish()
