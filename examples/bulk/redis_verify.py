#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Verifies documents from a Redis stream, in any number of consumers of one group.
Usage: redis_verify.py feed FILE...
       redis_verify.py consume [--name NAME] [--until-empty]
       redis_verify.py show

Any producer adds entries with `name` and `document`. Reports stand in a hash by entry, so that a document which is
verified twice, because a consumer died between its report and its acknowledgement, has one report all the same.
"""

import argparse
import json
import os
import pathlib
import sys

import redis

from worker import Worker

STREAM, GROUP, REPORTS, POISON = "documents", "verifiers", "reports", "poison"
BATCH = 50
# Whoever holds an entry for longer is taken for dead. Longer than a document may take (Worker.timeout_ms).
IDLE_MS = 90000
# A document that so many consumers began and none finished is put aside for people.
MOST_DELIVERIES = 3


def connect(url):
    client = redis.Redis.from_url(url)
    try:
        client.xgroup_create(STREAM, GROUP, id="0", mkstream=True)
    except redis.ResponseError as error:
        if "BUSYGROUP" not in str(error):  # there is one already
            raise
    return client


class Consumer:
    def __init__(self, client, name, until_empty=False, idle_ms=IDLE_MS, worker=None):
        self.client, self.name, self.until_empty, self.idle_ms = client, name, until_empty, idle_ms
        self.worker = worker or Worker("--jobs", "1")

    def run(self):
        """Reports first, acknowledgement after, in one transaction: no moment at which a document is neither waiting nor reported."""
        for entry, answer in self.worker.answers(self.entries()):
            with self.client.pipeline(transaction=True) as both:
                both.hset(REPORTS, entry, json.dumps(answer))
                both.xack(STREAM, GROUP, entry)
                both.execute()

    def entries(self):
        """(entry, document) as they come: new ones, and in between those of consumers that died."""
        while True:
            entries = self.claimed()
            if not entries:
                found = self.client.xreadgroup(GROUP, self.name, {STREAM: ">"}, count=BATCH, block=200)
                entries = found[0][1] if found else []
            for entry, fields in entries:
                yield entry, fields[b"document"]
            if not entries and self.until_empty and not self.client.xpending(STREAM, GROUP)["pending"]:
                return

    def claimed(self):
        """Entries of others that nobody acknowledged in time, now this consumer's."""
        entries = self.client.xautoclaim(STREAM, GROUP, self.name, self.idle_ms, count=BATCH)[1]
        return [(entry, fields) for entry, fields in entries if fields and not self.put_aside(entry, fields)]

    def put_aside(self, entry, fields):
        known = self.client.xpending_range(STREAM, GROUP, entry, entry, 1)
        if not known or known[0]["times_delivered"] <= MOST_DELIVERIES:
            return False
        with self.client.pipeline(transaction=True) as both:
            both.xadd(POISON, fields)
            both.hset(REPORTS, entry, json.dumps({"status": "error", "error": "no consumer finished it", "signatures": []}))
            both.xack(STREAM, GROUP, entry)
            both.execute()
        return True


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--url", default="redis://localhost:6379")
    parser.add_argument("--idle-ms", type=int, default=IDLE_MS)
    parser.add_argument("--name", default=f"{os.uname().nodename}-{os.getpid()}")
    parser.add_argument("--until-empty", action="store_true", help="end when nothing waits any more")
    parser.add_argument("what", choices=["feed", "consume", "show"])
    parser.add_argument("files", nargs="*")
    given = parser.parse_args()
    client = connect(given.url)
    if given.what == "feed":
        for name in given.files:
            client.xadd(STREAM, {"name": name, "document": pathlib.Path(name).read_bytes()})
    elif given.what == "consume":
        Consumer(client, given.name, given.until_empty, given.idle_ms).run()
    else:
        for entry, report in client.hscan_iter(REPORTS):
            sys.stdout.write(f"{entry.decode()} {json.loads(report)['status']}\n")


if __name__ == "__main__":
    main()
