#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""examples/bulk/dask_verify.py on a local Dask cluster: right with 1, 2 and 4 processes, and when one of them is killed.
Usage: bulk_dask.py TOOL [COUNT]. Exits with 77 without distributed; else ends with "N passed, N failed"."""

import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import threading
import time

from checks import check, finish
from many_documents import BULK, Clock, compare, make, need, use

need("distributed", "python3-distributed")
from distributed import Client, LocalCluster

from dask_verify import verify_all

COUNT = int(sys.argv[2]) if len(sys.argv) > 2 else 1000


def reports(folder):
    parts = sorted(folder.glob("*"))
    check("there are finished parts only", parts and all(part.suffix == ".ndjson" for part in parts), parts[:5])
    return [json.loads(line) for part in parts for line in part.read_text(encoding="utf-8").splitlines()]


def connected(workers):
    cluster = LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None)
    client = Client(cluster)
    for name in ("worker.py", "dask_verify.py"):
        client.upload_file(str(BULK / name))
    return cluster, client


def spread(expected, top):
    for workers in (1, 2, 4):
        folder = top / f"reports{workers}"
        folder.mkdir()
        cluster, client = connected(workers)
        with cluster, client:
            with Clock(f"dask, {workers} processes", len(expected), lambda: sum(sum(times[:4]) for times in client.run(os.times).values())):
                counts = verify_all(client, list(expected), folder, 250)
        check(f"{workers} processes: the counts", sum(counts.values()) == len(expected), counts)
        found = reports(folder)
        compare(f"{workers} processes", expected, found)
        check(f"{workers} processes: in the order of the list", [report["file"] for report in found] == list(expected))


def killed(expected, top):
    """A process of the cluster is killed when a third of the parts is there, with all that it had in hand."""
    folder = top / "killed"
    folder.mkdir()
    cluster, client = connected(2)
    with cluster, client:
        victim = next(iter(client.run(os.getpid).values()))

        def kill():
            while len(list(folder.glob("*.ndjson"))) < len(expected) // 50 // 3:
                time.sleep(0.001)
            os.kill(victim, signal.SIGKILL)

        killer = threading.Thread(target=kill)
        killer.start()
        counts = verify_all(client, list(expected), folder, 50)
        killer.join()
        check("another process took its place", victim not in client.run(os.getpid).values())
    check("killed: the counts", sum(counts.values()) == len(expected), counts)
    for left in folder.glob("part-*[0-9]"):  # what the killed one had begun
        left.unlink()
    compare("killed", expected, reports(folder))


def as_a_program(expected, top):
    names = top / "list"
    names.write_text("".join(f"{name}\n" for name in [*expected, *list(expected)[:5]]), encoding="utf-8")
    done = subprocess.run([sys.executable, str(BULK / "dask_verify.py"), "--workers", "2", "--partition", "100", str(names), str(top / "program")],
                          capture_output=True, check=False, text=True)
    check("the program ends well", done.returncode == 0, done.stderr)
    compare("the program", expected, reports(top / "program"))


if __name__ == "__main__":  # the cluster's processes read this file, too
    use(sys.argv[1])
    with tempfile.TemporaryDirectory() as name:
        top = pathlib.Path(name)
        documents = make(top / "documents", COUNT)
        spread(documents, top)
        killed(documents, top)
        as_a_program(dict(list(documents.items())[:500]), top)
    finish()
