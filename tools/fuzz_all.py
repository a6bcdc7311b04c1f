#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fuzzes all targets in turns, each for the same processor time, and keeps a record of what was done and found.

    tools/fuzz_all.py --work FOLDER [--seconds N] [--rounds N] [--until HH:MM] [--up-to MINUTES] [--jobs N]
                      [--seeds FOLDER] [--build FOLDER] [--no-build] [TARGET...]
    tools/fuzz_all.py --work FOLDER --coverage [TARGET...]      what the corpora reach, by source file
    tools/fuzz_all.py --work FOLDER --table                     the record as a table, nothing is run
    tools/fuzz_all.py --work FOLDER --gather TARGET...          what each begins with, in corpus/TARGET; nothing is run

FOLDER holds corpus/TARGET (which grows), findings/TARGET, log/TARGET and record.json, and may be used again. A target begins with the
files of fuzz/corpus/TARGET, the documents of the tests and what stands in the folders of --seeds where their endings fit it, and its
words of fuzz/dictionaries.
--seconds is processor time of a target in a round, from when it has read its corpus on, so that a busy machine changes nothing. --no-build takes the programs as they are,
new ones from round to round. --up-to leaves out the targets whose record has so many minutes, and gives no other more than it lacks.
SIGTERM or control-C ends the targets at work and keeps what they did. The exit code is 1 where this run found something."""

import argparse
import concurrent.futures
import datetime
import hashlib
import json
import math
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

TOP = pathlib.Path(__file__).resolve().parents[1]
PRODUCT = ("foundation/", "dsig/", "api/", "bindings/", "cli/")
LARGEST_SEED = 1 << 16

# The files of fuzz/dictionaries whose words are likely to mean something to a target.
DOCUMENT = ["xml", "dsig"]
DICTIONARIES = {
    "asn_xml": ["der", "xml"], "c_interface": ["options", "xml", "dsig"], "canon": DOCUMENT, "canon_peer": ["xml"],
    "certificate": ["der", "keys"], "cms": ["der"], "crl": ["der"], "der": ["der"], "explain": DOCUMENT, "html": DOCUMENT, "http": ["http"],
    "json": ["options"], "key_file": ["der", "keys"], "locate": DOCUMENT, "name": ["der", "names"], "ocsp": ["der"],
    "package": [*DOCUMENT, "package"], "path": ["keys", "der"], "signed": DOCUMENT, "verify": DOCUMENT, "words": ["options", "names"],
    "worker": ["options"], "xml": ["xml"], "xpath": ["xpath", "xml"], "zip": ["package"],
}

# What else is a sound input of a target, by the ending of its name.
OF_DOCUMENTS = ("canon", "canon_peer", "explain", "html", "kernels", "locate", "signed", "verify", "xml")
OF_CERTIFICATES = ("asn_xml", "certificate", "der", "key_file", "path")
KINDS = {".xml": OF_DOCUMENTS, **dict.fromkeys((".pem", ".der", ".crt", ".cer"), OF_CERTIFICATES), ".crl": ("crl", "der"),
         **dict.fromkeys((".p7b", ".p7s", ".tst", ".tsr"), ("cms", "der")), ".ors": ("ocsp", "der")}
FOLDERS = [TOP / "tests" / "vectors" / "dsig", TOP / "examples"]

FINDINGS = ("crash-", "timeout-", "oom-", "leak-")
STATUS = re.compile(r"^#\d+\s+\S+\s+cov: (\d+) ft: (\d+)", re.MULTILINE)
EXECUTED = re.compile(r"^stat::number_of_executed_units:\s+(\d+)", re.MULTILINE)


def run(arguments, **options):
    """A command that must succeed; its output."""
    done = subprocess.run([str(part) for part in arguments], capture_output=True, text=True, check=False, **options)
    if done.returncode:
        sys.exit(f"{arguments[0]}: {done.stdout[-2000:]}{done.stderr[-2000:]}")
    return done.stdout


def targets_in(folder):
    return sorted(file.name[len("fuzz_"):] for file in folder.glob("fuzz_*") if file.is_file() and os.access(file, os.X_OK))


def build(preset, targets, jobs):
    """Builds the programs of a preset; the folder where they stand. No targets: all."""
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    run(["cmake", "--preset", preset, *launcher], cwd=TOP)
    wanted = ["--target", *(f"fuzz_{name}" for name in targets)] if targets else []
    run(["nice", "-n", "19", "cmake", "--build", TOP / "build" / preset, "-j", jobs, *wanted])
    return TOP / "build" / preset / "fuzz"


def processor_seconds(pid):
    """Of a process that runs or has just ended; 0 where it is gone."""
    try:
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    except OSError:
        return 0.0
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Campaign:
    def __init__(self, work, programs, seeds=(), nice=19):
        self.work, self.programs, self.nice = work, programs, nice
        self.seeds, self.seeded = [*FOLDERS, *seeds], set()
        self.record_file = work / "record.json"
        self.record = json.loads(self.record_file.read_text()) if self.record_file.exists() else {}
        self.lock, self.stop = threading.Lock(), threading.Event()
        self.found = 0

    def folder(self, kind, target):
        folder = self.work / kind / target
        folder.mkdir(parents=True, exist_ok=True)
        return folder

    def seed(self, target):
        """Puts what is known to be sound into a target's corpus, once: names are digests of contents, as libFuzzer has it."""
        corpus = self.folder("corpus", target)
        if target not in self.seeded:
            self.seeded.add(target)
            fitting = [file for folder in self.seeds for file in folder.rglob("*") if target in KINDS.get(file.suffix, ())]
            for file in [*(TOP / "fuzz" / "corpus" / target).glob("*"), *fitting]:
                content = file.read_bytes() if file.is_file() else b""
                if 0 < len(content) <= LARGEST_SEED:
                    (corpus / hashlib.sha1(content).hexdigest()).write_bytes(content)
        return corpus

    def dictionary(self, target):
        """One file of all the target's words, since libFuzzer takes one; None without words."""
        files = [TOP / "fuzz" / "dictionaries" / f"{name}.dict" for name in DICTIONARIES.get(target, [])]
        words = "".join(file.read_text() for file in files if file.exists())
        if not words:
            return None
        path = self.folder("dictionaries", "") / f"{target}.dict"
        path.write_text(words)
        return path

    def run_once(self, target, seconds, most):
        """Runs a target until it has had its seconds beside those for reading, or `most` of all, or finds something: (processor seconds,
        output). The engine's limit for an input goes by the clock, which means little at the lowest priority, so it is a wide one."""
        findings, log = self.folder("findings", target), self.folder("log", "") / f"{target}.log"
        dictionary = self.dictionary(target)
        command = ["nice", "-n", self.nice, self.programs / f"fuzz_{target}", "-print_final_stats=1", "-timeout=900", "-report_slow_units=300",
                   "-rss_limit_mb=2560", "-reload=0", f"-artifact_prefix={findings}/", *([f"-dict={dictionary}"] if dictionary else []),
                   self.seed(target)]
        used, read = 0.0, None
        with log.open("w") as out:
            process = subprocess.Popen([str(part) for part in command], stdout=out, stderr=subprocess.STDOUT, start_new_session=True)
            while process.poll() is None:
                used = max(used, processor_seconds(process.pid))
                if read is None and "INITED" in log.read_text(errors="replace"):
                    read = used
                if self.stop.is_set() or (read is not None and (used - read >= seconds or used >= most)):
                    process.send_signal(signal.SIGUSR1)  # ends after the input that it is at
                time.sleep(0.5)
        return used, log.read_text(errors="replace")

    def lacks(self, target, minutes):
        """The processor seconds that the target's record has less than so many minutes."""
        return 60 * minutes - self.record.get(target, {}).get("cpuSeconds", 0)

    def fuzz(self, target, seconds, minutes):
        """One turn of a target. A target that finds something goes on once more, and then waits for its next turn."""
        before = set(self.folder("findings", target).iterdir())
        left = seconds
        for _ in range(2):
            used, output = self.run_once(target, left, self.lacks(target, minutes))
            left -= used
            self.keep(target, used, output, before)
            if left <= 1 or self.lacks(target, minutes) <= 0 or self.stop.is_set():
                break

    def keep(self, target, used, output, before):
        new = sorted(file.name for file in set(self.folder("findings", target).iterdir()) - before if file.name.startswith(FINDINGS))
        status = STATUS.findall(output)
        executed = EXECUTED.findall(output)
        with self.lock:
            entry = self.record.setdefault(target, {"executions": 0, "cpuSeconds": 0, "edges": 0, "features": 0, "findings": []})
            entry["executions"] += int(executed[-1]) if executed else 0
            entry["cpuSeconds"] = round(entry["cpuSeconds"] + used, 1)
            if status:
                entry["edges"], entry["features"] = (int(number) for number in status[-1])
            entry["corpus"] = sum(1 for _ in self.folder("corpus", target).iterdir())
            known = set(entry["findings"])
            entry["findings"] += [name for name in new if name not in known]
            self.found += len(set(new) - known)
            partial = self.record_file.with_suffix(".new")
            partial.write_text(json.dumps(self.record, indent=1, sort_keys=True) + "\n")
            partial.replace(self.record_file)
        for name in new:
            if name not in known:
                print(f"{target}: {name}", flush=True)

    def least_first(self, targets):
        """Who had least of the processor comes first, so that a round that breaks off does not always leave out the same."""
        return sorted(targets, key=lambda target: self.record.get(target, {}).get("cpuSeconds", 0))

    def table(self):
        lines = ["| target | executions | CPU minutes | edges | features | inputs kept | findings |", "|---|---|---|---|---|---|---|"]
        total = [0, 0.0, 0]
        for target, entry in sorted(self.record.items()):
            lines.append(f"| {target} | {entry['executions']:,} | {entry['cpuSeconds'] / 60:.1f} | {entry['edges']:,} | {entry['features']:,} "
                         f"| {entry.get('corpus', 0):,} | {len(entry['findings'])} |")
            total = [total[0] + entry["executions"], total[1] + entry["cpuSeconds"], total[2] + len(entry["findings"])]
        lines.append(f"| all | {total[0]:,} | {total[1] / 60:.1f} | | | | {total[2]} |")
        return "\n".join(lines)

    def replay(self, target):
        """Runs the corpus once through a program that counts; the raw profile."""
        profile = self.folder("coverage", "") / f"{target}.profraw"
        environment = {**os.environ, "LLVM_PROFILE_FILE": str(profile)}
        command = ["nice", "-n", str(self.nice), str(self.programs / f"fuzz_{target}"), "-runs=0", "-timeout=300", "-rss_limit_mb=0", str(self.seed(target))]
        subprocess.run(command, env=environment, capture_output=True, check=False)
        return profile

    def coverage(self, targets):
        """The lines of the product that the corpora of the targets reach together, as a table."""
        profiles = [self.replay(target) for target in targets]
        profiles = [profile for profile in profiles if profile.exists()]
        merged = self.work / "coverage" / "all.profdata"
        run(["llvm-profdata", "merge", "-sparse", *profiles, "-o", merged])
        first, *others = [self.programs / f"fuzz_{target}" for target in targets]
        objects = [part for other in others for part in ("-object", other)]
        summary = json.loads(run(["llvm-cov", "export", "-summary-only", first, *objects, f"-instr-profile={merged}"]))
        return coverage_table(summary["data"][0]["files"])


def share(covered, count):
    return f"{100 * covered / count:.1f} %" if count else "-"


def coverage_table(files):
    rows, folders = [], {}
    for file in files:
        name = os.path.relpath(file["filename"], TOP)
        if name.startswith(PRODUCT):
            counts = file["summary"]["lines"], file["summary"]["branches"]
            rows.append((name, *counts))
            sums = folders.setdefault(os.path.dirname(name) + "/", ({"covered": 0, "count": 0}, {"covered": 0, "count": 0}))
            for total, count in zip(sums, counts):
                for key in total:
                    total[key] += count[key]
    lines = ["| folder or file | lines | reached | branches reached |", "|---|---|---|---|"]
    for name, line, branch in [*((name, *sums) for name, sums in sorted(folders.items())), *sorted(rows)]:
        lines.append(f"| {name} | {line['count']} | {share(line['covered'], line['count'])} | {share(branch['covered'], branch['count'])} |")
    return "\n".join(lines)


def next_time(hour_and_minute):
    """When it will be so late for the first time from now on."""
    now = datetime.datetime.now()
    hour, minute = map(int, hour_and_minute.split(":"))
    then = now.replace(hour=hour, minute=minute, second=0, microsecond=0)
    return then if then > now else then + datetime.timedelta(days=1)


def is_over(campaign, until):
    return campaign.stop.is_set() or (until is not None and datetime.datetime.now() >= until)


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--work", type=pathlib.Path, required=True)
    options.add_argument("--seconds", type=float, default=60)
    options.add_argument("--rounds", type=int, default=1, help="0: until --until or a signal")
    options.add_argument("--until", type=next_time, help="begin no turn of a target at or after this time, HH:MM")
    options.add_argument("--up-to", type=float, default=math.inf, help="leave out targets that have so many processor minutes")
    options.add_argument("--jobs", type=int, default=1)
    options.add_argument("--nice", type=int, default=19)
    options.add_argument("--build", type=pathlib.Path, help="where the programs are, by default build/fuzz/fuzz")
    options.add_argument("--seeds", type=pathlib.Path, action="append", default=[], help="a folder of more inputs; repeatable")
    options.add_argument("--no-build", action="store_true")
    options.add_argument("--coverage", action="store_true")
    options.add_argument("--table", action="store_true")
    options.add_argument("--gather", action="store_true")
    options.add_argument("targets", nargs="*")
    given = options.parse_args()
    given.work = given.work.absolute()
    if given.table:
        print(Campaign(given.work, None).table())
        return 0
    if given.gather:
        campaign = Campaign(given.work, None, given.seeds)
        for target in given.targets:
            campaign.seed(target)
        return 0
    preset = "fuzz-coverage" if given.coverage else "fuzz"
    programs = given.build or TOP / "build" / preset / "fuzz"
    if not given.no_build:
        programs = build(preset, given.targets, max(given.jobs, 2))
    campaign = Campaign(given.work, programs.absolute(), given.seeds, given.nice)
    if given.coverage:
        print(campaign.coverage(given.targets or targets_in(programs)))
        return 0
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, lambda *_: campaign.stop.set())
    done = 0
    while (given.rounds == 0 or done < given.rounds) and not is_over(campaign, given.until):
        done += 1
        with concurrent.futures.ThreadPoolExecutor(given.jobs) as pool:
            turns = [target for target in campaign.least_first(given.targets or targets_in(programs)) if campaign.lacks(target, given.up_to) > 0]
            if not turns:
                break
            list(pool.map(lambda target: None if is_over(campaign, given.until) else campaign.fuzz(target, given.seconds, given.up_to), turns))
        print(f"round {done}\n{campaign.table()}", flush=True)
    return 1 if campaign.found else 0


if __name__ == "__main__":
    sys.exit(main())
