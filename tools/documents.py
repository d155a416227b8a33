"""Checks JSON documents against their schemas in docs/schema, for tests and the lab."""

import functools
import json
import pathlib
import sys

try:
    import jsonschema
except ModuleNotFoundError:
    sys.exit("This needs jsonschema for Python: apt install python3-jsonschema, then run it with that python3.")

SCHEMAS = pathlib.Path(__file__).resolve().parent.parent / "docs" / "schema"


@functools.cache
def validator(name):
    """A validator of the schema that also rejects properties which the schema does not name."""
    schema = json.loads((SCHEMAS / f"{name}.schema.json").read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)

    def close(part):
        if isinstance(part, dict):
            if part.get("type") == "object":
                part["additionalProperties"] = False
            for inner in part.values():
                close(inner)
        elif isinstance(part, list):
            for inner in part:
                close(inner)

    close(schema)
    return jsonschema.Draft202012Validator(schema, format_checker=jsonschema.FormatChecker())


def errors(schema, document):
    return [f"{error.json_path}: {error.message[:200]}" for error in validator(schema).iter_errors(document)]
