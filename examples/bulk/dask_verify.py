#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Verifies the files of a list on a Dask cluster, a worker process a partition.
Usage: dask_verify.py [--scheduler ADDRESS] [--workers N] [--partition N] LIST FOLDER

LIST has one name of a file a line, on a file system that all machines share. FOLDER gets one file of reports
for each partition, part-00000.ndjson and so on, in the order of the list.
"""

import argparse
import json
import os
import pathlib

from worker import Worker


def verify_partition(number, names, folder, arguments=()):
    """Verifies the documents of one partition and writes their reports. Returns how many have which status.

    It may run twice, when a machine is lost or slow: the second run writes the same file again, and the name
    appears only when all is in it.
    """
    place = {name: at for at, name in enumerate(names)}
    reports = [None] * len(names)
    counts = {}
    for name, answer in Worker("--jobs", "1", *arguments).answers((name, name) for name in place):
        reports[place[name]] = answer
        counts[answer["status"]] = counts.get(answer["status"], 0) + 1
    part = pathlib.Path(folder, f"part-{number:05}.ndjson")
    unfinished = part.with_suffix(f".{os.uname().nodename}.{os.getpid()}")
    unfinished.write_text("".join(json.dumps(report) + "\n" for report in reports if report), encoding="utf-8")
    os.replace(unfinished, part)
    return counts


def verify_all(client, names, folder, size=500, arguments=()):
    """The same for a list of any length, in partitions of `size`; returns the sum of their counts."""
    from distributed import as_completed
    names = list(dict.fromkeys(names))  # a name that stands twice is one document
    tasks = [client.submit(verify_partition, number, names[start:start + size], str(folder), arguments, pure=False)
             for number, start in enumerate(range(0, len(names), size))]
    total = {}
    for _, counts in as_completed(tasks, with_results=True):
        for status, count in counts.items():
            total[status] = total.get(status, 0) + count
    return total


def main():
    from distributed import Client, LocalCluster
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--scheduler", help="of a cluster; without it, one of processes on this machine")
    parser.add_argument("--workers", type=int, default=os.cpu_count())
    parser.add_argument("--partition", type=int, default=500, help="documents a partition")
    parser.add_argument("list", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    given = parser.parse_args()
    given.folder.mkdir(parents=True, exist_ok=True)
    cluster = given.scheduler or LocalCluster(n_workers=given.workers, threads_per_worker=1, dashboard_address=None)
    with Client(cluster) as client:
        client.upload_file(str(pathlib.Path(__file__).with_name("worker.py")))
        client.upload_file(__file__)
        print(verify_all(client, given.list.read_text(encoding="utf-8").splitlines(), given.folder.resolve(), given.partition))


if __name__ == "__main__":
    main()
