#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Which signatures with constructs of the recommendations are verified, construct by construct, beside other verifiers:
recommendations_table.py TOOL FOLDER. FOLDER holds documents and a manifest.json that says of each signature its group, its keys
and data, what the recommendations say of it, and what other verifiers said of it. Prints a table in Markdown and then every
signature that is judged otherwise than expected."""

import collections
import json
import pathlib
import subprocess
import sys

PEERS = ("xmlsec1 1.2.37", "xmlsec1 1.3.13", "java.xml.crypto 25")


def arguments(entry, folder):
    key = entry["key"]
    found = ["--signature", str(entry["signature_index"])]
    if "hmac_hex" in key:
        found += ["--hmac-key", key["hmac_hex"]]
    if "public_key" in key:
        found += ["--key", str(folder / key["public_key"])]
    for file in key.get("cert_store", ()):
        found += ["--cert", str(folder / file)]
    for one in entry["external"]:
        if "file" in one:
            found += ["--ref-data", f"{one['reference']}={folder / one['file']}"]
    return found


def verdict(tool, entry, folder):
    done = subprocess.run([tool, "verify", "--json", *arguments(entry, folder), str(folder / entry["path"])],
                          capture_output=True, check=False, timeout=120)
    signatures = json.loads(done.stdout)["signatures"] if done.stdout else []
    return signatures[0]["status"] if signatures else "invalid"


def expectation(entry):
    """What is to be said: "valid", "invalid", "refuse" or "open"."""
    if entry["scope"] == "refuse":
        return "refuse"
    return entry["expected_status"] or "open"


def agrees(status, expected):
    return expected == "open" or status == ("valid" if expected == "valid" else "invalid")


def main(tool, folder):
    rows = collections.defaultdict(collections.Counter)
    differing = []
    for entry in json.loads((folder / "manifest.json").read_text())["entries"]:
        expected = expectation(entry)
        status = verdict(tool, entry, folder)
        for row in (rows[entry["group"]], rows["all"]):
            row[expected] += 1
            row["agree"] += expected != "open" and agrees(status, expected)
            row["asked"] += expected != "open"
            for peer in PEERS:
                # A refusal is no verdict: it is right where the signature is not valid.
                said = entry.get("peers", {}).get(peer, {}).get("verdict", "refused")
                row[peer] += expected != "open" and agrees(said if said == "valid" else "invalid", expected)
        if not agrees(status, expected) or expected == "open":
            differing.append(f"- {entry['path']}: {status}, expected {expected}: {entry['basis']}")
    print("| construct | valid | invalid | refuse | open | here |", " | ".join(PEERS), "|")
    print("|---" * (6 + len(PEERS)) + "|")
    rows["all"] = rows.pop("all")
    for group, row in rows.items():
        counts = " | ".join(str(row[name] or "") for name in ("valid", "invalid", "refuse", "open"))
        print(f"| {group} | {counts} |", " | ".join(f"{row[name]} of {row['asked']}" for name in ("agree", *PEERS)), "|")
    print("\nJudged otherwise, or left open:\n", *differing, sep="\n")


main(sys.argv[1], pathlib.Path(sys.argv[2]))
