#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""examples/bulk/redis_verify.py with a Redis server of its own: a group of consumers, one of which is killed.
Usage: bulk_redis.py TOOL [COUNT]. Exits with 77 without redis-server or the client; else ends with "N passed, N failed"."""

import json
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time

from checks import check, finish
from many_documents import BULK, Clock, compare, make, need, use

need("redis", "python3-redis")
if not shutil.which("redis-server"):
    print("skipped: redis-server is not here")
    sys.exit(77)

from redis_verify import GROUP, MOST_DELIVERIES, POISON, REPORTS, STREAM, connect

COUNT = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
IDLE_MS = 1500


def listens(path):
    """The socket is there some time before somebody listens."""
    with socket.socket(socket.AF_UNIX) as probe:
        return probe.connect_ex(str(path)) == 0


def serve(folder):
    """A server behind a socket in the folder, which leaves the machine's own server and its data alone."""
    path = folder / "redis.sock"
    server = subprocess.Popen(["redis-server", "--port", "0", "--unixsocket", str(path), "--dir", str(folder), "--save", ""],
                              stdout=subprocess.DEVNULL)
    for _ in range(500):
        if listens(path):
            break
        time.sleep(0.01)
    return server, f"unix://{path}"


def consumer(url, name, *more):
    return subprocess.Popen([sys.executable, str(BULK / "redis_verify.py"), "--url", url, "--name", name, "--idle-ms", str(IDLE_MS), *more,
                             "consume"])


def reports(client, names):
    """The reports, under the names of the files."""
    return [dict(json.loads(report), file=names[entry]) for entry, report in client.hscan_iter(REPORTS)]


def fill(client, files):
    client.delete(STREAM, REPORTS, POISON)
    client.xgroup_create(STREAM, GROUP, id="0", mkstream=True)
    return {client.xadd(STREAM, {"name": file, "document": pathlib.Path(file).read_bytes()}): file for file in files}


def steady(client, url, expected):
    for consumers in (1, 2):
        names = fill(client, expected)
        with Clock(f"redis, {consumers} consumers (with their start)", len(expected)):
            running = [consumer(url, f"steady-{i}", "--until-empty") for i in range(consumers)]
            codes = [each.wait() for each in running]
        check("consumers end well", codes == [0] * consumers, codes)
        compare(f"{consumers} consumers", expected, reports(client, names))
        check("nothing waits", client.xpending(STREAM, GROUP)["pending"] == 0)


def killed(client, url, expected):
    """The first consumer dies with entries in hand; the second finishes what both have."""
    names = fill(client, expected)
    first = consumer(url, "first")
    while client.hlen(REPORTS) < len(expected) // 4:
        time.sleep(0.001)
    first.kill()
    first.wait()
    left = client.xpending(STREAM, GROUP)["pending"]
    check("entries were in hand", 0 < left < len(expected), left)
    check("the second ends well", consumer(url, "second", "--until-empty").wait() == 0)
    compare("killed", expected, reports(client, names))
    check("nothing waits behind a killed one", client.xpending(STREAM, GROUP)["pending"] == 0)
    check("nothing was put aside", client.xlen(POISON) == 0)


def poison(client, url, expected):
    """An entry that consumers began again and again, and none finished, is put aside and the others are not held up."""
    names = fill(client, list(expected)[:20])
    entry = next(iter(names))
    client.xreadgroup(GROUP, "dead", {STREAM: ">"}, count=1)
    for _ in range(MOST_DELIVERIES):
        client.xclaim(STREAM, GROUP, "dead", 0, [entry])
    time.sleep(IDLE_MS / 1000)
    check("the consumer ends well", consumer(url, "alive", "--until-empty").wait() == 0)
    found = {report["file"]: report["status"] for report in reports(client, names)}
    check("put aside", client.xlen(POISON) == 1 and found.pop(names[entry]) == "error", found)
    check("the others are done", len(found) == 19 and all(expected[name] == status for name, status in found.items()), found)


use(sys.argv[1])
with tempfile.TemporaryDirectory() as name:
    top = pathlib.Path(name)
    documents = make(top / "documents", COUNT)
    server, address = serve(top)
    try:
        connection = connect(address)
        steady(connection, address, documents)
        killed(connection, address, documents)
        poison(connection, address, documents)
    finally:
        server.terminate()
        server.wait()
finish()
