# SPDX-License-Identifier: GPL-2.0-or-later
"""The schemas, and what a document must be beyond them: every key named, in the order told, every text a known one."""
import json

import jsonschema


class Real(float):
    """A number that was written with a fraction: where a count is meant 5.0 will not do."""

    def is_integer(self):
        return False


class Schemas:
    """The schemas of a folder by name; `seen` gathers each key that a document had, by the place that names it."""

    def __init__(self, folder):
        self.seen = set()
        self._files = {path.name: json.loads(path.read_text()) for path in sorted(folder.glob("*.json"))}
        self._places = {}
        for file, schema in self._files.items():
            jsonschema.Draft202012Validator.check_schema(schema)
            self._prepare(schema, file, file + "#")
        self._resolver = jsonschema.RefResolver("", {}, store=self._files)

    def _prepare(self, node, file, place):
        """Notes the place of every node and makes references whole."""
        if isinstance(node, list):
            for index, child in enumerate(node):
                self._prepare(child, file, f"{place}/{index}")
        elif isinstance(node, dict):
            self._places[id(node)] = place
            if isinstance(node.get("$ref"), str) and node["$ref"].startswith("#"):
                node["$ref"] = file + node["$ref"]
            for key, child in node.items():
                self._prepare(child, file, f"{place}/{key}")

    def names(self):
        return {file.removesuffix(".json") for file in self._files} - {"common"}

    def keys(self):
        """Every key that is named, behind the place that names it."""
        nodes = list(self._files.values())
        while nodes:
            node = nodes.pop()
            if not isinstance(node, dict):
                continue
            properties = node.get("properties", {})
            yield from (f"{self._places[id(node)]} {key}" for key in properties)
            nodes += [*properties.values(), *node.get("$defs", {}).values()]
            for keyword in ("allOf", "anyOf", "oneOf"):
                nodes += node.get(keyword, [])
            nodes += [node.get(keyword) for keyword in ("items", "additionalProperties", "then", "else")]

    def faults(self, name, document):
        schema = self._files[name + ".json"]
        error = jsonschema.exceptions.best_match(self._validator(schema).iter_errors(document))
        if error:
            return [f"{error.json_path}: {error.message[:300]}"]
        return list(self._unknown(schema, document, "$"))

    def _validator(self, schema):
        return jsonschema.Draft202012Validator(schema, resolver=self._resolver)

    def _applied(self, schema, value):
        """The schema and all others that hold for the same value, in the order of their text."""
        if not isinstance(schema, dict):
            return
        for keyword, part in schema.items():
            if keyword == "properties":
                yield schema
            elif keyword == "$ref":
                yield from self._applied(self._resolver.resolve(part)[1], value)
            elif keyword in ("allOf", "anyOf", "oneOf"):
                for branch in part:
                    if self._validator(branch).is_valid(value):
                        yield from self._applied(branch, value)
            elif keyword == "if":
                holds = self._validator(part).is_valid(value)
                yield from self._applied(schema.get("then" if holds else "else"), value)
        if "properties" not in schema:
            yield schema

    def _unknown(self, schema, value, place):
        applied = list(self._applied(schema, value))
        if isinstance(value, dict):
            yield from self._unknown_keys(applied, value, place)
        elif isinstance(value, list):
            for part in applied:
                for index, element in enumerate(value if "items" in part else []):
                    yield from self._unknown(part["items"], element, f"{place}[{index}]")
        elif isinstance(value, str):
            known = [text for part in applied for text in part.get("examples", [])]
            if known and value not in known:
                yield f"{place}: \"{value}\" is none of the schema's examples"

    def _unknown_keys(self, applied, value, place):
        order = [key for part in applied for key in part.get("properties", {})]
        told = [order.index(key) for key in value if key in order]
        # The one document that people write too has its keys in any order.
        if told != sorted(told) and not any(self._places[id(part)].startswith("machine.json") for part in applied):
            yield f"{place}: the keys {list(value)} stand in another order than in the schema"
        for key, child in value.items():
            schemas = []
            for part in applied:
                if key in part.get("properties", {}):
                    self.seen.add(f"{self._places[id(part)]} {key}")
                    schemas.append(part["properties"][key])
                elif "additionalProperties" in part:
                    schemas.append(part["additionalProperties"])
            if not schemas:
                yield f"{place}.{key}: is not named in the schema"
            for schema in schemas:
                if schema is not True:
                    yield from self._unknown(schema, child, f"{place}.{key}")
