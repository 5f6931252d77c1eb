# SPDX-License-Identifier: GPL-2.0-or-later
"""Machines and files on which runs go wrong in every way there is."""
import json
import random
import shutil
import struct
import subprocess


def noise(size):
    return random.Random(size).randbytes(size)


def changed_sector(path, values):
    """The SMART data sector of a file with other raw numbers, by attribute, and the right sum."""
    sector = bytearray(path.read_bytes()[:511])
    for slot in range(2, 2 + 30 * 12, 12):
        if sector[slot] in values:
            struct.pack_into("<Q", sector, slot + 5, values[sector[slot]] | sector[slot + 11] << 48)
    return bytes(sector) + bytes([-sum(sector) % 256])


def error_log():
    """Two entries of an NVMe drive's log of errors, the newest first."""
    entries = [struct.pack("<QHHH", 7, 2, 0x1234, 0x4004), struct.pack("<QHHH", 6, 0, 0x0010, 0x0502)]
    return b"".join(entry.ljust(64, b"\0") for entry in entries).ljust(4096, b"\0")


class Machines:
    """Makes all of them in a folder; `paths` has the path of each under its name."""

    def __init__(self, command, root, folder):
        self._folder = folder
        samples = root / "samples" / "machines"
        self.paths = {"tower": samples / "tower", "laptop": samples / "laptop", "missing": folder / "missing",
                      "history.db": folder / "history.db", "watched.db": folder / "watched.db"}
        self._make_sick()
        self._make_lively()
        self._write("bare.json", b'{"registry": {"IORegistryEntryName": "Root"}}')
        self._write("faulty.json", b'{"registry": {}, "volumes": [{"kind": "hfs"}], "drives": [{"disk": "disk9"}]}')
        self._write("noise", noise(4096))
        self._write("text", b"no report, and no sector either\n")
        warm = (root / "tests" / "data" / "fleet" / "HGST_HUS726020ALE614-sda.bin").read_bytes()
        self._write("warm-data.bin", warm[:512])
        self._write("warm-thresholds.bin", warm[512:])
        self._make_reports(command)

    def _write(self, name, content):
        self.paths[name] = self._folder / name
        self.paths[name].write_bytes(content)

    def _derive(self, sample, name, change=lambda machine: None, files=None):
        path = self._folder / name
        shutil.copytree(self.paths[sample], path)
        machine = json.loads((path / "machine.json").read_text())
        change(machine)
        (path / "machine.json").write_text(json.dumps(machine))
        for file, content in (files or {}).items():
            (path / file).write_bytes(content)
        self.paths[name] = path

    def _make_sick(self):
        def ward(machine):
            failures = [{"data": "kIOReturnTimeout"}, {"open": "kIOReturnNotPermitted"}, {"open": "kIOReturnNotReady"}]
            for drive, failure in zip(machine["drives"], failures):
                drive["ata"]["failures"] = failure

        self._derive("tower", "ward", ward, {"maxtor-data.bin": noise(512), "maxtor-thresholds.bin": noise(511)})
        for name, failures in {
            "slow": {"log": "kIOReturnTimeout", "errorLog": "kIOReturnTimeout"},
            "denied": {"open": "kIOReturnNotPermitted"},
            "asleep": {"open": "kIOReturnNotReady"},
        }.items():
            self._derive("laptop", name, lambda machine, told=failures: machine["drives"][0]["nvme"].update(failures=told))
        self._derive("laptop", "noisy", files={"nvme-log.bin": noise(512), "nvme-errors.bin": error_log()})
        worn = {"wdc-data.bin": changed_sector(self.paths["tower"] / "wdc-data.bin", {5: 600, 9: 39000, 197: 900}),
                "samsung-data.bin": b"\xff" * 512}
        self._derive("tower", "worn", lambda machine: machine["drives"].pop(), worn)

    def _make_lively(self):
        """A machine whose disks come and go, with a comment wherever there may be one."""
        def change(machine):
            machine["events"] = [
                {"at": 1.0, "change": "disk6s1", "properties": {"Size": 1000, "Note": None}},
                {"at": 1.2, "remove": "disk6", "comment": "pulled out"},
                {"at": 1.4, "volume": {"disk": "disk3s2", "kind": "hfs", "mountPoints": ["/Volumes/A", "/Volumes/B"]}},
                {"at": 1.6, "arrive": [{"id": 999001, "name": "New", "class": "IOMedia", "inheritance": ["IOMedia"],
                                         "properties": {"BSD Name": "disk9", "Size": 4096, "Whole": True},
                                         "comment": "put in"}]},
            ]
            machine["drives"][0]["ata"] |= {"comment": "", "logs": {"0x06": {"base64": "AAAA"}}}
            machine["drives"][0]["comment"] = machine["volumes"][0]["comment"] = ["of", "any", "kind"]

        self._derive("tower", "lively", change)

    def _make_reports(self, command):
        for name in [name for name, path in self.paths.items() if path.is_dir()]:
            report = self._folder / f"{name}.vantorel"
            subprocess.run([command, "report", "-o", report, "--machine", self.paths[name]], stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, check=False)
            self.paths[report.name] = report
        tower = self.paths["tower.vantorel"].read_bytes()
        laptop = self.paths["laptop.vantorel"].read_bytes()
        listing = tower.index(b"\x1f\x8b\x08") + 1000
        self._write("torn.vantorel", tower[:listing] + noise(1000) + tower[listing + 1000:])
        self._write("cut.vantorel", tower[:len(tower) // 2])
        # Values that this version would decode otherwise; sectors that are too short.
        self._write("renamed.vantorel", tower.replace(b"Power Cycle Count", b"Power Cycle Sum  "))
        self._write("dropped.vantorel", laptop.replace(b"Power Cycles", b"Power cycles"))
        self._write("short.vantorel", tower.replace(b"\x4f\x11\x02\x00", b"\x4f\x11\x01\xff"))
