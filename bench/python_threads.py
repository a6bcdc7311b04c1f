#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""How threads of one Python program scale: documents a second by number of threads and size of document.

    VANTREL_LIBRARY=build/dev/python/libvantrel.so bench/python_threads.py [--seconds 2] [--threads 1,2,4]

Prints a Markdown table, the best of three runs each; `bare` is the call without the values made of its report. The
processor time of a call, by one thread, says how much of it holds the interpreter's lock, also on a busy machine."""

import argparse
import concurrent.futures
import ctypes
import os
import pathlib
import sys
import time

TOP = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(TOP / "bindings/python"))
import vantrel  # noqa: E402
from vantrel import _library  # noqa: E402


def padded(octets, size):
    """The invoice with a comment that canonicalization leaves out, so that the signature still holds."""
    return octets.replace(b"<SignedInfo", b"<!--" + b"x" * size + b"--><SignedInfo", 1) if size else octets


def bare(octets):
    library = _library.load()
    result = ctypes.c_void_p()
    library.vantrel_verify(octets, len(octets), None, ctypes.byref(result))
    library.vantrel_result_free(result)


def rate(work, octets, threads, seconds):
    """Calls a second of all threads together."""
    end = time.monotonic() + seconds

    def run(_):
        count = 0
        while time.monotonic() < end:
            work(octets)
            count += 1
        return count

    with concurrent.futures.ThreadPoolExecutor(threads) as pool:
        return sum(pool.map(run, range(threads))) / seconds


def cost(work, octets):
    """Microseconds of the processor a call."""
    best = float("inf")
    for _ in range(5):
        start = time.process_time()
        for _ in range(100):
            work(octets)
        best = min(best, (time.process_time() - start) / 100)
    return best * 1e6


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=2)
    parser.add_argument("--threads", default="1,2,4")
    arguments = parser.parse_args()
    threads = [int(each) for each in arguments.threads.split(",")]
    invoice = (TOP / "examples/invoice.xml").read_bytes()
    print(f"{os.cpu_count()} processors, documents a second\n")
    print("| document | call | us |" + "".join(f" {each} threads |" for each in threads))
    print("|---|---|---:|" + "---:|" * len(threads))
    for size in (0, 1 << 20):
        octets = padded(invoice, size)
        if not vantrel.verify(octets):
            sys.exit("the document does not verify")
        for name, work in (("verify", vantrel.verify), ("bare", bare)):
            rates = [max(rate(work, octets, each, arguments.seconds) for _ in range(3)) for each in threads]
            print(f"| {len(octets)} octets | {name} | {cost(work, octets):.0f} |" + "".join(f" {each:.0f} |" for each in rates), flush=True)


if __name__ == "__main__":
    main()
