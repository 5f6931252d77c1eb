# SPDX-License-Identifier: GPL-2.0-or-later
"""What the library has found out, as values. Each keeps the JSON object that it was made of in `document`, which
docs/json.md tells key by key."""
from __future__ import annotations

import enum
from collections.abc import Iterator, Sequence
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any, Optional, Union, overload

if TYPE_CHECKING:
    import pandas

Document = dict[str, Any]


class Level(str, enum.Enum):
    """What a verdict makes of a drive."""

    GOOD = "good"
    WATCH = "watch"  #: worth a look now and then
    AT_RISK = "atRisk"  #: replace it in time
    FAILING = "failing"  #: save the data now
    UNKNOWN = "unknown"  #: nothing can be said

    def __str__(self) -> str:
        return "FAILING" if self is Level.FAILING else "at risk" if self is Level.AT_RISK else self.value


class State(str, enum.Enum):
    """What came of reading a drive."""

    READ = "read"
    ASLEEP = "asleep"  #: it sleeps and was left asleep
    NO_SMART = "noSmart"  #: it has no SMART data
    NOT_OPENED = "notOpened"  #: it refused, or may not be opened
    FAILED = "failed"  #: it was opened, and gave nothing that can be used
    NO_DRIVE = "noDrive"  #: there is no drive of that name

    def __str__(self) -> str:
        return {"noSmart": "without SMART", "noDrive": "no drive", "asleep": "asleep"}.get(self.value, "not read")


@dataclass(frozen=True)
class Reason:
    """One thing that a rule found."""

    rule: str  #: the rule's id, which stays
    level: Level
    sentence: str
    document: Document = field(repr=False, compare=False)


@dataclass(frozen=True)
class Verdict:
    """What is to be thought of a drive, and why."""

    level: Level
    reasons: tuple[Reason, ...]  #: the gravest first, never empty
    doubtful: bool  #: the sector's checksum is wrong
    temperature: Optional[float]  #: degrees Celsius
    power_on_hours: Optional[float]
    wear: Optional[float]  #: percent of the rated life used
    document: Document = field(repr=False, compare=False)

    @classmethod
    def of(cls, document: Document) -> Verdict:
        reasons = tuple(Reason(reason["rule"], Level(reason["level"]), reason["sentence"], reason)
                        for reason in document["reasons"])
        return cls(Level(document["level"]), reasons, document["doubtful"], _number(document.get("temperature")),
                   _hours(document.get("powerOnTime")), _number(document.get("wear")), document)

    def __str__(self) -> str:
        return "\n".join([str(self.level), *("  - " + reason.sentence for reason in self.reasons)])


@dataclass(frozen=True)
class Reading:
    """A judged reading of saved bytes."""

    status: int  #: the bits of the exit status that the command would end with
    verdict: Verdict
    document: Document = field(repr=False, compare=False)

    @classmethod
    def of(cls, document: Document) -> Reading:
        return cls(document["status"], Verdict.of(document["verdict"]), document)

    def __str__(self) -> str:
        return str(self.verdict)


@dataclass(frozen=True)
class Drive:
    """A drive that was asked for its health."""

    name: str  #: device name, such as "disk0"
    state: State
    status: int  #: the bits that it adds to the exit status of the command
    model: Optional[str]
    serial: Optional[str]
    firmware: Optional[str]
    size: Optional[int]  #: bytes
    interface: Optional[str]  #: "ahci", "nvme", "usb 3", …
    kind: Optional[str]  #: "ssd", "hdd" or "unknown"
    verdict: Optional[Verdict]  #: of a drive that was read
    error: Optional[str]  #: of any other: why it was not
    remedy: Optional[str]  #: a command that helps
    document: Document = field(repr=False, compare=False)

    @classmethod
    def of(cls, document: Document) -> Drive:
        verdict = document.get("verdict")
        texts = (document.get(key) for key in ("model", "serial", "firmware", "size", "interface", "kind"))
        return cls(document["name"], State(document["state"]), document["status"], *texts,
                   Verdict.of(verdict) if verdict else None, document.get("error"), document.get("remedy"), document)

    @property
    def level(self) -> Optional[Level]:
        """The level of its verdict; None for a drive that was not read."""
        return self.verdict.level if self.verdict else None

    def __str__(self) -> str:
        size = f"  {self.size / 1e9:.2f} GB" if self.size else ""
        head = f"{self.name}  {self.model or '-'}{size}  {self.level or self.state}"
        lines = [] if self.level is Level.GOOD else [reason.sentence for reason in self.verdict.reasons] \
            if self.verdict else [self.error or ""]
        return "\n".join([head, *("  - " + line for line in lines)])


class Check(Sequence[Drive]):
    """The drives that were asked for their health, in the order of the machine or of the names."""

    def __init__(self, document: Document) -> None:
        self.document = document
        self._drives = [Drive.of(drive) for drive in document["drives"]]

    @property
    def machine(self) -> str:
        """The path of the machine, or "this computer"."""
        return self.document["machine"]

    @property
    def status(self) -> int:
        """What the command would end with; 0 says that every drive that has SMART data was read and is good."""
        return self.document["status"]

    @overload
    def __getitem__(self, index: int) -> Drive: ...
    @overload
    def __getitem__(self, index: slice) -> list[Drive]: ...
    def __getitem__(self, index: Union[int, slice]) -> Union[Drive, list[Drive]]:
        return self._drives[index]

    def __len__(self) -> int:
        return len(self._drives)

    def __iter__(self) -> Iterator[Drive]:
        return iter(self._drives)

    def __repr__(self) -> str:
        return f"<Check of {self.machine}: {len(self)} drives, status {self.status}>"

    def __str__(self) -> str:
        return "\n".join(map(str, self._drives)) or "No drives."

    def to_frame(self) -> pandas.DataFrame:
        """The drives as a table of pandas, a row each, under their names; needs pandas."""
        import pandas

        columns = ["state", "level", "reason", "model", "serial", "firmware", "size", "interface", "kind", "temperature",
                   "power_on_hours", "wear"]
        rows = []
        for drive in self._drives:
            verdict = drive.verdict
            row = {column: getattr(drive, column, None) for column in columns}
            row.update(state=drive.state.value, level=drive.level.value if drive.level else None)
            if verdict:
                row.update(reason=verdict.reasons[0].sentence, temperature=verdict.temperature,
                           power_on_hours=verdict.power_on_hours, wear=verdict.wear)
            rows.append(row)
        names = pandas.Index([drive.name for drive in self._drives], name="name")
        return pandas.DataFrame(rows, index=names, columns=columns)


@dataclass(frozen=True)
class Event:
    """What happened to a disk."""

    event: str  #: "appeared", "updated" or "disappeared"
    time: str  #: in UTC, such as "2026-01-31T23:59:59.123Z"
    disk: Document  #: the disk as docs/json.md tells it
    document: Document = field(repr=False, compare=False)

    @classmethod
    def of(cls, document: Document) -> Event:
        return cls(document["event"], document["time"], document["disk"], document)

    def __str__(self) -> str:
        return f"{self.time}  {self.disk.get('bsdName', '-')} {self.event}"


def _number(value: Optional[Document]) -> Optional[float]:
    """The number of a typed value."""
    return None if value is None else value["number"]


def _hours(value: Optional[Document]) -> Optional[float]:
    """A typed value of time in hours."""
    if value is None:
        return None
    return value["number"] / {"hours": 1, "minutes": 60, "seconds": 3600, "milliseconds": 3600e3}.get(value["unit"], 1)
