#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Holds what the command tells of the computer that it runs on against schema/: no sample has all that there may be.

    own.py COMMAND
"""
import json
import os
import subprocess
import sys
import tempfile

try:
    import jsonschema  # noqa: F401
    from prometheus_client.openmetrics.parser import text_string_to_metric_families
except ImportError as error:
    print(f"skipped: {error}; scripts/setup --peers installs it")
    sys.exit(1 if os.environ.get("CI") == "true" else 77)

from golden import ROOT
from schemas import Real, Schemas

# Document, command line; None has no document and leaves a file to those behind it.
CASES = [
    ("list", "list --json"),
    ("smart", "smart --json --raw"),
    ("smart", "check --json"),
    ("stats", "stats --json --interval 0.01 --count 2"),
    ("watch", "watch --json --for 0"),
    ("history-add", "history add --json --db history.db"),
    ("history-show", "history show --json --db history.db"),
    ("machine", "record -"),
    (None, "record own"),
    ("machine-check", "machine check --json own"),
    ("list", "list --json --machine own"),
    (None, "report -o own.vantorel"),
    ("show", "show --json --raw own.vantorel"),
    ("diff", "diff --json own.vantorel own.vantorel"),
    ("fleet", "fleet --json own.vantorel"),
    ("fleet-line", "fleet --ndjson own.vantorel"),
]


def documents(text):
    decoder = json.JSONDecoder(parse_float=Real)
    while text:
        document, end = decoder.raw_decode(text)
        yield document
        text = text[end:].lstrip()


def main():
    command = os.path.abspath(sys.argv[1])
    schemas = Schemas(ROOT / "schema")
    faults = []
    seen = 0
    with tempfile.TemporaryDirectory(prefix="vantorel-own-") as folder:

        def run(line):
            done = subprocess.run([command, *line.split()], capture_output=True, text=True, timeout=60, check=False,
                                  cwd=folder, stdin=subprocess.DEVNULL)
            if done.returncode < 0 or done.returncode & 1:  # the other bits tell of the drives
                faults.append(f"{line}: status {done.returncode}, {done.stderr}")
            return done.stdout

        for name, line in CASES:
            output = run(line)
            for document in documents(output if name else ""):
                seen += 1
                faults += [f"{line}: {why}" for why in schemas.faults(name, document)[:5]]
        families = {family.name for family in text_string_to_metric_families(run("metrics"))}
        if "vantorel_build" not in families:
            faults.append(f"metrics: {families}")
    print("\n".join(faults))
    print(f"{seen} documents, {len(families)} families of metrics, {len(faults)} faults")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
