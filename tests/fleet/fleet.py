#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""A made fleet, from `vantorel fleet` into the engines that docs/fleet.md tells of, and its questions put to both.
    fleet.py COMMAND SOURCE_FOLDER BUILD_FOLDER"""
import json
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request

import reports

skipped = []
try:
    import jsonschema
except ImportError:
    skipped.append("python3-jsonschema")
if not shutil.which("clickhouse-server"):
    skipped.append("clickhouse-server")
if skipped:
    print(f"skipped: {', '.join(skipped)} not installed; scripts/setup --peers installs it")
    sys.exit(1 if os.environ.get("CI") == "true" else 77)

command, source, build = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
document = (source / "docs/fleet.md").read_text()
computers, days = 14, ("2026-01-10", "2026-01-19", "2026-02-03")
count = computers * len(days) - 2  # of reports: the last computer makes one on the first day, and none later


def run(*arguments, status=0, **more):
    done = subprocess.run(arguments, capture_output=True, text=True, **more)
    assert done.returncode == status, f"{arguments}: {done.returncode}: {done.stderr}"
    return done


def blocks(kind):
    """The SQL that the page shows of a kind."""
    return re.findall(rf"^```sql {kind}\n(.*?)^```", document, re.S | re.M)


def make(folder):
    """Computers 0 to 5 have a WDC whose damage grows, the others a sound one; the SSD of computer 3 wears."""
    template_path = folder / "template"
    run(command, "report", "--machine", source / "samples/machines/tower", "-o", template_path, status=8 | 16)
    template = reports.Template(template_path)
    for computer in range(computers):
        for i, day in enumerate(days if computer < computers - 1 else days[:1]):
            bad = computer < 6 and i > 0
            changes = {"wdc": ({5: 20 + 3 * i + computer if bad else 0, 196: 0, 197: 2 * i if bad else 0,
                                9: 9000 * (computer + 1) + 24 * i}, {}),
                       "intel": ({}, {233: 99 - (30 if computer == 3 else 0) * i})}
            place = folder / "reports" / day
            place.mkdir(parents=True, exist_ok=True)
            (place / f"{computer}.vantorel").write_bytes(template.report(computer, f"{day}T00:00:0{i}Z", changes))
    (folder / "reports" / "0-cut.vantorel").write_bytes(template_path.read_bytes()[:9000])
    (folder / "reports" / "no-report.txt").write_text("passed over")
    (folder / "reports" / "loop").symlink_to(folder / "reports")
    return folder / "reports"


def check_command(folder):
    """Gives the lines."""
    done = run(command, "fleet", "--json", folder, status=4)
    whole = json.loads(done.stdout)
    assert done.stderr.count("\n") == 1 and "0-cut.vantorel" in done.stderr, done.stderr
    assert whole["reports"] == count and len(whole["faults"]) == 1
    # Of each drive the latest report counts; the stick has no serial number, so every one does.
    assert whole["drives"] == {"failing": computers, "atRisk": 6, "watch": 0, "unknown": 0, "good": 3 * computers - 6,
                               "notRead": 0, "asleep": 0, "withoutSmart": count}, whole["drives"]
    assert [drive["standing"] for drive in whole["notGood"]] == ["failing"] * computers + ["atRisk"] * 6
    assert [drive["report"] for drive in whole["notGood"] if "2026-02-03" not in drive["report"]] == [
        f"{folder}/2026-01-10/{computers - 1}.vantorel"]
    assert [(model["model"], model["bad"], model["judged"]) for model in whole["unusual"]] == [
        ("Maxtor 96147H8", computers, computers)], whole["unusual"]
    text = " ".join(run(command, "fleet", folder, status=4).stdout.split())
    assert "40 reports, 96 drives: 14 failing, 6 at risk, 36 good, 40 without SMART; 1 fault of reports" in text, text
    lines = run(command, "fleet", "--ndjson", folder, status=4).stdout
    assert lines == run(command, "fleet", "--ndjson", folder, folder, folder / "2026-01-10", status=4).stdout, "the order"
    schema = json.loads((source / "schema/fleet-line.json").read_text())
    common = json.loads((source / "schema/common.json").read_text())
    resolver = jsonschema.RefResolver("", schema, store={"common.json": common})
    validator = jsonschema.Draft202012Validator(schema, resolver=resolver)
    parsed = [json.loads(line) for line in lines.splitlines()]
    assert len(parsed) == 5 * count
    for line in parsed:
        validator.validate(line)
        assert not set(line) - set(schema["properties"]), set(line) - set(schema["properties"])
    columns = set(schema["properties"]) - {"format"}
    for table in blocks("clickhouse") + blocks("duckdb"):
        named = set(re.findall(r"^    (?=\S)(?!\))(.*)$", table, re.M) and re.findall(r"(\w+):? (?:'|DateTime|String|Nullable|Array)", table))
        assert columns == named - {"format"}, columns ^ named
    assert run(command, "fleet", folder / "nowhere", status=1 | 4).stdout.startswith("0 reports, 0 drives")
    return lines


class ClickHouse:
    """A server of its own on the loopback, in a folder that goes with the test."""

    def __init__(self, folder):
        http, tcp = free_port(), free_port()
        self._address = f"http://127.0.0.1:{http}/?"
        (folder / "data").mkdir(parents=True)
        (folder / "config.xml").write_text(f"""<yandex>
<logger><level>error</level><log>{folder}/log</log><errorlog>{folder}/errors</errorlog></logger>
<http_port>{http}</http_port><tcp_port>{tcp}</tcp_port><listen_host>127.0.0.1</listen_host>
<path>{folder}/data/</path><tmp_path>{folder}/data/tmp/</tmp_path><users_config>users.xml</users_config>
<default_profile>default</default_profile><default_database>default</default_database>
<mark_cache_size>10000000</mark_cache_size>
<remote_servers><drives><shard><replica><host>127.0.0.1</host><port>{tcp}</port></replica></shard></drives></remote_servers>
</yandex>""")
        (folder / "users.xml").write_text("""<yandex><profiles><default/></profiles><quotas><default/></quotas>
<users><default><password/><networks><ip>127.0.0.1</ip></networks><profile>default</profile><quota>default</quota></default>
</users></yandex>""")
        self._server = subprocess.Popen(["clickhouse-server", f"--config-file={folder}/config.xml"],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def __enter__(self):
        end = time.monotonic() + 30
        while True:
            try:
                self.run("SELECT 1")
                return self
            except (urllib.error.URLError, ConnectionError):
                assert time.monotonic() < end and self._server.poll() is None, "clickhouse-server does not start"
                time.sleep(0.1)

    def __exit__(self, *ignored):
        self._server.kill()
        self._server.wait()

    def run(self, sql, data="", **settings):
        address = self._address + urllib.parse.urlencode({"query": sql, "user": "default", **settings})
        try:
            with urllib.request.urlopen(address, data.encode() or b"\n", timeout=30) as answer:
                return answer.read().decode()
        except urllib.error.HTTPError as error:
            raise AssertionError(f"{sql}\n{error.read().decode()}") from error

    def ask(self, sql):
        return [list(json.loads(line).values()) for line in
                self.run(sql + " FORMAT JSONEachRow", output_format_json_quote_64bit_integers=0).splitlines()]


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def duckdb_answers(lines, folder):
    """None where DuckDB cannot be had."""
    modules = build / "duckdb"
    if not (modules / "node_modules/@duckdb/node-api").is_dir():
        modules.mkdir(parents=True, exist_ok=True)
        (modules / "package.json").write_text('{"private": true}')
        if not shutil.which("npm") or subprocess.run(
                ["npm", "install", "--no-audit", "--no-fund", "--silent", "@duckdb/node-api@1.5.6-r.1"], cwd=modules).returncode:
            return None
    (folder / "fleet.ndjson").write_text(lines)
    done = run("node", source / "tests/fleet/questions.mjs", modules, cwd=folder,
               input=json.dumps({"setup": blocks("duckdb"), "questions": blocks("question")}))
    return json.loads(done.stdout)


def plain(rows):
    """Rows with one text for each value, whichever engine it came from."""
    def text(value):
        if value is None:
            return ""
        try:
            return f"{float(value):.6g}"
        except ValueError:
            return value
    return [[text(value) for value in row] for row in rows]


def check_answers(answers):
    hand, models, firmware, damage, wear, rules, ages, unseen = answers
    assert [row[0] for row in hand] == ["Maxtor 96147H8"] * computers + ["WDC WD5000AAKS-00TMA0"] * 6
    assert ["WDC WD5000AAKS-00TMA0", "14", "0", "6", "0"] in models
    assert ["WDC WD5000AAKS-00TMA0", "12.01C01", "14", "0.429"] in firmware
    assert ["WDC WD5000AAKS-00TMA0", "WD-WCAPW0000051", "3", "2"] in damage and len(damage) == 6
    assert [row[1] for row in wear] == ["CVEM0000030080DGN0"] and wear[0][2] == "61"
    assert rules[0][1:] == [str(count), str(computers)]
    assert len(ages) > 8 and sum(int(row[1]) for row in ages) == 3 * computers
    assert len(unseen) == 4 and ["SAMSUNG HD501LJ", "S0MUJ100013002", "2026-01-10 00:00:00"] in unseen


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        lines = check_command(make(folder))
        questions = blocks("question")
        with ClickHouse(folder / "clickhouse") as house:
            for table in blocks("clickhouse"):
                house.run(table)
            house.run("INSERT INTO drives FORMAT JSONEachRow", lines, date_time_input_format="best_effort",
                      input_format_skip_unknown_fields=1)
            answers = [plain(house.ask(question)) for question in questions]
            check_answers(answers)
            assert len(house.ask("SELECT DISTINCT partition FROM system.parts WHERE table = 'drives'")) == len(days)
            # Without ZooKeeper no table is replicated; that it was asked for says that all else was understood.
            for table in blocks("clickhouse replicated"):
                try:
                    house.run(table)
                    raise SystemExit("a replicated table without a ZooKeeper")
                except AssertionError as error:
                    assert "ZooKeeper" in str(error) or "macro" in str(error), error
            house.run("CREATE TABLE drives_local AS drives ENGINE = MergeTree PARTITION BY toDate(created) "
                      "ORDER BY (model, serial, created)")
            for table in blocks("clickhouse distributed"):
                house.run(table)
            house.run("INSERT INTO drives_all SELECT * FROM drives", insert_distributed_sync=1)
            assert [plain(house.ask(question.replace("FROM drives", "FROM drives_all"))) for question in questions] == answers
        others = duckdb_answers(lines, folder)
    if others is None:
        print("skipped: DuckDB, as npm cannot install @duckdb/node-api; ClickHouse has answered")
        sys.exit(1 if os.environ.get("CI") == "true" else 77)
    for question, one, other in zip(questions, answers, others):
        assert sorted(one) == sorted(plain(other)), f"{question}\nClickHouse {one}\nDuckDB {plain(other)}"


main()
