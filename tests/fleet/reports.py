#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Makes many reports out of one of the tower sample: computers of their own, at other times, with other SMART data.

    reports.py TEMPLATE COUNT FOLDER      one report each of COUNT computers, a hundred to a folder
"""
import gzip
import pathlib
import plistlib
import sys

# An attribute that only the SMART data sector of this drive has.
DRIVES = {"intel": 225, "samsung": 195, "maxtor": 96, "wdc": 193}


def attributes(sector):
    """Where the entry of each attribute lies in a sector."""
    return {sector[offset]: offset for offset in range(2, 362, 12) if sector[offset]}


def with_checksum(sector):
    return bytes(sector[:511]) + bytes([-sum(sector[:511]) & 0xFF])


def changed(sector, raws, values):
    sector = bytearray(sector)
    places = attributes(sector)
    for number, raw in raws.items():
        sector[places[number] + 5:places[number] + 11] = raw.to_bytes(6, "little")
    for number, value in values.items():
        sector[places[number] + 3:places[number] + 5] = bytes([value, value])
    return with_checksum(sector)


def swapped(data):
    return bytes(byte for pair in zip(data[1::2], data[::2]) for byte in pair)


class Template:
    def __init__(self, path):
        self._root = plistlib.loads(pathlib.Path(path).read_bytes())
        self._listing = next(i for i, value in enumerate(self._root["$objects"])
                             if isinstance(value, bytes) and value[:2] == b"\x1f\x8b")
        self._xml = gzip.decompress(self._root["$objects"][self._listing])

    def report(self, computer, created, changes=None, level=6):
        """The report of a computer of this number. `changes`: by drive, raw numbers and values of its attributes."""
        own = f"{computer:05d}".encode()

        def renamed(data):
            return data.replace(b"TOWER", own).replace(b"T0WER", own)

        objects = list(self._root["$objects"])
        left = dict(changes or {})
        for i, value in enumerate(objects):
            if isinstance(value, str) and value[4:5] == "-" and value.endswith("Z"):
                objects[i] = created
            elif isinstance(value, bytes) and len(value) == 512:
                drive = next((name for name, number in DRIVES.items() if number in attributes(value)), None)
                if drive in left:  # the data stand before the thresholds
                    objects[i] = changed(value, *left.pop(drive))
                elif not drive:  # identify data, whose texts have the bytes of each word swapped
                    objects[i] = swapped(renamed(swapped(value)))
        objects[self._listing] = gzip.compress(renamed(self._xml), level, mtime=0)
        return plistlib.dumps(dict(self._root, **{"$objects": objects}), fmt=plistlib.FMT_BINARY, sort_keys=False)


def main():
    template, count, folder = Template(sys.argv[1]), int(sys.argv[2]), pathlib.Path(sys.argv[3])
    for number in range(count):
        place = folder / f"{number // 100:03d}"
        place.mkdir(parents=True, exist_ok=True)
        created = f"2026-01-{number % 28 + 1:02d}T12:{number % 60:02d}:00Z"
        (place / f"{number:05d}.vantorel").write_bytes(template.report(number, created, level=1))


if __name__ == "__main__":
    main()
