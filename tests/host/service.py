#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""The watching service: a drive turns bad, settings are read again, commands hang, the end is quick.

    service.py COMMAND
"""
import json
import os
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PATIENCE = 60
# On a computer that has much else to do it is not this program that is slow.
MOMENT = 1 if os.getloadavg()[0] < os.cpu_count() + 1 else 5


def turned_bad(sector):
    """The SMART data sector of a disk that has replaced 60 sectors."""
    sector = bytearray(sector[:511])
    for slot in range(2, 362, 12):
        if sector[slot] == 5:
            struct.pack_into("<IH", sector, slot + 5, 60, 0)
    return bytes(sector) + bytes([-sum(sector) % 256])


class Service:
    """One run of the service, and what it tells its manager."""

    def __init__(self, command, folder, machine, *options, history="history.db", **environment):
        self._manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        path = folder / f"notify{time.monotonic_ns()}"
        self._manager.bind(str(path))
        self._manager.settimeout(PATIENCE)
        self.process = subprocess.Popen(
            [command, "watch", "--health", "--db", folder / history, "--machine", machine, *options],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            env=os.environ | {"NOTIFY_SOCKET": str(path)} | environment)

    def told(self, word):
        """Waits until the manager is told this."""
        while True:
            if word in self._manager.recv(4096).decode():
                return

    def end(self):
        """Asks it to end; gives what it printed."""
        began = time.monotonic()
        self.process.send_signal(signal.SIGTERM)
        output, _ = self.process.communicate(timeout=PATIENCE)
        assert time.monotonic() - began < MOMENT, "SIGTERM takes longer than a second"
        assert self.process.returncode == 0, output
        self.told("STOPPING=1")
        return output

    def memory(self, kind):
        """Resident, in KiB: VmRSS is all, RssAnon what is this process's own, whatever the compiler made of the code."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(next(line for line in status.splitlines() if line.startswith(kind)).split()[1])

    def wake_ups(self):
        """How often its threads have gone to sleep of their own will."""
        return sum(int(line.split()[1]) for status in pathlib.Path(f"/proc/{self.process.pid}/task").glob("*/status")
                   for line in status.read_text().splitlines() if line.startswith("voluntary"))


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, f"waited in vain: {what}"
        time.sleep(0.05)


class Machines:
    def __init__(self, folder):
        self.good = folder / "good"
        shutil.copytree(ROOT / "samples/machines/tower", self.good)
        self.bad = folder / "bad"
        shutil.copytree(self.good, self.bad)
        samsung = self.bad / "samsung-data.bin"
        samsung.write_bytes(turned_bad(samsung.read_bytes()))


def check_change(command, folder):
    """A drive turns bad between two runs: that is told once, to all who want to know, and not again."""
    machines = Machines(folder)
    told = folder / "told"
    options = ("--interval", "1s", "--on-change", f"cat >> '{told}'; echo . >> '{told}.calls'")
    service = Service(command, folder, machines.good, *options)
    service.told("READY=1")
    # What is bad from the beginning is news too: two of the tower's drives.
    calls = folder / "told.calls"
    until(lambda: calls.exists() and calls.read_text().count(".") == 2, "the first news")
    output = service.end()
    assert sorted(json.loads(line)["level"] for line in told.read_text().splitlines()) == ["atRisk", "failing"]
    assert output.count(" -> ") == 2 and "disk3, Maxtor 96147H8, serial N80T0WER: good -> failing: " in output, output

    def drive():
        history = subprocess.run([command, "history", "show", "--json", "S0MUJ1T0WER002", "--db", folder / "history.db"],
                                 capture_output=True, check=True)
        return json.loads(history.stdout)["drives"][0]

    before = drive()["count"]
    told.unlink()
    mailer = folder / "sendmail"
    mailer.write_text(f"#!/bin/sh\necho \"$*\" > '{folder}/mail'\ncat >> '{folder}/mail'\n")
    mailer.chmod(0o755)
    service = Service(command, folder, machines.bad, *options, "--mail", "root@here", "--json",
                      "--metrics", folder / "drives.prom", PATH=f"{folder}:{os.environ['PATH']}")
    until(lambda: told.exists() and told.read_text().endswith("\n"), "the news")
    until(lambda: (folder / "mail").exists() and "promises" in (folder / "mail").read_text(), "the mail")
    until(lambda: drive()["count"] >= before + 3, "two more readings, which change nothing")
    output = service.end()
    news = json.loads(told.read_text())  # one document
    assert json.loads(output) == news, output
    assert (news["event"], news["name"], news["serial"], news["lastLevel"], news["level"]) == \
        ("levelChanged", "disk2", "S0MUJ1T0WER002", "good", "atRisk")
    assert [reason["rule"] for reason in news["verdict"]["reasons"]] == ["hdd.reallocated.high"]
    assert news["verdict"]["comparison"]["damageGrew"] and "comparedTo" in news
    assert calls.read_text().count(".") == 3
    assert (folder / "mail").read_text().startswith("-t\nTo: root@here\nSubject: disk2: at risk\n")
    assert 'S0MUJ1T0WER002' in (folder / "drives.prom").read_text()
    assert len(drive()["growths"]) == 1, drive()


def check_settings(command, folder):
    """Settings are read again at SIGHUP; a mistake is told with its place, and what held goes on."""
    settings = folder / "watch.toml"
    told = folder / "reload"
    machines = Machines(folder)

    def refused(text):
        settings.write_text(text)
        run = subprocess.run([command, "watch", "--health", "--settings", settings, "--for", "0", "--machine", machines.good],
                             capture_output=True, text=True, check=False)
        assert run.returncode == 1, run
        return run.stderr.replace(str(settings), "FILE").strip()

    for text, fault in {
        'interval = "1s"\nintervall = "2h"\n': "vantorel: FILE: line 2: intervall: there is no such setting",
        "\ninterval = 30\n": "vantorel: FILE: line 2: interval: a text is wanted, between quotation marks",
        'interval = "soon"\n': 'vantorel: FILE: line 1: interval: a time is wanted, such as "30m"',
        'mail = "a\\nBcc: b"\n': "vantorel: FILE: mail: an address has no line ends",
    }.items():
        assert refused(text) == fault, refused(text)
    assert refused('interval = "1s"\nhistory = \n').startswith("vantorel: FILE: line 2: ")

    settings.write_text('interval = "1h"\n')
    service = Service(command, folder, machines.good, "--settings", settings)
    service.told("READY=1")
    settings.write_text("on_change = 7\n")
    service.process.send_signal(signal.SIGHUP)
    service.told("RELOADING=1")
    service.told("READY=1")
    settings.write_text(f'interval = "1s"\npatience = "1s"\non_change = "touch {told}; sleep 60"\n')
    service.process.send_signal(signal.SIGHUP)
    service.told("READY=1")
    output = service.end()
    assert "line 1: on_change: a text is wanted" in output and "the old settings are kept" in output, output
    assert "the settings were read again" in output, output


def check_hanging_command(command, folder):
    """A command that hangs is killed when its time is over, and at the end at once."""
    machines = Machines(folder)
    settings = folder / "watch.toml"
    settings.write_text('patience = "1s"\n')
    service = Service(command, folder, machines.good, "--interval", "1h", "--settings", settings,
                      "--on-change", f"echo $$ >> {folder}/pids; sleep 600")
    until(lambda: (folder / "pids").exists() and len((folder / "pids").read_text().split()) == 2, "the second command")
    output = service.end()
    assert "the command for changes: it took more than 1 s and was killed" in output, output
    for process in map(int, (folder / "pids").read_text().split()):
        until(lambda: not pathlib.Path(f"/proc/{process}").exists() or
              pathlib.Path(f"/proc/{process}/stat").read_text().split()[2] == "Z", "the command is gone")


def check_rest(command, folder):
    """Between readings the service needs little memory and wakes for nothing but its sign of life."""
    service = Service(command, folder, Machines(folder).good, "--interval", "1h", WATCHDOG_USEC="2000000")
    service.told("READY=1")
    service.told("WATCHDOG=1")
    time.sleep(1)
    before = service.wake_ups()
    time.sleep(4)
    woken = service.wake_ups() - before
    memory, own = service.memory("VmRSS"), service.memory("RssAnon")
    service.end()
    print(f"at rest: {memory} KiB resident, {own} of them its own; woken {woken} times in 4 s with a sign of life a second")
    assert woken <= 6, woken
    assert own < 3 * 1024 or "asan" in command, own


def check_missing_history(command, folder):
    """A history that cannot be used is told once, and changes are told without it."""
    machines = Machines(folder)
    service = Service(command, folder, machines.good, "--interval", "1s", "--on-change", f"echo >> {folder}/told",
                      history="gone/history.db")
    until(lambda: (folder / "told").exists() and len((folder / "told").read_text()) == 2, "the news")
    time.sleep(2)
    output = service.end()
    assert output.count("history: ") == 1 and output.count(" -> ") == 2, output


def main():
    command = os.path.abspath(sys.argv[1])
    for check in (check_change, check_settings, check_hanging_command, check_missing_history, check_rest):
        with tempfile.TemporaryDirectory(prefix="vantorel-service-") as folder:
            check(command, pathlib.Path(folder))
        print(f"{check.__name__}: right")


if __name__ == "__main__":
    main()
