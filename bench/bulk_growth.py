#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""How the cost of many documents grows with their number and with processes: the figures of docs/bulk.md.
Usage: bulk_growth.py TOOL [COUNT...]. Documents are those of the tests of bulk work, mostly of 2.5 KB."""

import os
import pathlib
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/whole"))
from many_documents import BULK, make, use

sys.path.insert(0, str(BULK))
from worker import Worker

ROUNDS = 3


def measured(what, count, work):
    """One row, of the best of some runs: seconds, documents a second, microseconds of processor time a document, largest process in MB."""
    seconds = busy = float("inf")
    for _ in range(ROUNDS):
        before, start = os.times(), time.perf_counter()
        largest = work()
        seconds = min(seconds, time.perf_counter() - start)
        busy = min(busy, sum(os.times()[:4]) - sum(before[:4]))
    print(f"| {what} | {count} | {seconds:.2f} | {count / seconds:.0f} | {busy / count * 1e6:.0f} | {largest} |", flush=True)


def tool(names, *arguments):
    def work():
        with subprocess.Popen(["xmldsig", "verify", "--json", *arguments, "--files-from", names], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as process:
            usage = os.wait4(process.pid, 0)[2]
            process.returncode = 0
        return usage.ru_maxrss >> 10
    return work


def processes(names, count):
    """So many programs side by side, each with its share and one thread."""
    def share(index):
        with open(names, encoding="utf-8") as lines:
            files = [line.rstrip("\n") for at, line in enumerate(lines) if at % count == index]
        for _ in Worker("--jobs", "1").answers((file, file) for file in files):
            pass

    def work():
        children = []
        for index in range(count):
            child = os.fork()
            if child == 0:
                share(index)
                os._exit(0)
            children.append(child)
        return max(os.wait4(child, 0)[2].ru_maxrss >> 10 for child in children)
    return work


def main():
    use(sys.argv[1])
    counts = [int(count) for count in sys.argv[2:]] or [1000, 5000, 20000]
    with tempfile.TemporaryDirectory() as folder:
        files = list(make(pathlib.Path(folder, "documents"), max(counts)))
        print("| work | documents | seconds | a second | processor us each | MB |\n|---|---|---|---|---|---|")
        for count in counts:
            names = pathlib.Path(folder, "names")
            names.write_text("".join(f"{name}\n" for name in files[:count]), encoding="utf-8")
            for jobs in ("1", "2", "4"):
                measured(f"verify --jobs {jobs}", count, tool(str(names), "--jobs", jobs))
            for workers in (1, 2, 4):
                measured(f"{workers} programs with a worker each", count, processes(str(names), workers))


if __name__ == "__main__":
    main()
