# SPDX-License-Identifier: GPL-2.0-or-later
"""Files that hold what was seen before."""
import difflib
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
GOLDEN = ROOT / "tests" / "data" / "golden"


def compare(name, lines, renew, ordered=True):
    """What became another in a golden file, line by line; `renew` writes it anew instead. `ordered`: lines have a place."""
    golden = GOLDEN / name
    if renew:
        golden.parent.mkdir(exist_ok=True)
        golden.write_text("\n".join(lines) + "\n")
        return []
    before = golden.read_text().splitlines() if golden.exists() else []
    if not ordered and sorted(before) == sorted(lines):
        return []
    difference = list(difflib.unified_diff(before, lines, n=1, lineterm=""))[2:]
    if not difference:
        return []
    told = f"{golden.relative_to(ROOT)} is another (if that is meant: {sys.argv[0]} --renew COMMAND)"
    return ["\n  ".join([told, *difference])]
