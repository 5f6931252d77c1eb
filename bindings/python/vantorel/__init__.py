# SPDX-License-Identifier: GPL-2.0-or-later
"""The state and health of a machine's drives.

    >>> import vantorel
    >>> print(vantorel.open().check())

The package stands on libvantorel.so.0, which it looks for where the variable VANTOREL_LIBRARY says, beside itself and
where the system's loader looks. A process has one machine open at a time; see `open`.
"""
from ._library import Error, ErrorCode, EventsLost, version
from .machine import Machine, decode_ata, decode_nvme, open
from .results import Check, Drive, Event, Level, Reading, Reason, State, Verdict

__version__ = "0.1.0"
__all__ = [
    "Check", "Drive", "Error", "ErrorCode", "Event", "EventsLost", "Level", "Machine", "Reading", "Reason", "State",
    "Verdict", "decode_ata", "decode_nvme", "open", "version",
]
