# SPDX-License-Identifier: GPL-2.0-or-later
"""What documents look like, without their values."""
from schemas import Real

# Objects with keys of their own.
FREE = ("properties", "logs", "failures", "arrive", "stored", "decoded")

TYPES = ((bool, "truth"), (Real, "real"), (int, "integer"), (str, "text"), (list, "array"), (dict, "object"))


class Shape:
    """The types of all values of one place, and of objects the keys, with those that are not always there."""

    def __init__(self):
        self._types = set()
        self._objects = 0
        self._present = {}
        self._keys = {}
        self._elements = None

    def add(self, value, is_free=False):
        self._types.add(next((name for kind, name in TYPES if isinstance(value, kind)), "null"))
        if isinstance(value, list):
            self._elements = self._elements or Shape()
            for element in value:
                self._elements.add(element)
        elif isinstance(value, dict) and not is_free:
            self._objects += 1
            self._add_keys(value)

    def _add_keys(self, value):
        order = list(self._keys)
        after = 0
        for key, child in value.items():
            if key not in self._keys:
                self._keys[key] = Shape()
                order.insert(after, key)
            after = order.index(key) + 1
            self._present[key] = self._present.get(key, 0) + 1
            self._keys[key].add(child, key in FREE)
        self._keys = {key: self._keys[key] for key in order}

    def _members(self):
        return [(key + ("?" if self._present[key] < self._objects else ""), shape) for key, shape in self._keys.items()]

    def _type(self):
        return " or ".join(sorted(self._types))

    def lines(self, name=".", place=""):
        """One line a place; an object of plain values has them all on its own. "?" marks what may be missing."""
        members = self._members()
        if members and not any(shape._keys or shape._elements for _, shape in members):
            plain = ", ".join(f"{key} {shape._type()}" for key, shape in members)
            yield f"{place}{name}  {self._type()} of {plain}"
            return
        yield f"{place}{name}  {self._type()}"
        place += name.rstrip("?") + ("." if name != "." else "")
        for key, shape in members:
            yield from shape.lines(key, place)
        if self._elements and self._elements._types:
            yield from self._elements.lines("[]", place[:-1])
