# SPDX-License-Identifier: GPL-2.0-or-later
"""Machines that are open, and saved bytes."""
from __future__ import annotations

import ctypes
import json
import os
import time
import weakref
from collections.abc import Iterator
from types import TracebackType
from typing import Any, Callable, Optional, Union

from ._library import Error, ErrorCode, EventCallback, call, text_of
from .results import Check, Document, Event, Level, Reading

_WAKE, _PLAY, _RAW, _SSD = 1, 2, 4, 8
_LEVELS = [Level.GOOD, Level.WATCH, Level.AT_RISK, Level.FAILING, Level.UNKNOWN]
_NO_CALLBACK = EventCallback()

#: Callbacks of machines that could not be closed, which may still be called.
_kept: list[Any] = []


def open(path: Union[str, os.PathLike[str], None] = None, *, wake: bool = False, play: bool = False) -> Machine:
    """Opens the machine at a path: a recording or a report; without one the computer that the process runs on.

    A process has one machine open at a time: close it, or leave its `with` block, before the next. One that nobody holds
    any more closes itself. `wake`: read drives that sleep, too, which wakes them. `play`: let the later events of a
    recording happen in their time.
    """
    return Machine(path, wake=wake, play=play)


class Machine:
    """An open machine. Every method may be called from any thread, and raises `Error` when it fails."""

    def __init__(self, path: Union[str, os.PathLike[str], None] = None, *, wake: bool = False, play: bool = False) -> None:
        handle = ctypes.c_void_p()
        name = None if path is None else os.fsencode(path)
        call("open", name, (_WAKE if wake else 0) | (_PLAY if play else 0), ctypes.byref(handle))
        self._handle = handle
        self._callbacks: list[Any] = []  # ctypes does not keep what C may call
        self._finalizer = weakref.finalize(self, _close_quietly, handle, self._callbacks)

    def __enter__(self) -> Machine:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def close(self) -> None:
        """Closes the machine; nothing happens when it is closed already."""
        if self._finalizer.alive:
            call("close", self._handle)
            self._finalizer.detach()

    def check(self, *names: str, raw: bool = False) -> Check:
        """Reads and judges the drives of these device names or serial numbers, or all of them."""
        texts = (ctypes.c_char_p * len(names))(*(name.encode() for name in names))
        return Check(json.loads(text_of("check", self._handle, texts, len(names), _RAW if raw else 0)))

    def verdict(self, name: str) -> tuple[Level, str]:
        """Reads and judges one drive: its level and the gravest reason for it."""
        level = ctypes.c_int()
        sentence = text_of("verdict", self._handle, name.encode(), ctypes.byref(level))
        return _LEVELS[level.value], sentence

    def drive_names(self) -> list[str]:
        """The device names of the drives."""
        names = ctypes.POINTER(ctypes.c_char_p)()
        count = ctypes.c_size_t()
        call("drive_names", self._handle, ctypes.byref(names), ctypes.byref(count))
        try:
            return [(names[i] or b"").decode() for i in range(count.value)]
        finally:
            _free(names)

    def disks(self) -> list[Document]:
        """The tree of disks: those at its top, each with the disks that lie on it as "children"."""
        return json.loads(text_of("list", self._handle))["disks"]

    def listen(self, callback: Optional[Callable[[Event], None]]) -> None:
        """Has `callback` called for every disk that appears, changes or goes, in the place of the one before, on a thread
        of the library's own; the disks that are there already are told first. None ends it. What the callback raises is
        printed and goes no further."""
        function = EventCallback(lambda text, _: callback(Event.of(json.loads(text)))) if callback else _NO_CALLBACK
        self._callbacks.append(function)
        call("listen", self._handle, function, None)

    def fileno(self) -> int:
        """A descriptor that is readable while `next_event(0)` has something to give: for `select` and event loops."""
        descriptor = ctypes.c_int()
        call("event_descriptor", self._handle, ctypes.byref(descriptor))
        return descriptor.value

    def next_event(self, timeout: Optional[float] = None) -> Optional[Event]:
        """The next event; None when none has come for so many seconds. Without a timeout it waits on. The disks that are
        there already appear first, at the first call. Raises `EventsLost` when too many have waited."""
        end = None if timeout is None else time.monotonic() + timeout
        while True:
            # In slices, so that a signal such as that of Control-C is taken up meanwhile.
            left = 0.2 if end is None else max(0.0, min(0.2, end - time.monotonic()))
            try:
                return Event.of(json.loads(text_of("next_event", self._handle, int(left * 1000))))
            except Error as error:
                if error.code != ErrorCode.NO_EVENT:
                    raise
            if end is not None and time.monotonic() >= end:
                return None

    def events(self, timeout: Optional[float] = None) -> Iterator[Event]:
        """The events as they come; ends when none has come for so many seconds."""
        while (event := self.next_event(timeout)) is not None:
            yield event


def decode_ata(data: bytes, thresholds: bytes, model: str, *, ssd: bool = False, raw: bool = False) -> Reading:
    """Judges the two saved sectors of an ATA drive."""
    flags = (_SSD if ssd else 0) | (_RAW if raw else 0)
    return Reading.of(json.loads(text_of("decode_ata", data, len(data), thresholds, len(thresholds), model.encode(), flags)))


def decode_nvme(log: bytes, identify: Optional[bytes] = None, *, raw: bool = False) -> Reading:
    """Judges the saved health log of an NVMe drive; `identify` is its Identify Controller data."""
    size = len(identify) if identify is not None else 0
    return Reading.of(json.loads(text_of("decode_nvme", log, len(log), identify, size, _RAW if raw else 0)))


def _free(memory: Any) -> None:
    from ._library import library

    library.vantorel_free(ctypes.cast(memory, ctypes.c_void_p))


def _close_quietly(handle: ctypes.c_void_p, callbacks: list[Any]) -> None:
    try:
        call("close", handle)
    except Error:
        _kept.append(callbacks)
