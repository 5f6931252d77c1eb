# SPDX-License-Identifier: GPL-2.0-or-later
"""The functions of vantorel.h, with their arguments and errors."""
from __future__ import annotations

import ctypes
import enum
import os
import pathlib
from typing import Any

NAME = "libvantorel.so.0"


class ErrorCode(enum.IntEnum):
    """How a call ended: `vantorel_error`."""

    OK = 0
    BAD_ARGUMENT = 1
    BAD_HANDLE = 2
    BUSY = 3
    CANNOT_OPEN = 4
    NO_DRIVE = 5
    NOT_READ = 6
    NO_EVENT = 7
    EVENTS_LOST = 8
    IN_CALLBACK = 9
    NO_MEMORY = 10
    FAILED = 11


class Error(Exception):
    """A call that failed; the text says why."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(text)
        #: one of `ErrorCode`, or a number that this package does not know
        self.code = ErrorCode(code) if code in ErrorCode.__members__.values() else code


class EventsLost(Error):
    """Too many events waited, and those are gone: `Machine.disks` has the disks as they are."""


def _load() -> ctypes.CDLL:
    beside = pathlib.Path(__file__).with_name(NAME)
    name = os.environ.get("VANTOREL_LIBRARY") or (str(beside) if beside.exists() else NAME)
    try:
        return ctypes.CDLL(name)
    except OSError as error:
        raise ImportError(f"{error}; install {NAME}, or name it in VANTOREL_LIBRARY") from error


EventCallback = ctypes.CFUNCTYPE(None, ctypes.c_char_p, ctypes.c_void_p)

_machine = ctypes.c_void_p
_text = ctypes.c_char_p
_size = ctypes.c_size_t
_flags = ctypes.c_uint
_result = ctypes.POINTER(ctypes.c_void_p)  # a `char **`, whose text is to be freed

_ARGUMENTS = {
    "open": [_text, _flags, ctypes.POINTER(_machine)],
    "close": [_machine],
    "list": [_machine, _result],
    "drive_names": [_machine, ctypes.POINTER(ctypes.POINTER(_text)), ctypes.POINTER(_size)],
    "check": [_machine, ctypes.POINTER(_text), _size, _flags, _result],
    "verdict": [_machine, _text, ctypes.POINTER(ctypes.c_int), _result],
    "decode_ata": [_text, _size, _text, _size, _text, _flags, _result],
    "decode_nvme": [_text, _size, _text, _size, _flags, _result],
    "listen": [_machine, EventCallback, ctypes.c_void_p],
    "event_descriptor": [_machine, ctypes.POINTER(ctypes.c_int)],
    "next_event": [_machine, ctypes.c_int, _result],
}

library = _load()
for _name, _types in _ARGUMENTS.items():
    getattr(library, "vantorel_" + _name).argtypes = _types
library.vantorel_version.restype = _text
library.vantorel_error_text.restype = _text
library.vantorel_last_error.restype = _text
library.vantorel_free.argtypes = [ctypes.c_void_p]
library.vantorel_free.restype = None


def call(name: str, *arguments: Any) -> None:
    """Calls a function; raises `Error` when it fails."""
    code = getattr(library, "vantorel_" + name)(*arguments)
    if code != ErrorCode.OK:
        why = library.vantorel_last_error() or library.vantorel_error_text(code)
        kind = EventsLost if code == ErrorCode.EVENTS_LOST else Error
        raise kind(code, why.decode())


def text_of(name: str, *arguments: Any) -> str:
    """Calls a function whose last argument takes a text; gives the text."""
    result = ctypes.c_void_p()
    call(name, *arguments, ctypes.byref(result))
    try:
        return ctypes.string_at(result.value or 0).decode()
    finally:
        library.vantorel_free(result)


def version() -> str:
    """The version of the library that runs, such as "0.1.0"."""
    return library.vantorel_version().decode()
