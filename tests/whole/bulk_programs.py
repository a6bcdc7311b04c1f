#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""examples/bulk/worker.py under all that happens to processes, shard.sh, and the commands of docs/bulk.md as they stand there.
Usage: bulk_programs.py TOOL [COUNT]. Commands whose programs are absent are skipped. Ends with "N passed, N failed"."""

import contextlib
import itertools
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading

from checks import check, finish
from many_documents import BULK, TOP, Clock, compare, make, use

from worker import Worker

COUNT = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
# A tool that dies over some documents, as one does that is out of memory.
FRAGILE = f"""#!{sys.executable}
import os, subprocess, sys
worker = subprocess.Popen(["xmldsig", *sys.argv[1:]], stdin=subprocess.PIPE)
for line in sys.stdin.buffer:
    if b"000007.xml" in line or b"000400.xml" in line:
        worker.kill()
        os._exit(9)
    worker.stdin.write(line)
    worker.stdin.flush()
worker.stdin.close()
sys.exit(worker.wait())
"""


def named(answers):
    return [dict(answer, file=name) for name, answer in answers]


def children():
    """The processes that this one has started."""
    return [int(pid) for pid in pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text().split()]


def workers(expected, folder):
    names = [(name, name) for name in expected]
    compare("files", expected, named(Worker().answers(names)))
    compare("octets", expected, named(Worker().answers((name, pathlib.Path(name).read_bytes()) for name in expected)))
    found = []
    for name, answer in Worker().answers(names):
        found.append(dict(answer, file=name))
        if len(found) in (1, COUNT // 3, COUNT // 2):
            for pid in children():
                os.kill(pid, signal.SIGKILL)
    compare("killed three times", expected, found)

    fragile = folder / "fragile"
    fragile.write_text(FRAGILE)
    fragile.chmod(0o755)
    poisoned = {name: "error" if name.endswith(("000007.xml", "000400.xml")) else status for name, status in expected.items()}
    compare("two that kill every process", poisoned, named(Worker(tool=str(fragile)).answers(names)))

    def failing():
        yield from names[:10]
        raise OSError("no more")

    found = []
    for what, answers, kind in (("documents", Worker().answers(failing()), OSError), ("options", Worker("--no-such").answers(names), RuntimeError)):
        try:
            found += answers
            check(f"a fault of the {what} is told", False)
        except kind:
            check(f"a fault of the {what} is told", True)
    check("what came before the fault is answered", len(found) in (0, 10), len(found))
    endless = Worker().answers((str(i), b"<a/>") for i in itertools.count())
    check("who stops early is not held up", [answer["status"] for _, answer in itertools.islice(endless, 3)] == ["no-signature"] * 3)
    endless.close()
    late = next(Worker(timeout_ms=1).answers([("late", b"<a>" + b"<b/>" * 5000000 + b"</a>")]))[1]
    check("a document past its time", late["status"] == "error" and "timeoutMs" in late["error"], late)


def shares(expected, folder):
    """All shares of a list, some of them begun before and broken off, some done twice."""
    names = folder / "names"
    names.write_text("".join(f"{name}\n" for name in expected))
    out = folder / "shares"
    out.mkdir()
    (out / ".part-1.broken").write_text("{")
    for index in (0, 1, 2, 3, 1):
        done = subprocess.run(["sh", str(BULK / "shard.sh"), str(names), "4", str(index), str(out)], capture_output=True, check=False)
        check(f"share {index}", done.returncode == 0, done)
    parts = sorted(out.glob("*.ndjson"))
    compare("shares", expected, [json.loads(line) for part in parts for line in part.read_text().splitlines()])
    full = subprocess.run(["sh", str(BULK / "shard.sh"), str(names), "4", "0", "/dev/full"], capture_output=True, check=False)
    check("a share that cannot be written", full.returncode != 0, full)


class Broker:
    """A broker of Kafka's protocol, which the client brings along for tests, inside of a kcat that fills a topic. It keeps
    5 MB a partition, and messages have 1 MB at most."""

    def __init__(self, expected):
        self.expected = {name: expected[name] for name in list(expected)[:1000] if pathlib.Path(name).stat().st_size < 900000}

    def __enter__(self):
        command = ["kcat", "-P", "-X", "test.mock.num.brokers=1", "-d", "mock", "-b", "none", "-t", "documents", "-D", "\\x01", "-K", "\\x02"]
        self.kcat = subprocess.Popen(command, stdin=subprocess.PIPE, stderr=subprocess.PIPE)
        brokers = b""
        for line in self.kcat.stderr:
            found = re.search(rb"bootstrap.servers=(\S+)", line)
            if found:
                brokers = found.group(1)
                break
        os.environ["BROKERS"] = brokers.decode()
        threading.Thread(target=self._fill, daemon=True).start()
        appended = 0
        while appended < len(self.expected):  # it tells of each that it has
            line = self.kcat.stderr.readline()
            if not line:
                break  # it ended; the reports will be missing
            found = re.search(rb"Log append documents .* (\d+) messages", line)
            appended += int(found.group(1)) if found else 0
        threading.Thread(target=self.kcat.stderr.read, daemon=True).start()
        return self

    def _fill(self):
        for name in self.expected:
            self.kcat.stdin.write(name.encode() + b"\2" + pathlib.Path(name).read_bytes() + b"\1")
        self.kcat.stdin.write(b" " * 100000)  # of one more: kcat reads in portions, and a message goes out when its portion is full
        self.kcat.stdin.flush()

    def __exit__(self, *_):
        self.kcat.kill()
        self.kcat.wait()


def commands(expected, folder):
    """The blocks of docs/bulk.md that write report.ndjson."""
    blocks = re.findall(r"```sh\n(.*?)```", (TOP / "docs/bulk.md").read_text(), re.S)
    blocks = [block for block in blocks if block.rstrip().endswith("report.ndjson")]
    check("docs/bulk.md has commands", len(blocks) == 4, blocks)
    for block in blocks:
        needed = re.findall(r"\b(parallel|xargs|kcat|jq)\b", block)
        absent = [program for program in needed if not shutil.which(program)]
        title = " ".join(needed) or "xmldsig"
        if absent:
            print(f"skipped: the command with {title}, without {' '.join(absent)}")
            continue
        broker = Broker(expected) if "kcat" in needed else None
        wanted = broker.expected if broker else expected
        with broker or contextlib.nullcontext(), Clock(title, len(wanted)):
            subprocess.run(["bash", "-c", block], cwd=folder, stderr=subprocess.DEVNULL, check=False, timeout=300)
        reports = [json.loads(line) for line in (folder / "report.ndjson").read_text().splitlines()]
        compare(title, wanted, [dict(report, file=str(folder / (report["file"] or report.get("id", "")))) for report in reports])
        (folder / "report.ndjson").unlink()


def frames(expected):
    """The function that Spark calls, with frames of pandas; Spark itself is not here."""
    code = f"""import sys
sys.path.insert(0, {str(BULK)!r})
import json, pandas, pathlib, spark_verify
names = sys.stdin.read().splitlines()
frames = (pandas.DataFrame({{"name": part, "document": [bytearray(pathlib.Path(name).read_bytes()) for name in part]}})
          for part in (names[at:at + 70] for at in range(0, len(names), 70)))
for frame in spark_verify.verify_frames(frames):
    for row in frame.itertuples():
        print(json.dumps({{"file": row.name, "status": row.status, "same": json.loads(row.report)["status"] == row.status}}))
"""
    found = [python for python in (sys.executable, "/usr/bin/python3")
             if shutil.which(python) and subprocess.run([python, "-c", "import pandas"], capture_output=True, check=False).returncode == 0]
    if not found:
        print("skipped: the frames of spark_verify.py, without pandas")
        return
    done = subprocess.run([found[0], "-c", code], input="\n".join(expected), capture_output=True, check=False, text=True)
    reports = [json.loads(line) for line in done.stdout.splitlines()]
    check("frames", done.returncode == 0 and all(report["same"] for report in reports), done.stderr)
    compare("frames", expected, reports)


use(sys.argv[1])
with tempfile.TemporaryDirectory() as name:
    top = pathlib.Path(name)
    documents = make(top / "inbox", COUNT)
    workers(documents, top)
    shares(documents, top)
    commands(documents, top)
    frames(dict(list(documents.items())[:1000]))
finish()
