#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Which lines of the product no test runs. Builds the preset `coverage` (clang), runs its tests once and lists, room by room, how
many lines were run, and each run of lines that were not.

    tools/coverage.py [--jobs N] [--summary] [--no-run] [--skip REGEX] [PATH...]

PATH: folders or files that the lists are for, by default foundation and dsig. --summary: rooms only. --no-run: what the last run
left behind. --skip: tests that are not run. The tool is built without its sandbox, whose process may not write what it counted."""

import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys
from collections import defaultdict

TOP = pathlib.Path(__file__).resolve().parents[1]
BUILD = TOP / "build" / "coverage"
COUNTS = BUILD / "counts"

# About the tree, or about what is built otherwise.
APART = "source_tree|headers|documentation|samples|consumer|embedding|shared_library|sandbox_tool"


def llvm(tool):
    """Debian names it with the compiler's version where the package of that name is not installed."""
    found = shutil.which(tool) or next((str(path) for path in sorted(pathlib.Path("/usr/bin").glob(f"{tool}-[0-9]*"))), None)
    return found or sys.exit(f"{tool} was not found")


def run(arguments, **options):
    done = subprocess.run([str(part) for part in arguments], check=False, **options)
    if done.returncode:
        sys.exit(f"{arguments[0]} failed")
    return done


def build_and_run(jobs, skipped):
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    run(["cmake", "--preset", "coverage", *launcher], cwd=TOP, stdout=subprocess.DEVNULL)
    run(["cmake", "--build", BUILD, "-j", jobs], cwd=TOP)
    shutil.rmtree(COUNTS, ignore_errors=True)
    # A few files a program, which its processes share.
    environment = {**os.environ, "LLVM_PROFILE_FILE": str(COUNTS / "%4m.profraw")}
    subprocess.run(["ctest", "--test-dir", BUILD, "-j", str(jobs), "--timeout", "1800", "-E",
                    f"^({'|'.join([APART, *skipped])})$"], check=False, env=environment)


def programs():
    found = [BUILD / "xmldsig", *(BUILD / "tests").glob("test_*"), *(BUILD / "fuzz").glob("replay_*")]
    return [path for path in found if path.is_file() and os.access(path, os.X_OK)]


def counted():
    """For every source file of the product: the numbers of the lines that were run, and of those that were not."""
    merged = BUILD / "counts.profdata"
    run([llvm("llvm-profdata"), "merge", "-sparse", "-o", merged, *COUNTS.glob("*.profraw")])
    lines = defaultdict(lambda: (set(), set()))
    for program in programs():
        done = subprocess.run([llvm("llvm-cov"), "export", "-format=lcov", f"-instr-profile={merged}", program,
                               *(TOP / folder for folder in ("foundation", "dsig", "api", "cli", "bindings"))],
                              capture_output=True, text=True, check=False)
        file = None
        for line in done.stdout.splitlines():
            word, _, rest = line.partition(":")
            if word == "SF":
                file = pathlib.Path(rest).relative_to(TOP).as_posix()
            elif word == "DA":
                number, count = rest.split(",")[:2]
                lines[file][0 if int(count) else 1].add(int(number))
    # A line is run where one program runs it.
    return {file: (ran, not_run - ran) for file, (ran, not_run) in lines.items()}


def runs_of(numbers):
    """[3, 4, 5, 9] as [(3, 5), (9, 9)]."""
    found = []
    for number in sorted(numbers):
        if found and number == found[-1][1] + 1:
            found[-1] = (found[-1][0], number)
        else:
            found.append((number, number))
    return found


def print_lines(files):
    for file, (_, not_run) in sorted(files.items()):
        text = (TOP / file).read_text().splitlines()
        for first, last in runs_of(not_run):
            print(f"{file}:{first}-{last}")
            for number in range(first, last + 1):
                print(f"    {text[number - 1]}")


def print_rooms(files):
    rooms = defaultdict(lambda: [0, 0])
    for file, (ran, not_run) in files.items():
        for name in (file.rsplit("/", 1)[0], "all"):
            rooms[name][0] += len(ran)
            rooms[name][1] += len(not_run)
    for name, (ran, not_run) in sorted(rooms.items()):
        print(f"{name:28} {100 * ran / max(1, ran + not_run):6.2f} %  {not_run:5} of {ran + not_run} lines not run")


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--jobs", default=str(os.cpu_count()))
    options.add_argument("--summary", action="store_true")
    options.add_argument("--no-run", action="store_true")
    options.add_argument("--skip", action="append", default=[])
    options.add_argument("paths", nargs="*", default=["foundation", "dsig"])
    given = options.parse_args()
    if not given.no_run:
        build_and_run(given.jobs, given.skip)
    files = {file: lines for file, lines in counted().items() if file.startswith(tuple(given.paths))}
    (BUILD / "not_run.json").write_text(json.dumps({file: runs_of(lines[1]) for file, lines in files.items()}))
    if not given.summary:
        print_lines(files)
    print_rooms(files)


main()
