#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Metrics of a tower whose drive turns bad, from the command over node_exporter and a Prometheus server to the alert.
All of them run on ports of their own on the loopback, in a folder that goes with the test.
  prometheus.py COMMAND SOURCE_FOLDER"""
import http.client
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

missing = [program for program in ("promtool", "prometheus", "prometheus-node-exporter") if not shutil.which(program)]
try:
    from prometheus_client.openmetrics.parser import text_string_to_metric_families
except ImportError:
    missing.append("python3-prometheus-client")
if missing:
    print(f"skipped: {', '.join(missing)} not installed; scripts/setup --peers installs it")
    sys.exit(1 if os.environ.get("CI") == "true" else 77)

command, source = sys.argv[1], pathlib.Path(sys.argv[2])
contrib = source / "contrib/prometheus"
hostile_model = 'a"b\\c{d="e"} é'


def run(*arguments, **more):
    return subprocess.run(arguments, check=True, capture_output=True, text=True, **more).stdout


def wait_for(what, condition, seconds=20):
    end = time.monotonic() + seconds
    while not (found := condition()):
        assert time.monotonic() < end, f"{what}: not within {seconds} s"
        time.sleep(0.1)
    return found


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def ask(address):
    try:
        with urllib.request.urlopen(address, timeout=5) as answer:
            return answer.read().decode()
    except (urllib.error.URLError, http.client.HTTPException, ConnectionError):
        return None


def tower(folder):
    """A copy of the sample whose stick has a name that is no friend of quotes."""
    shutil.copytree(source / "samples/machines/tower", folder)
    listing = folder / "ioreg.plist"
    text = listing.read_text().replace("Cruzer Glide", hostile_model.replace('"', "&quot;"))
    listing.write_text(text)
    return folder


def turn_bad(machine):
    """The Samsung answers from now on that it is failing."""
    facts = json.loads((machine / "machine.json").read_text())
    next(drive for drive in facts["drives"] if drive["disk"] == "disk2")["ata"]["exceeded"] = True
    (machine / "machine.json").write_text(json.dumps(facts))


def samples(families):
    return {(sample.name, tuple(sorted(sample.labels.items()))): sample.value
            for family in families for sample in family.samples}


def check_formats(machine, folder):
    """Both formats are valid and hold the same samples. Gives the names of all metrics."""
    prom = folder / "formats.prom"
    run(command, "metrics", "--machine", machine, "-o", prom)
    text = prom.read_text()
    run("promtool", "check", "metrics", input=text)
    open_text = run(command, "metrics", "--machine", machine)
    families = list(text_string_to_metric_families(open_text))  # strict, other than that of the older format
    assert {family.type for family in families} == {"info", "gauge", "counter"}
    values = {key: value for key, value in samples(families).items() if "last_read" not in key[0]}
    lines = {line for line in text.splitlines() if not line.startswith("#") and "last_read" not in line}
    assert lines == {line for line in open_text.splitlines() if not line.startswith("#") and "last_read" not in line}
    identity = (("device", "disk1"), ("model", "WDC WD5000AAKS-00TMA0"), ("serial", "WD-WCAPW0TOWER1"))
    assert values["vantorel_drive_pending_sectors", identity] == 529
    assert values["vantorel_drive_power_on_seconds_total", identity] == 14992 * 3600
    return {name for name, _ in samples(families)}


def check_queries(known):
    """What the alerts and the dashboard ask for is what there is."""
    everything = known | {"vantorel_drive_media_errors_total"}  # the tower has no NVMe drive
    for name in ("vantorel.rules.yml", "vantorel.dashboard.json"):
        asked = set(re.findall(r"vantorel_\w+", re.sub(r"#.*", "", (contrib / name).read_text())))
        assert asked <= everything, f"{name} asks for {asked - everything}"
        assert len(asked) > 5
    told = set(re.findall(r"`(vantorel_\w+)`", (source / "docs/metrics.md").read_text()))
    assert everything <= told, f"docs/metrics.md lacks {everything - told}"
    dashboard = json.loads((contrib / "vantorel.dashboard.json").read_text())
    ids = [panel["id"] for panel in dashboard["panels"]]
    assert len(set(ids)) == len(ids) and all(target["expr"] for panel in dashboard["panels"] for target in panel["targets"])
    return [target["expr"].replace('"$instance"', '".*"').replace("$__rate_interval", "1m")
            for panel in dashboard["panels"] for target in panel["targets"]]


def configure(folder, exporter):
    path = folder / "prometheus.yml"
    path.write_text(f"""
global: {{scrape_interval: 300ms, scrape_timeout: 300ms, evaluation_interval: 300ms}}
rule_files: ['{contrib}/vantorel.rules.yml']
scrape_configs: [{{job_name: drives, static_configs: [{{targets: ['127.0.0.1:{exporter}']}}]}}]
""")
    run("promtool", "check", "config", path)
    return path


def check_alert(machine, folder, queries, start):
    textfiles = folder / "textfiles"
    textfiles.mkdir()

    def collect():
        run(command, "metrics", "--machine", machine, "-o", textfiles / "vantorel.prom", umask=0o077)

    collect()
    assert (textfiles / "vantorel.prom").stat().st_mode & 0o777 == 0o644
    exporter, server = free_port(), free_port()
    start("prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
          f"--collector.textfile.directory={textfiles}", f"--web.listen-address=127.0.0.1:{exporter}")
    start("prometheus", f"--config.file={configure(folder, exporter)}", f"--storage.tsdb.path={folder}/tsdb",
          f"--web.listen-address=127.0.0.1:{server}")
    wait_for("node_exporter", lambda: "node_textfile_scrape_error 0" in (ask(f"http://127.0.0.1:{exporter}/metrics") or ""))

    def query(expression):
        answer = ask(f"http://127.0.0.1:{server}/api/v1/query?" + urllib.parse.urlencode({"query": expression}))
        return json.loads(answer)["data"]["result"] if answer else None

    def firing():
        found = query('ALERTS{alertstate="firing"}')
        return found and {(a["metric"]["alertname"], a["metric"]["device"], a["metric"]["serial"]) for a in found}

    before = {("VantorelDriveAtRisk", "disk1", "WD-WCAPW0TOWER1"), ("VantorelDriveFailing", "disk3", "N80T0WER")}
    wait_for("the alerts of the drives that are bad already", lambda: firing() == before)
    stick = query('vantorel_drive_info{device="disk6"}')
    assert stick[0]["metric"]["model"] == hostile_model, stick
    turn_bad(machine)
    collect()
    wait_for("the alert", lambda: firing() == before | {("VantorelDriveFailing", "disk2", "S0MUJ1T0WER002")})
    assert [r["metric"]["rule"] for r in query('vantorel_drive_reason{device="disk2"}')] == ["drive.says-failing-unexplained"]
    for expression in queries:
        assert query(expression) is not None, expression


def main():
    os.environ["LC_ALL"] = "C.UTF-8"
    running = []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        log = open(folder / "log", "w")
        try:
            run("promtool", "check", "rules", contrib / "vantorel.rules.yml")
            run("promtool", "test", "rules", contrib / "vantorel.rules.test.yml")
            machine = tower(folder / "tower")
            queries = check_queries(check_formats(machine, folder))
            check_alert(machine, folder, queries, lambda *line: running.append(subprocess.Popen(line, stdout=log, stderr=log)))
        finally:
            for process in running:
                process.kill()
                process.wait()


main()
