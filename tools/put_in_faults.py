#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Do the tests notice? Puts small faults into the sources, one at a time, in a checkout of its own, builds what tests that room
and runs it. What no test notices is listed with its place, for a verdict by a person: harmless, or a gap.

    tools/put_in_faults.py [--count N] [--seed S] [--own] [--checkout FOLDER] [--preset NAME] [PATH...]

PATH: folders or files of the product, by default all of it. --own: only the tests of the room itself, which is quicker. The checkout is a worktree of HEAD without changes; it stays, so that
the next run compiles little. Each fault leaves a line of JSON in faults.json of the checkout's build folder. The same seed puts in
the same faults while the sources stay the same."""

import argparse
import json
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

TOP = pathlib.Path(__file__).resolve().parents[1]
PRODUCT = ["foundation", "dsig", "api", "cli"]

# What tests a folder, by the longest beginning of the path; behind it, for all, what goes through everything.
ROOMS = {
    "foundation/cpu": ["cpu"], "foundation/sandbox": ["sandbox"], "foundation/text": ["text", "base", "x509"],
    "foundation/base": ["base"], "foundation/io": ["io"], "foundation/json": ["json"], "foundation/zip": ["zip"],
    "foundation/xml/scan": ["scan", "tree"], "foundation/xml/tree": ["tree"], "foundation/xml/nodes": ["nodes"],
    "foundation/xml/xpath": ["nodes"], "foundation/xml/canon": ["canon"], "foundation/xml/locate": ["locate"],
    "foundation/crypto/hash": ["hash"], "foundation/crypto/mac": ["mac"], "foundation/crypto/bignum": ["bignum"],
    "foundation/crypto/signature": ["signature"], "foundation/crypto": ["pubkey"], "foundation/asn1": ["asn1"],
    "foundation/x509": ["x509"], "foundation/cms": ["cms"], "foundation/keyfile": ["keyfile"],
    "dsig/report": ["dsig_report"], "dsig/transform": ["dsig_transform"], "dsig/explain": ["dsig_explain"],
    "dsig/keys": ["dsig_keys"], "dsig/xades": ["dsig_xades"], "dsig": [], "api": ["api"], "cli": ["cli", "api"],
}
LAST = ["dsig", "cli"]

# A fault: what is looked for in a line of code, and what takes its place. Templates, includes and comments are left alone.
FAULTS = [
    ("comparison", re.compile(r" (==|!=|<=|>=) "), {"==": "!=", "!=": "==", "<=": "<", ">=": ">"}),
    ("boundary", re.compile(r" ([<>]) (?=[\w(])"), {"<": "<=", ">": ">="}),
    ("operator", re.compile(r" (&&|\|\|) "), {"&&": "||", "||": "&&"}),
    ("result", re.compile(r"\breturn (true|false);"), {"true": "false", "false": "true"}),
    ("negation", re.compile(r"if \((!)(?=[\w(])"), {"!": ""}),
    ("number", re.compile(r" ([+-]) 1\b"), {"+": "-", "-": "+"}),
]


def run(arguments, **options):
    return subprocess.run([str(part) for part in arguments], capture_output=True, text=True, check=False, **options)


def places(files):
    """Every place where a fault may be put in: (file, line number, column, kind, replaced, replacement)."""
    for file in files:
        for number, line in enumerate(file.read_text().splitlines()):
            code = line.split("//")[0]
            if code.lstrip().startswith(("#", "template", "*")) or '"' in code or "static_assert" in code:
                continue
            for kind, pattern, replacements in FAULTS:
                for match in pattern.finditer(code):
                    yield file, number, match.start(1), kind, match.group(1), replacements[match.group(1)]


def programs_for(path, own_only):
    rooms = [room for room in ROOMS if path.startswith(room + "/")]
    own = ROOMS[max(rooms, key=len)] if rooms else []
    return own if own and own_only else own + [name for name in LAST if name not in own]


class Checkout:
    def __init__(self, folder, preset):
        self.folder, self.build = folder, folder / "build" / preset
        if not folder.exists():
            done = run(["git", "worktree", "add", "--detach", folder, "HEAD"], cwd=TOP)
            if done.returncode:
                sys.exit(done.stderr)
        head = run(["git", "rev-parse", "HEAD"], cwd=TOP).stdout.strip()
        self.git("checkout", "--force", "--detach", head)
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        done = run(["cmake", "--preset", preset, *launcher], cwd=folder)
        if done.returncode:
            sys.exit(done.stdout + done.stderr)

    def git(self, *arguments):
        done = run(["git", *arguments], cwd=self.folder)
        if done.returncode:
            sys.exit(done.stderr)

    def compiles(self, program):
        targets = [f"test_{program}", *(["xmldsig"] if program in ("api", "cli") else [])]
        return run(["cmake", "--build", self.build, "--target", *targets], cwd=self.folder).returncode == 0

    def passes(self, program):
        """A fault that makes a test run for ever is noticed as well."""
        try:
            return run([self.build / "tests" / f"test_{program}", "--gtest_brief=1"], cwd=self.folder, timeout=300).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def noticed_by(self, programs):
        """The program that notices what is in the sources now: a name, "" for none, None where it does not compile."""
        for program in programs:
            if not self.compiles(program):
                return None
            if not self.passes(program):
                return program
        return ""


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--count", type=int, default=30)
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--own", action="store_true")
    options.add_argument("--checkout", type=pathlib.Path, default=TOP / "build" / "faults")
    options.add_argument("--preset", default="dev")
    options.add_argument("paths", nargs="*", default=PRODUCT)
    given = options.parse_args()
    checkout = Checkout(given.checkout.resolve(), given.preset)
    files = sorted(file for path in given.paths for file in
                   ([checkout.folder / path] if path.endswith(".cpp") else (checkout.folder / path).rglob("*.cpp")))
    every = list(places(files))
    if not every:
        sys.exit("there is no place for a fault")
    random.Random(given.seed).shuffle(every)
    counts = {"noticed": 0, "survived": 0, "not compiled": 0}
    sound = set()
    for file, number, column, kind, old, new in every:
        if counts["noticed"] + counts["survived"] >= given.count:
            break
        name = file.relative_to(checkout.folder).as_posix()
        # Programs that fail without a fault notice nothing.
        programs = programs_for(name, given.own)
        for program in programs:
            if program not in sound:
                if not (checkout.compiles(program) and checkout.passes(program)):
                    sys.exit(f"test_{program} fails without a fault")
                sound.add(program)
        lines = file.read_text().splitlines(keepends=True)
        before = lines[number]
        lines[number] = before[:column] + new + before[column + len(old):]
        start = time.monotonic()
        try:
            file.write_text("".join(lines))
            by = checkout.noticed_by(programs)
        finally:
            checkout.git("checkout", "--", name)
        outcome = "not compiled" if by is None else "noticed" if by else "survived"
        counts[outcome] += 1
        entry = {"place": f"{name}:{number + 1}", "kind": kind, "outcome": outcome, "by": by or "",
                 "before": before.strip(), "with": lines[number].strip(), "seconds": round(time.monotonic() - start)}
        with open(checkout.build / "faults.json", "a", encoding="utf-8") as log:
            log.write(json.dumps(entry) + "\n")
        print(f"{outcome:12} {entry['place']} {kind}{': ' + entry['with'] if outcome == 'survived' else ''}", flush=True)
    print(", ".join(f"{count} {outcome}" for outcome, count in counts.items()))


main()
