#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Holds every word that the verbs print, for people, as JSON and as a page, against tests/data/golden/texts, a file a verb.

    texts.py [--renew] COMMAND

--renew writes the files anew. What differs from run to run, such as times and paths, stands in them by its name.
"""
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

from golden import ROOT, compare
from machines import Machines

MACHINES = ("tower", "laptop", "ward", "slow", "denied", "asleep", "noisy", "worn", "bare.json")
SAMPLES = ("tower", "laptop")
REPORTS = ("tower", "laptop", "ward", "slow", "renamed", "dropped", "short", "torn")

# {NAME} is the path of a machine or file that machines.py makes.
CASES = [
    *(f"check --machine {{{machine}}}" for machine in MACHINES),
    *(f"check --json --machine {{{machine}}}" for machine in SAMPLES),
    "check disk1 disk6 nowhere --machine {tower}",
    "check --html --machine {laptop}",
    *(f"smart --machine {{{machine}}}" for machine in ("laptop", "ward", "noisy", "worn")),
    "smart disk3 disk1s2 --machine {tower}",
    *(f"list --machine {{{machine}}}" for machine in (*SAMPLES, "bare.json", "tower.vantorel")),
    *(f"list --json --machine {{{machine}}}" for machine in SAMPLES),
    *(f"stats --machine {{{machine}}}" for machine in SAMPLES),
    "stats --json disk3 --machine {tower}",
    *(f"errors disk0 --machine {{{machine}}}" for machine in ("tower", "laptop", "slow", "denied", "noisy")),
    "errors --json disk0 --machine {noisy}",
    "watch --count 25 --for 20 --machine {lively}",
    *(f"history add --machine {{{machine}}} --db {{history.db}}" for machine in ("tower", "laptop", "worn")),
    "history show --db {history.db}",
    "history acknowledge disk1 hdd.moves.high --machine {tower} --db {history.db}",
    "history acknowledge disk1 nonsense --machine {tower} --db {history.db}",
    "history show disk1 --machine {tower} --db {history.db}",
    "check --machine {worn} --db {history.db}",
    "check --machine {tower} --db {history.db}",
    "history import {tower.vantorel} {noise} --db {history.db}",
    "history prune --older-than 0s --db {history.db}",
    "history prune --older-than 5 --db {history.db}",
    "history show --db {noise}",
    *(f"show {{{report}.vantorel}}" for report in REPORTS),
    "show --json {laptop.vantorel}",
    "show --html {tower.vantorel} {worn.vantorel}",
    *(f"diff {{tower.vantorel}} {{{report}.vantorel}}" for report in ("tower", "laptop", "ward", "worn")),
    "diff {worn.vantorel} {tower.vantorel}",
    "diff --json {tower.vantorel} {worn.vantorel}",
    "decode ata {tower}/wdc-data.bin {tower}/wdc-thresholds.bin --model 'WDC WD5000AAKS-00TMA0'",
    "decode ata {tower}/intel-data.bin {tower}/intel-thresholds.bin --model X --ssd",
    "decode ata {noise} {noise} --model X",
    "decode nvme {laptop}/nvme-log.bin --identify {laptop}/nvme-identify.bin",
    "decode nvme {noise}",
    "db show 'ST3000DM001-1CH166' CC24",
    "db show ST31000340AS SD15",
    "db show 'no such drive'",
    "db search 'raptor'",
    "machine check",
    "show",
    "diff {tower.vantorel}",
    "decode ata",
    *(f"machine check {{{machine}}}" for machine in ("tower", "lively", "faulty.json", "noise", "missing")),
]

VARYING = [
    (r"(?s)<style>.*?</style>", "STYLE"),
    (r"(?s)(<pre [^>]*>)[^<]*", r"\1DUMP"),
    (r'(?s)<svg class="chart".*?</svg>', "CHART"),
    (r"sha256-[\w+/=]+", "SHA256"),
    (r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z", "TIME"),
    (r"\d{4}-\d\d-\d\d \d\d:\d\d(:\d\d)?( UTC)?", "TIME"),
    (r"(?m)^\d\d:\d\d:\d\d ", "TIME     "),
    (r"\b\d+\.\d+\.\d+\b", "VERSION"),
]


class Texts:
    def __init__(self, command, folder):
        self._command = command
        self._paths = Machines(command, ROOT, folder).paths
        system = os.uname()
        self._varying = [(re.escape(f"{system.sysname} {system.release}"), "SYSTEM"), (rf"\b{system.machine}\b", "MACHINE")]

    def of(self, case):
        """The lines of one run: the command line, the exit status, standard output and standard error."""
        words = [re.sub(r"{([^}]+)}", lambda name: str(self._paths[name[1]]), word) for word in shlex.split(case)]
        run = subprocess.run([self._command, *words], capture_output=True, stdin=subprocess.DEVNULL, check=False,
                             timeout=60, env=os.environ | {"LC_ALL": "C.UTF-8", "TZ": "UTC", "COLUMNS": "80"})
        output = run.stdout.decode()
        if "--json" in words:
            output = json.dumps(json.loads(output), indent=1, ensure_ascii=False) + "\n"
        if "--html" in words:
            output = re.sub(r"(?=<(article|section|table|tr|h\d|p|dl|svg|details)\b)", "\n", output)
        text = output + "".join("! " + line + "\n" for line in run.stderr.decode().splitlines())
        for name, path in sorted(self._paths.items(), key=lambda pair: -len(str(pair[1]))):
            text = text.replace(str(path), "{" + name + "}")
        for pattern, name in self._varying + VARYING:
            text = re.sub(pattern, name, text)
        return [f"$ vantorel {case}", *text.splitlines(), f"({run.returncode})", ""]


def main():
    renew = sys.argv[1:2] == ["--renew"]
    seen = {}
    with tempfile.TemporaryDirectory(prefix="vantorel-texts-") as folder:
        texts = Texts(os.path.abspath(sys.argv[-1]), pathlib.Path(folder))
        for case in CASES:
            seen.setdefault(case.split()[0], []).extend(texts.of(case))
    faults = [fault for verb, lines in seen.items() for fault in compare(f"texts/{verb}.txt", lines, renew)]
    print("\n".join(faults))
    print(f"{len(CASES)} runs, {len(faults)} files are others")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
