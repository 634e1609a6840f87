"""Validates lines of `aviprobe --json`, and the facts in report pages, with their schema.

Fields that the schema does not name fail here, and so do fields of the schema that occur nowhere.
usage: validate_json.py SCHEMA LINES PAGE... [--absent DEFINITION...]
"""

import argparse
import collections
import json
import pathlib
import re
import sys

import jsonschema

SHOWN = 20  # failures
ALIKE = 100  # of many lines that differ in numbers only


def parts_of(part):
    """A part of a schema and all parts inside it."""
    yield part
    for inner in part.values() if isinstance(part, dict) else part if isinstance(part, list) else ():
        yield from parts_of(inner)


def close(definitions):
    """Lets no object have fields that the schema does not name."""
    parts = [part for part in parts_of(definitions) if isinstance(part, dict)]
    objects = [part for part in parts if isinstance(part.get("properties"), dict)]
    # What another definition adds fields to: that one is closed.
    bases = [definitions[part["$ref"].rpartition("/")[2]] for part in objects if "$ref" in part]
    for part in objects:
        if not any(part is base for base in bases):
            part["unevaluatedProperties" if "$ref" in part else "additionalProperties"] = False


class Validation:
    def __init__(self, schema):
        self.definitions = schema["$defs"]
        close(self.definitions)
        self.fields = set()
        self.lines = 0
        self.failed = 0
        self.alike = collections.Counter()
        self.validators = {
            name: jsonschema.Draft202012Validator({"$ref": f"#/$defs/{name}", "$defs": self.definitions})
            for name in self.definitions
        }

    def fail(self, what, where):
        self.failed += 1
        if self.failed <= SHOWN:
            print(f"FAILED {what}\n  {where[:300]}", file=sys.stderr)

    def line(self, text):
        if not text.isascii():
            self.fail("characters that may upset a terminal", ascii(text))
        record = json.loads(text)
        name = f"record_{record.get('record')}"
        self.lines += 1
        alike = (name, *record)
        self.alike[alike] += 1
        many = name in ("record_unit", "record_entry", "record_chunk") and not record.get("marks")
        if many and self.alike[alike] > ALIKE:
            return
        self.value(name, record, text.strip())

    def page(self, path):
        """The facts in a page that report wrote."""
        found = re.search(r'id="facts">(.*?)</script>', path.read_text(encoding="utf-8"), re.S)
        self.value("report_facts", json.loads(found[1]), path.name)

    def value(self, name, value, where):
        if name not in self.validators:
            return self.fail(f"no {name} in the schema", where)
        for error in self.validators[name].iter_errors(value):
            self.fail(f"{name} {error.json_path}: {error.message}", where)
        self.note_fields(self.definitions[name], value, name)

    def note_fields(self, part, value, name):
        """Notes each field that occurs, by the definition that names it."""
        if "$ref" in part:
            target = part["$ref"].rpartition("/")[2]
            self.note_fields(self.definitions[target], value, target)
        for option in part.get("anyOf", ()):
            self.note_fields(option, value, name)
        if isinstance(value, dict):
            for field, inner in part.get("properties", {}).items():
                if field in value:
                    self.fields.add((name, field))
                    self.note_fields(inner, value[field], name)
        elif isinstance(value, list):
            for item in value:
                self.note_fields(part.get("items", {}), item, name)

    def check_all_occurred(self, absent):
        for name, definition in self.definitions.items():
            if name in absent or name.removeprefix("record_") in absent:
                continue
            for field in definition.get("properties", {}):
                if (name, field) not in self.fields:
                    self.fail(f"{name}: field {field} occurs nowhere", "no command that ran makes one")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("schema", type=pathlib.Path)
    parser.add_argument("lines", type=pathlib.Path)
    parser.add_argument("pages", type=pathlib.Path, nargs="+")
    parser.add_argument("--absent", nargs="*", default=[], help="definitions that need not occur")
    options = parser.parse_args()

    schema = json.loads(options.schema.read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    records = [name.removeprefix("record_") for name in schema["$defs"] if name.startswith("record_")]
    validation = Validation(schema)
    if schema["properties"]["record"]["enum"] != records:
        validation.fail("the list of records is not that of their definitions", str(records))
    if schema["oneOf"] != [{"$ref": f"#/$defs/record_{name}"} for name in records]:
        validation.fail("oneOf does not list the definitions of records", str(records))
    if not schema["$id"].endswith(f":{schema['$defs']['schema_number']['const']}"):
        validation.fail("$id ends in another number than that of the schema", schema["$id"])
    with options.lines.open(encoding="utf-8", errors="surrogateescape") as lines:
        for text in lines:
            validation.line(text)
    for path in options.pages:
        validation.page(path)
    validation.check_all_occurred(options.absent)
    if validation.failed:
        sys.exit(f"check-json: {validation.failed} failures")
    print(f"check-json: {validation.lines} lines, {len(records)} kinds of record, {len(validation.fields)} fields")


main()
