#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Holds what the command prints as JSON against schema/, and the shape of every document against tests/data/golden.

    contract.py [--renew] COMMAND

--renew writes the golden files anew. A schema lets keys be added; this test does not: every key of a document must be
named in it, in the order told, and every key that it names must be seen and told in docs/.
"""
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

try:
    import jsonschema  # noqa: F401
except ImportError:
    print("skipped: python3-jsonschema is not installed; scripts/setup --peers installs it")
    sys.exit(1 if os.environ.get("CI") == "true" else 77)

import cases
from golden import ROOT, compare
from machines import Machines
from schemas import Real, Schemas
from shape import Shape


def unique(pairs):
    """An object, which must not have a key twice."""
    if len(dict(pairs)) < len(pairs):
        raise ValueError(f"a key stands twice among {[key for key, _ in pairs]}")
    return dict(pairs)


class Contract:
    def __init__(self, command, folder):
        self._command = command
        self._paths = Machines(command, ROOT, folder).paths
        self._schemas = Schemas(ROOT / "schema")
        self.shapes = {}
        self.log = []
        self.faults = []

    def check(self):
        for name, line in cases.CASES:
            self._run(name, line)
        for name, file in cases.FILES:
            text = pathlib.Path(self._filled(file)).read_text()
            self._take(name, json.loads(text, parse_float=Real), file)
        self._check_coverage()

    def _fault(self, what, why):
        self.faults.append(f"{what}: {why}")

    def _filled(self, text):
        return re.sub(r"{([^}]+)}", lambda name: str(self._paths[name[1]]), text)

    def _run(self, name, line):
        arguments = [self._filled(word) for word in shlex.split(line)]
        run = subprocess.run([self._command, *arguments], capture_output=True, stdin=subprocess.DEVNULL, check=False,
                             timeout=60, env=os.environ | {"LC_ALL": "de_DE.UTF-8"})
        messages = run.stderr.decode()
        documents = self._documents(run.stdout.decode(), line)
        failed = run.returncode == 1 and [list(document) for document in documents] == [["format", "error"]]
        self.log.append(f"{run.returncode:3}  {'error' if failed else name:13}  {line}")
        if run.returncode < 0 or len(documents) != 1 and name not in cases.STREAMS:
            self._fault(line, f"status {run.returncode}, {len(documents)} documents, {messages}")
        if failed and f"vantorel: {documents[0]['error']}" not in messages:
            self._fault(line, f"standard error tells another error: {messages}")
        # Drives are told as they answer, and a shape goes by what it sees first.
        for document in sorted(documents, key=lambda each: each.get("name", "")):
            self._take("error" if failed else name, document, line)
            if document.get("status", run.returncode) != run.returncode:
                self._fault(line, f"ends with {run.returncode}, and the document tells another status")

    def _documents(self, text, line):
        """One JSON value behind the other, each with its line end."""
        decoder = json.JSONDecoder(parse_float=Real, object_pairs_hook=unique)
        documents = []
        while text:
            try:
                document, end = decoder.raw_decode(text)
            except ValueError as error:
                self._fault(line, f"{error} in {text[:200]}")
                break
            if text[end:end + 1] != "\n":
                self._fault(line, "a document without its line end")
            documents.append(document)
            text = text[end + 1:]
        return documents

    def _take(self, name, document, what):
        for why in self._schemas.faults(name, document)[:5]:
            self._fault(what, why)
        self.shapes.setdefault(name, Shape()).add(document)

    def _verbs(self, verb=()):
        """All verbs that print JSON, as the command's own help knows them."""
        under = self._completed("help", *verb, "")
        for name in under:
            yield from self._verbs((*verb, name))
        if not under and "--json" in self._completed(*verb, "--"):
            yield " ".join(verb)

    def _completed(self, *words):
        run = subprocess.run([self._command, "--complete", *words], capture_output=True, text=True, check=True)
        return [line.split("\t")[0] for line in run.stdout.splitlines()]

    def _check_coverage(self):
        for verb in self._verbs():
            if not any(line.startswith(f"{verb} --json") for _, line in cases.CASES):
                self._fault(verb, "no case runs it with --json")
        for name in sorted(self._schemas.names() - self.shapes.keys()):
            self._fault(f"schema/{name}.json", "no case prints this document")
        keys = set(self._schemas.keys())
        unseen = keys - self._schemas.seen
        for key in sorted(unseen - cases.UNSEEN.keys()):
            self._fault(key, "no case shows this key")
        for key in sorted(cases.UNSEEN.keys() - unseen):
            self._fault(key, "is listed as unseen and is there")
        docs = "".join((ROOT / "docs" / file).read_text() for file in ("json.md", "recorded-machine.md"))
        told = set(re.findall(r"[`\"](\w+)[`\"]", docs))
        for key in sorted(key for key in keys if key.split()[1] not in told):
            self._fault(key, "is told neither in docs/json.md nor in docs/recorded-machine.md")


def main():
    renew = sys.argv[1:2] == ["--renew"]
    with tempfile.TemporaryDirectory(prefix="vantorel-contract-") as folder:
        contract = Contract(os.path.abspath(sys.argv[-1]), pathlib.Path(folder))
        contract.check()
    faults = contract.faults
    # Keys that never stand together come in the order of the runs; the order that is promised is the schema's.
    for name, shape in sorted(contract.shapes.items()):
        faults += compare(f"{name}.txt", list(shape.lines()), renew, ordered=False)
    faults += compare("runs.txt", contract.log, renew)
    print("\n".join(faults))
    print(f"{len(contract.log)} runs, {len(contract.shapes)} documents, {len(faults)} faults")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
