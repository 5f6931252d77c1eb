# SPDX-License-Identifier: GPL-2.0-or-later
"""The Python package over the samples; `run` installs it and tells where the library and the samples are."""
import gc
import os
import pathlib
import select
import threading

import pytest
import vantorel
from vantorel import ErrorCode, Level, State

ROOT = pathlib.Path(os.environ["VANTOREL_ROOT"])
TOWER = ROOT / "samples/machines/tower"
LAPTOP = ROOT / "samples/machines/laptop"
SECTORS = ROOT / "tests/data/ata/wd-aaks"
NVME = ROOT / "tests/data/nvme"


@pytest.fixture
def tower():
    with vantorel.open(TOWER) as machine:
        yield machine


def failure(call, *arguments):
    with pytest.raises(vantorel.Error) as caught:
        call(*arguments)
    return caught.value.code, str(caught.value)


def test_package_and_library_are_of_one_version():
    assert vantorel.__version__ == vantorel.version()


def test_a_check_is_data_and_reads_well(tower):
    check = tower.check()
    assert [(drive.name, drive.state, drive.level, drive.status) for drive in check] == [
        ("disk0", State.READ, Level.GOOD, 0), ("disk1", State.READ, Level.AT_RISK, 16),
        ("disk2", State.READ, Level.GOOD, 0), ("disk3", State.READ, Level.FAILING, 8),
        ("disk6", State.NO_SMART, None, 0)]
    assert (check.machine, check.status, len(check), check[-1].error) == (str(TOWER), 24, 5, "It has no SMART data.")
    assert "drives" in check.document and "tower: 5 drives, status 24" in repr(check)
    intel = check[0]
    assert (intel.model, intel.size, intel.interface, intel.kind) == ("INTEL SSDSA2MH080G1GC", 80026361856, "ahci", "ssd")
    assert (intel.verdict.power_on_hours, intel.verdict.wear, intel.verdict.doubtful) == (2309, 1, False)
    assert check[1].verdict.temperature == 40
    assert check[3].verdict.reasons[1].sentence == "the drive itself says that it is failing"
    lines = str(check).splitlines()
    assert lines[0] == "disk0  INTEL SSDSA2MH080G1GC  80.03 GB  good"
    assert lines[1] == "disk1  WDC WD5000AAKS-00TMA0  500.11 GB  at risk"
    assert lines[-2:] == ["disk6  Cruzer Glide  15.99 GB  without SMART", "  - It has no SMART data."]
    assert str(check[3].verdict).startswith("FAILING\n  - Reallocated_Sector_Ct: value 58")


def test_a_check_asks_for_the_drives_it_is_given(tower):
    check = tower.check("disk3", "disk9", "CVEM0TOWER0080DGN0", raw=True)
    assert [drive.name for drive in check[:2]] + [check[2].name] == ["disk3", "disk9", "disk0"]
    assert (check[1].state, check[1].verdict) == (State.NO_DRIVE, None)
    assert "data" in check[0].document["raw"] and "raw" not in tower.check("disk3")[0].document


def test_a_check_becomes_a_table(tower):
    pytest.importorskip("pandas")
    frame = tower.check().to_frame()
    assert list(frame.index) == ["disk0", "disk1", "disk2", "disk3", "disk6"]
    assert frame.loc["disk3", "level"] == "failing" and frame.loc["disk0", "power_on_hours"] == 2309
    assert frame.loc["disk6", "state"] == "noSmart" and frame.loc["disk6"].isna()["level"]


def test_drives_disks_and_verdicts(tower):
    assert tower.drive_names() == ["disk0", "disk1", "disk2", "disk3", "disk6"]
    assert tower.disks()[0]["children"][0]["bsdName"] == "disk0s1"
    level, sentence = tower.verdict("disk1")
    assert level is Level.AT_RISK and sentence.startswith("529 sectors wait to be rewritten")
    assert failure(tower.verdict, "disk9") == (ErrorCode.NO_DRIVE, "disk9: There is no such drive.")
    assert failure(tower.verdict, "disk6")[0] == ErrorCode.NOT_READ


def test_saved_bytes_are_judged():
    data, thresholds = (SECTORS / "data.bin").read_bytes(), (SECTORS / "thresholds.bin").read_bytes()
    reading = vantorel.decode_ata(data, thresholds, "WDC WD5000AAKS-00TMA0", raw=True)
    assert (reading.status, reading.verdict.level) == (16, Level.AT_RISK) and "raw" in reading.document
    assert str(reading).startswith("at risk\n  - ")
    assert vantorel.decode_ata(data, thresholds, "", ssd=True).document["knownAs"] is None
    assert failure(vantorel.decode_ata, data[:511], thresholds, "M") == \
        (ErrorCode.BAD_ARGUMENT, "data holds 511 bytes, and is to have 512 to 1048576")
    log, identify = (NVME / "smart.bin").read_bytes(), (NVME / "identify.bin").read_bytes()
    assert vantorel.decode_nvme(log).document["record"]["deviceInfo"]["model"] == "Unknown"
    assert vantorel.decode_nvme(log, identify).document["record"]["deviceInfo"]["model"] != "Unknown"
    assert failure(vantorel.decode_nvme, log, b"")[0] == ErrorCode.BAD_ARGUMENT


def test_events_come_by_iteration_descriptor_and_callback():
    heard = []
    with vantorel.open(LAPTOP, play=True) as machine:
        machine.listen(lambda event: heard.append((event.event, event.disk["bsdName"])))
        assert select.select([machine], [], [], 0)[0] == [machine]
        told = []
        for event in machine.events(timeout=20):
            told.append((event.event, event.disk["bsdName"]))
            if told[-1] == ("disappeared", "disk2"):
                break
        assert str(event).endswith("Z  disk2 disappeared") and event.time.startswith("2")
        assert told[0] == ("appeared", "disk0") and ("appeared", "disk2s1") in told
        assert machine.next_event(timeout=0) is None and select.select([machine], [], [], 0)[0] == []
        machine.listen(None)
    assert heard == told


def test_what_a_callback_raises_ends_nothing(tower, capsys, monkeypatch):
    raised = []
    monkeypatch.setattr("sys.unraisablehook", lambda report: raised.append(report.exc_type))
    tower.listen(lambda event: 1 / 0)
    assert len(raised) > 5 and set(raised) == {ZeroDivisionError}
    tower.listen(lambda event: raised.append(failure(tower.close)[0]))
    assert raised[-1] == ErrorCode.IN_CALLBACK


def test_one_machine_at_a_time_and_none_after_it_is_closed(tower):
    assert failure(vantorel.open, TOWER)[0] == ErrorCode.BUSY
    waiting = threading.Thread(target=lambda: failure(lambda: list(tower.events())))
    waiting.start()
    tower.close()
    waiting.join()
    tower.close()
    assert failure(tower.check)[0] == ErrorCode.BAD_HANDLE
    assert failure(vantorel.open, "/nowhere")[0] == ErrorCode.CANNOT_OPEN
    assert failure(vantorel.open, b"\xff")[0] == ErrorCode.BAD_ARGUMENT
    dropped = vantorel.Machine(TOWER)
    del dropped
    gc.collect()
    vantorel.open(TOWER).close()


def test_events_that_nobody_fetches_are_lost_with_a_word(tower):
    assert issubclass(vantorel.EventsLost, vantorel.Error)
    assert vantorel.EventsLost(8, "gone").code is ErrorCode.EVENTS_LOST
    assert vantorel.Error(99, "new").code == 99
