#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Holds the manual pages against the command: every verb and option that it knows is told, and no other.

    manual.py COMMAND
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = sorted((ROOT / "docs" / "man").glob("*.scd"))
COMMAND = os.path.abspath(sys.argv[1])


def completed(*words):
    run = subprocess.run([COMMAND, "--complete", *words], capture_output=True, text=True, check=True)
    return [line.split("\t")[0] for line in run.stdout.splitlines()]


def verbs(words=()):
    under = completed("help", *words, "")
    return [verb for name in under for verb in verbs((*words, name))] if under else [" ".join(words)]


def options(text):
    return set(re.findall(r"\*(--[a-z-]+)\*", text))


def check_verbs(page):
    """A verb has a paragraph that begins with it and shows all its options; what it does stands under that."""
    of_all = set(completed("--"))
    head = page[page.index("# OPTIONS"):page.index("# READING DRIVES")]
    for option in sorted(of_all - options(head)):
        yield f"vantorel(1) does not tell {option}"
    told = dict(re.findall(r"^\*([a-z][a-z ]*)\*((?: .*)?)\n\t\S", page, re.MULTILINE))
    for verb in verbs():
        known = set(completed(*verb.split(), "--")) - of_all
        shown = options(told.get(verb, ""))
        if verb not in told:
            yield f"vantorel(1) does not tell the verb {verb}"
        elif known != shown:
            yield f"vantorel(1) shows {sorted(shown)} of {verb}, which knows {sorted(known)}"
    for verb in sorted(told.keys() - set(verbs())):
        yield f"vantorel(1) tells a verb {verb}, which the command does not know"


def check_schemas(page):
    there = {path.name for path in (ROOT / "schema").glob("*.json")}
    told = set(re.findall(r"^_([a-z-]+\.json)_$", page, re.MULTILINE)) | {"common.json"}
    if there != told:
        yield f"vantorel-json(5) and schema/ differ in {sorted(there ^ told)}"


def check_form(path):
    man = subprocess.run("scdoc", stdin=path.open(), capture_output=True, check=False)
    yield from man.stderr.decode().splitlines()
    lint = subprocess.run(["mandoc", "-Tlint", "-Wwarning"], input=man.stdout, capture_output=True, check=False)
    # scdoc puts a paragraph between any two things.
    yield from (f"{path.name}: {line}" for line in lint.stdout.decode().splitlines()
                if "skipping paragraph macro: PP" not in line)


def main():
    for tool in ("scdoc", "mandoc"):
        if not shutil.which(tool):
            print(f"skipped: {tool} is not installed; scripts/setup --peers installs it")
            sys.exit(1 if os.environ.get("CI") == "true" else 77)
    texts = {path.name: path.read_text() for path in PAGES}
    faults = [*check_verbs(texts["vantorel.1.scd"]), *check_schemas(texts["vantorel-json.5.scd"])]
    faults += [fault for path in PAGES for fault in check_form(path)]
    print("\n".join(faults))
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
