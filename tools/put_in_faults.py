#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Do the tests notice? Puts small faults into the sources, one at a time, in a checkout of its own, and runs what tests that file
until something notices. What no test notices is for a verdict by a person: harmless, or a gap.

    tools/put_in_faults.py [--count N] [--seed S] [--checkout FOLDER] [--record FILE] [--budget SECONDS] [PATH...]
    tools/put_in_faults.py --again [...]   the faults of the record that nothing noticed and that have no verdict or "gap",
                                           put in once more, into HEAD, and tested by everything
    tools/put_in_faults.py --sum [...]     what the record says, by room and by kind

PATH: folders or files of the product, by default all of it. The checkout is a worktree; it stays, so that the next run compiles
little. The record (tab-separated, in the checkout's build folder unless named) is appended to: the same command goes on where it
was broken off, on the commit of the record's first line. The column `verdict` is left to people. The same seed puts in the same
faults while the sources stay the same.

A fault is compiled first: one that the compiler refuses, or makes the same code of, does not count. Then come the tests whose
programs have the file in them, those first that are quick and have little besides, until one fails or until what they take
without a fault adds up to the budget; what checks a room as a whole (CLOSE) runs however long it takes. Tests that need the
shared corpus are skipped unless VANTREL_SHARED is set."""

import argparse
import csv
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections import Counter, defaultdict

TOP = pathlib.Path(__file__).resolve().parents[1]
PRODUCT = ["foundation", "dsig", "api", "cli"]
TEMPORARY = tempfile.gettempdir()
COLUMNS = ["seed", "place", "kind", "before", "after", "outcome", "by", "seconds", "commit", "verdict"]
# By the tests that the budget allows; by everything (--again).
SURVIVED = ("survived", "survived all")

# Tests of the tool that check a room as a whole.
CLOSE = {
    "foundation/xml/canon": ["c14n_random"], "foundation/xml/xpath": ["xpath_random"], "foundation/xml/nodes": ["xpath_random"],
    "foundation/x509/path": ["acceptance"], "foundation/zip": ["zip_packages"], "foundation/sandbox": ["sandbox_tool"],
    "dsig/explain": ["explain_causes"], "dsig/html": ["report_page"], "dsig/trust": ["acceptance", "trust_attacks"],
    "dsig/package": ["zip_packages"], "dsig/report": ["report", "second_reader"], "dsig/xades": ["timestamp_tool"],
    "dsig/transform": ["signature_profiles"], "dsig/reference": ["second_reader"], "cli": ["worker", "report_page", "acceptance"], "api": ["zip_packages"],
}

# Fewer documents than in a test run, where a test takes a number of them; so with VANTREL_CHANGES below.
FEWER = {"c14n_random": ["--count", "60"], "second_reader": ["--mutants", "2"], "worker": ["1000"], "explain_causes": ["--count", "1"]}

# About the tree, about what is handed out, about time and memory; or made of other programs than those built here.
APART = re.compile(r"^(source_tree|headers|documentation|samples|consumer|java|python|wheel|static_tool|packages|embedding"
                   r"|shared_library|wasm_module|web_page|bulk_.*|growth|memory|helpers)$")

# A fault: what is looked for in a line of code, and what takes its place.
STATEMENT = re.compile(r"^\s+((?!return\b|break|continue|case\b|using\b|static_assert|assert\b|const\b|auto\b|else\b|if\b|do\b|goto\b|\})"
                       r"(?:\+\+|--|\*)?[\w.>\[\]()*:-]+(?:\([^;{}]*\)|\+\+|--| [-+|&^*/%]?= [^;{}]+|<<= [^;{}]+|>>= [^;{}]+);)\s*$")
FAULTS = [
    ("comparison", re.compile(r" (==|!=|<=|>=) "), {"==": "!=", "!=": "==", "<=": "<", ">=": ">"}),
    ("boundary", re.compile(r" ([<>]) (?=[\w(])"), {"<": "<=", ">": ">="}),
    ("operator", re.compile(r" (&&|\|\|) "), {"&&": "||", "||": "&&"}),
    ("result", re.compile(r"\breturn (true|false);"), {"true": "false", "false": "true"}),
    ("negation", re.compile(r"(?:\(|&& |\|\| |return )(!)(?=[\w(])"), {"!": ""}),
    ("sign", re.compile(r" ([+-]) (?=\w)"), {"+": "-", "-": "+"}),
    ("constant", re.compile(r"(?<![\w.'])(\d{1,9}|0x[0-9a-fA-F]{1,8})(?=[uU]?[),;\]} ])"), None),
    ("condition", re.compile(r"\bif \(((?!const |auto )[^;{}]+)\) \{$"), None),
    ("statement", STATEMENT, None),
]


def off_by_one(number):
    return hex(int(number, 16) + 1) if number.startswith("0x") else str(int(number) + 1)


def replacements(kind, table, old):
    if kind == "condition":
        return ["true", "false"]
    if kind == "statement":
        # Capacity is a matter of speed.
        return [] if ".reserve(" in old else [";"]
    return [off_by_one(old)] if kind == "constant" else [table[old]]


def places(file):
    """Every fault that a file may have: (line number, column, kind, replaced, replacement)."""
    complete = True
    for number, line in enumerate(file.read_text().splitlines()):
        code = line.split("//")[0].rstrip()
        begins, complete = complete, not code or code.endswith((";", "{", "}", ":"))
        if code.lstrip().startswith(("#", "template", "*")) or '"' in code or "static_assert" in code or "assert(" in code:
            continue
        for kind, pattern, table in FAULTS:
            if kind == "statement" and not begins:
                continue
            for match in pattern.finditer(code):
                for new in replacements(kind, table, match.group(1)):
                    yield number, match.start(1), kind, match.group(1), new


def room_of(name):
    return name.rsplit("/", 1)[0]


def draw(folder, files, seed):
    """All faults in the order in which they are put in: rooms by the root of their size, kinds alike."""
    chance = random.Random(seed)
    rooms = defaultdict(lambda: defaultdict(list))
    for file in files:
        name = file.relative_to(folder).as_posix()
        for place in places(file):
            rooms[room_of(name)][place[2]].append((name, *place))
    while rooms:
        names = sorted(rooms)
        sizes = [sum(len(kind) for kind in rooms[name].values()) ** 0.5 for name in names]
        room = chance.choices(names, sizes)[0]
        kind = chance.choice(sorted(rooms[room]))
        found = rooms[room][kind]
        yield found.pop(chance.randrange(len(found)))
        if not found:
            del rooms[room][kind]
        if not rooms[room]:
            del rooms[room]


def output_of(arguments, folder):
    done = subprocess.run([str(part) for part in arguments], capture_output=True, text=True, check=False, cwd=folder)
    if done.returncode:
        sys.exit(f"{arguments[0]}: {done.stdout[-2000:]}{done.stderr[-2000:]}")
    return done.stdout


def limited():
    """A fault can make a program take all memory and all disk: this is one process's share."""
    resource.setrlimit(resource.RLIMIT_DATA, (8 << 30, 8 << 30))
    resource.setrlimit(resource.RLIMIT_FSIZE, (16 << 30, 16 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class Step:
    """A test program, or those of its cases that are quick or that are not; or a program that runs the tool."""

    def __init__(self, name, targets, command, environment):
        self.name, self.targets, self.command, self.environment = name, targets, command, environment
        self.seconds = 0.0

    def passes(self, folder, seconds):
        """Whether it ends well in time; one that skips itself does, and notices nothing."""
        room = tempfile.mkdtemp(dir=TEMPORARY)
        environment = {**os.environ, **self.environment, "PYTHONDONTWRITEBYTECODE": "1", "TMPDIR": room}
        with subprocess.Popen(self.command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, preexec_fn=limited, start_new_session=True) as process:
            try:
                return process.wait(seconds) in (0, 77)
            except subprocess.TimeoutExpired:
                return False
            finally:
                # What it started ends with it.
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                shutil.rmtree(room, ignore_errors=True)


class Checkout:
    def __init__(self, folder, commit):
        self.folder, self.build = folder, folder / "build" / "faults"
        # HEAD is this tree's, not that of the checkout from the last time.
        commit = output_of(["git", "rev-parse", commit], TOP).strip()
        if not folder.exists():
            output_of(["git", "worktree", "add", "--detach", folder, commit], TOP)
        output_of(["git", "checkout", "--force", "--detach", commit], folder)
        self.commit = output_of(["git", "rev-parse", "HEAD"], folder).strip()
        # Each file by itself and without much optimization: what counts is how soon one changed file is tested.
        linker = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=mold"] if shutil.which("mold") else []
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        output_of(["cmake", "-S", folder, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_UNITY_BUILD=OFF",
                   "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG", "-DVANTREL_DEVELOPER=ON", *linker, *launcher], folder)
        self.targets = sorted(set(re.findall(r"^((?:tests/test_|fuzz/replay_)\w+): CXX_EXE|^(xmldsig): CXX_EXE",
                                             output_of(["ninja", "-t", "targets", "all"], self.build), re.M)))
        self.targets = [one or other for one, other in self.targets]
        if not self.make(*self.targets):
            sys.exit("the sources do not compile without a fault")
        # Some tests run the tool.
        self.needs = {target: [target, *re.findall(r"^ +\|\| (xmldsig)$", output_of(["ninja", "-t", "query", target], self.build), re.M)]
                      for target in self.targets}
        self.inputs = {target: set(output_of(["ninja", "-t", "inputs", target], self.build).split()) for target in self.targets}
        self.plain = {target: self.digest(target) for target in self.targets}
        self.steps = self.measured()
        self.proven = set()

    def make(self, *targets):
        return subprocess.run(["ninja", "-j1", *targets], cwd=self.build, capture_output=True, check=False).returncode == 0

    def digest(self, output):
        return hashlib.sha256((self.build / output).read_bytes()).digest()

    def object_of(self, name):
        return next(file for file in self.inputs["xmldsig"] | self.inputs["tests/test_sandbox"] if file.endswith(f".dir/{name}.o"))

    def measured(self):
        """The tests that pass, with what they take: remembered, as running them all takes minutes."""
        store = self.build / "steps.json"
        known = json.loads(store.read_text()) if store.exists() else {"seconds": {}, "slow": {}}
        steps = []
        for test in json.loads(output_of(["ctest", "--show-only=json-v1"], self.build))["tests"]:
            name, command = test["name"], test.get("command")
            if APART.match(name) or not command:
                continue
            program = pathlib.Path(command[0])
            inside = program.is_relative_to(self.build)
            targets = self.needs[program.relative_to(self.build).as_posix() if inside else "xmldsig"]
            environment = next((dict(pair.split("=", 1) for pair in property["value"])
                                for property in test["properties"] if property["name"] == "ENVIRONMENT"), {})
            environment["VANTREL_CHANGES"] = "20"
            command = [*command, *FEWER.get(name, [])]
            if program.name.startswith("test_"):
                steps += self.halves(Step(name, targets, [*command, "--gtest_brief=1", "--gtest_fail_fast"], environment), known)
                store.write_text(json.dumps(known))
            else:
                steps.append(Step(name, targets, command, environment))
        for step in steps:
            if step.name not in known["seconds"]:
                start = time.monotonic()
                sound = step.passes(self.folder, 900)
                known["seconds"][step.name] = round(time.monotonic() - start, 2) if sound else None
                store.write_text(json.dumps(known))
            step.seconds = known["seconds"][step.name]
        # Programs that fail without a fault notice nothing.
        for step in steps:
            if step.seconds is None:
                print(f"{step.name} fails without a fault and is left out", flush=True)
        return sorted((step for step in steps if step.seconds is not None), key=lambda step: step.seconds)

    def halves(self, step, known):
        """The cases of a program that take more than three seconds are a step of their own."""
        late = f"{step.name}, slow cases"
        if step.name not in known["slow"]:
            file = self.build / "cases.json"
            file.unlink(missing_ok=True)
            sound = Step(step.name, step.targets, [*step.command, f"--gtest_output=json:{file}"], step.environment).passes(self.folder, 900)
            suites = json.loads(file.read_text())["testsuites"] if file.exists() else []
            cases = {f"{case['classname']}.{case['name']}": float(case["time"].rstrip("s")) for suite in suites for case in suite["testsuite"]}
            slow = {case: seconds for case, seconds in cases.items() if seconds > 3}
            known["slow"][step.name] = sorted(slow)
            known["seconds"][late] = round(sum(slow.values()), 2) if sound else None
            known["seconds"][step.name] = round(sum(cases.values()) - sum(slow.values()), 2) if sound else None
        if not known["slow"][step.name]:
            return [step]
        names = ":".join(known["slow"][step.name])
        return [Step(name, step.targets, [*step.command, f"--gtest_filter={sign}{names}"], step.environment)
                for name, sign in ((step.name, "-"), (late, ""))]

    def steps_for(self, name, budget):
        """Those whose program has the file in it; the nearest programs first, then the quickest."""
        made = self.object_of(name)
        concerned = [step for step in self.steps if any(made in self.inputs[target] for target in step.targets)]
        rooms = [room for room in CLOSE if name.startswith(room + "/")]
        close = CLOSE[max(rooms, key=len)] if rooms else []
        sizes = {step: sum(len(self.inputs[target]) for target in step.targets) for step in concerned}
        nearest = min(size for step, size in sizes.items() if step.targets[0].startswith("tests/"))
        spent = 0.0
        for step in sorted(concerned, key=lambda step: (0.5 + step.seconds) * sizes[step]):
            near = sizes[step] == nearest and not step.name.endswith("slow cases")
            if near or step.name in close or spent + step.seconds <= budget:
                spent += step.seconds
                yield step

    def outcome_of(self, name, budget):
        """What becomes of the fault that is in the file now: (outcome, noticed by)."""
        made = self.object_of(name)
        before = self.digest(made)
        if not self.make(made):
            return "not compiled", ""
        if self.digest(made) == before:
            return "same code", ""
        for step in self.steps_for(name, budget):
            if not self.make(*step.targets):
                return "noticed", f"building {step.targets[-1]}"
            # The linker took nothing of it into these programs.
            if all(self.digest(target) == self.plain[target] for target in step.targets):
                continue
            if not step.passes(self.folder, 20 + 5 * step.seconds):
                return "noticed", step.name
        return "survived", ""

    def is_sound(self, step):
        """Of a step that a fault made fail: whether it passes without; asked once. What fails by itself notices nothing."""
        if step.name not in self.proven:
            if not (self.make(*step.targets) and step.passes(self.folder, 900)):
                print(f"{step.name} fails without a fault and is left out", flush=True)
                self.steps.remove(step)
                return False
            self.proven.add(step.name)
        return True

    def put_in(self, name, number, column, old, new, budget):
        """(outcome, noticed by, line before, line after, seconds)"""
        file = self.folder / name
        whole = file.read_text()
        lines = whole.splitlines(keepends=True)
        before = lines[number]
        lines[number] = before[:column] + new + before[column + len(old):]
        # As it would be without the fault.
        self.make(self.object_of(name))
        start = time.monotonic()
        try:
            file.write_text("".join(lines))
            outcome, by = self.outcome_of(name, budget)
        finally:
            file.write_text(whole)
        step = next((step for step in self.steps if step.name == by), None)
        if step and not self.is_sound(step):
            return self.put_in(name, number, column, old, new, budget)
        return outcome, by, before.strip(), lines[number].strip(), round(time.monotonic() - start, 1)


def read_record(file):
    """Its faults. Of several lines about one fault the later ones add to what the first says, or change it."""
    faults = {}
    if file.exists():
        with open(file, encoding="utf-8", newline="") as text:
            for row in csv.DictReader(text, delimiter="\t", quoting=csv.QUOTE_NONE):
                entry = faults.setdefault((row["place"], row["kind"], row["after"]), row)
                entry.update({column: value for column, value in row.items() if value})
    return list(faults.values())


def append(file, entry):
    begins = not file.exists()
    with open(file, "a", encoding="utf-8") as text:
        if begins:
            text.write("\t".join(COLUMNS) + "\n")
        text.write("\t".join(str(entry.get(column, "")).replace("\t", " ") for column in COLUMNS) + "\n")


def counted(rows):
    return [row for row in rows if row["outcome"] in ("noticed", *SURVIVED)]


def put_in_new(given, rows):
    checkout = Checkout(given.checkout, rows[0]["commit"] if rows else "HEAD")
    files = sorted(file for path in given.paths for file in
                   ([checkout.folder / path] if path.endswith(".cpp") else (checkout.folder / path).rglob("*.cpp"))
                   if not re.search(r"_aarch64\w*\.cpp$", file.name))
    done = {(row["place"], row["kind"], row["after"]) for row in rows}
    count = len(counted(rows))
    for name, number, column, kind, old, new in draw(checkout.folder, files, given.seed):
        if count >= given.count or given.until and time.strftime("%H:%M") >= given.until:
            break
        line = (checkout.folder / name).read_text().splitlines()[number]
        if (f"{name}:{number + 1}", kind, (line[:column] + new + line[column + len(old):]).strip()) in done:
            continue
        outcome, by, before, after, seconds = checkout.put_in(name, number, column, old, new, given.budget)
        count += outcome in ("noticed", "survived")
        append(given.record, {"seed": given.seed, "place": f"{name}:{number + 1}", "kind": kind, "before": before, "after": after,
                              "outcome": outcome, "by": by, "seconds": seconds, "commit": checkout.commit})
        print(f"{count:4} {outcome:12} {seconds:6} s  {name}:{number + 1} {kind}{': ' + after if outcome == 'survived' else ''}", flush=True)


def put_in_again(given, rows):
    checkout = Checkout(given.checkout, "HEAD")
    for row in rows:
        if not (row["outcome"] == "survived" and not row["verdict"] or row["outcome"] in SURVIVED and row["verdict"].startswith("gap")):
            continue
        name, number = row["place"].rsplit(":", 1)
        file = checkout.folder / name
        lines = file.read_text().splitlines() if file.exists() else []
        # Lines move; a line that stands there no longer is a gap closed in the code.
        same = [at for at, line in enumerate(lines) if line.strip() == row["before"]]
        if not same:
            print(f"gone         {row['place']}: {row['before']}", flush=True)
            continue
        at = min(same, key=lambda found: abs(found + 1 - int(number)))
        indent = len(lines[at]) - len(lines[at].lstrip())
        outcome, by, _, after, seconds = checkout.put_in(name, at, indent, row["before"], row["after"], float("inf"))
        again = {"outcome": "survived all" if outcome == "survived" else outcome, "by": by, "seconds": row["seconds"]}
        append(given.record, {**row, **again, "verdict": ""})
        print(f"{again['outcome']:12} {seconds:6} s  {row['place']} {by}: {after}", flush=True)


def print_sum(rows):
    for title, key in (("room", lambda row: room_of(row["place"])), ("kind", lambda row: row["kind"]), ("", lambda row: "all")):
        table = defaultdict(Counter)
        for row in rows:
            table[key(row)][row["outcome"]] += 1
            if row["outcome"] in SURVIVED:
                table[key(row)][(row["verdict"] or "no verdict").split()[0].rstrip(":;,")] += 1
        print(f"\n{title}" if title else "")
        for name, counts in sorted(table.items()):
            print(f"  {name:26} " + ", ".join(f"{number} {what}" for what, number in counts.items()))
    seconds = [float(row["seconds"]) for row in counted(rows)]
    if seconds:
        print(f"\n{len(seconds)} faults, {sum(seconds) / len(seconds):.1f} s a fault")


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--count", type=int, default=30)
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--budget", type=float, default=60)
    options.add_argument("--until", help="a time of the day, HH:MM, when no more is begun")
    options.add_argument("--checkout", type=pathlib.Path, default=TOP / "build" / "faults")
    options.add_argument("--record", type=pathlib.Path)
    options.add_argument("--again", action="store_true")
    options.add_argument("--sum", action="store_true")
    options.add_argument("paths", nargs="*", default=PRODUCT)
    given = options.parse_args()
    given.checkout = given.checkout.resolve()
    given.record = given.record or given.checkout / "build" / "faults" / "faults.tsv"
    rows = read_record(given.record)
    if given.sum:
        print_sum(rows)
    elif given.again:
        put_in_again(given, rows)
    else:
        put_in_new(given, rows)
        print_sum(read_record(given.record))


main()
