#!/usr/bin/env python3
"""Writes docs/schema: JSON Schemas (2020-12) of the output of orbis-host, from the schema's descriptors and comments.

--check only tests whether the committed files are up to date. Objects are open: a reader must ignore unknown properties, because later
releases add fields.
"""

import argparse
import json
import sys

import datatypes_schema as schema

DIALECT = "https://json-schema.org/draft/2020-12/schema"
# Numbers of the parts of a file and of a message within descriptor.proto; source locations are paths of them.
FILE_MESSAGES, FILE_ENUMS, MESSAGE_FIELDS, MESSAGE_ENUMS = 4, 5, 2, 4

# Documents of the insight library, and the properties that are always present in their objects.
INSIGHT = {"health": ("HealthReport", "orbis-host health --format json"),
           "explain": ("ExplanationReport", "orbis-host explain --format json"),
           "findings": ("FindingsReport", "OrbisInsight.findings")}
REQUIRED = {"DiskHealth": ["number", "name", "verdict", "reason", "counter"], "Reason": ["rule", "level", "text"],
            "Counter": ["name", "value"], "FindingEntry": ["kind", "text", "remedy", "isNew"],
            "MessageExplanation": ["datatype", "itemId", "field"], "FieldExplanation": ["field", "state"],
            "RequestExplanation": ["request", "outcome"]}

UINT64 = {"type": "string", "pattern": "^(0|[1-9][0-9]{0,19})$"}
INT64 = {"type": "string", "pattern": "^(0|-?[1-9][0-9]{0,18})$"}
FLOAT = {"anyOf": [{"type": "number"}, {"enum": ["NaN", "Infinity", "-Infinity"]}]}
BYTES = {"type": "string", "contentEncoding": "base64"}
# Protobuf's canonical JSON of each type.
CANONICAL = {
    "google.protobuf.UInt32Value": {"type": "integer", "minimum": 0, "maximum": 2**32 - 1},
    "google.protobuf.Int32Value": {"type": "integer", "minimum": -2**31, "maximum": 2**31 - 1},
    "google.protobuf.UInt64Value": UINT64,
    "google.protobuf.Int64Value": INT64,
    "google.protobuf.FloatValue": FLOAT,
    "google.protobuf.DoubleValue": FLOAT,
    "google.protobuf.BoolValue": {"type": "boolean"},
    "google.protobuf.StringValue": {"type": "string"},
    "google.protobuf.BytesValue": BYTES,
    "google.protobuf.Timestamp": {"type": "string", "format": "date-time"},
    "google.protobuf.Any": {},  # takes the place of a datatype's message
    "uint32": {"type": "integer", "minimum": 0, "maximum": 2**32 - 1},
    "uint64": UINT64,
    "int32": {"type": "integer", "minimum": -2**31, "maximum": 2**31 - 1},
    "int64": INT64,
    "double": FLOAT,
    "string": {"type": "string"},
    "bytes": BYTES,
    "bool": {"type": "boolean"},
}


def definitions(files):
    """Every message and enumeration by its short name."""
    found = {}
    for file in files:
        comments = {tuple(place.path): place.leading_comments or place.trailing_comments
                    for place in file.source_code_info.location}

        def described(path, comments=comments):
            text = comments.get(tuple(path), "").split("\n\n")[0]
            return {"description": " ".join(text.split())} if text.strip() else {}

        for index, message in enumerate(file.message_type):
            if message.nested_type:
                sys.exit(f"{file.name}: {message.name} has nested types, which this tool does not know yet.")
            properties = {}
            for position, field in enumerate(message.field):
                value = value_of(field)
                if schema.is_repeated(field):
                    value = {"type": "array", "items": value}
                properties[field.json_name] = {**described([FILE_MESSAGES, index, MESSAGE_FIELDS, position]), **value}
            found[message.name] = {**described([FILE_MESSAGES, index]), "type": "object", "properties": properties}
            for position, enum in enumerate(message.enum_type):
                found[f"{message.name}.{enum.name}"] = {**described([FILE_MESSAGES, index, MESSAGE_ENUMS, position]), **values_of(enum)}
        for index, enum in enumerate(file.enum_type):
            found[enum.name] = {**described([FILE_ENUMS, index]), **values_of(enum)}
    return found


def values_of(enum):
    # A value that a reader's schema does not have yet is printed as its number.
    return {"anyOf": [{"enum": [value.name for value in enum.value]}, {"type": "integer"}]}


def value_of(field):
    name = schema.type_name(field)
    if field.type_name and not name.startswith("google."):
        return {"$ref": f"#/$defs/{name}"}
    if name not in CANONICAL:
        sys.exit(f"{field.name}: this tool does not know how JSON writes {name}.")
    return dict(CANONICAL[name])


def datatypes_of(files):
    used = {schema.type_name(field) for file in files for message in file.message_type for field in message.field}
    return [message.name for file in files for message in file.message_type if message.name not in used]


def with_data(item, datatypes, required):
    """An item whose property "data" is the message that its property "datatype" names, or null."""
    item["properties"]["data"] = {"description": "The message in protobuf's canonical JSON; null for an item without data."}
    item["required"] = required
    item["allOf"] = [{"if": {"properties": {"datatype": {"const": name}}, "required": ["datatype"]},
                      "then": {"properties": {"data": {"anyOf": [{"$ref": f"#/$defs/{name}"}, {"type": "null"}]}}}}
                     for name in datatypes]
    return item


def with_message(defs, datatypes):
    """The items of the report, whose data has its message type in the property "@type"."""
    types = {name: f"type.googleapis.com/{schema.PACKAGE}.{name}" for name in datatypes}
    for name, url in types.items():
        defs[name] = {**defs[name], "properties": {"@type": {"const": url}, **defs[name]["properties"]}}
    data = {"description": "The message in protobuf's canonical JSON, with its type; absent for an item without data.",
            "required": ["@type"],
            "oneOf": [{"$ref": f"#/$defs/{name}"} for name in datatypes]}
    defs["ReportItem"]["properties"]["data"] = data
    return defs


def fix_version(body):
    version = body["properties"]["formatVersion"]
    for name in ("type", "minimum", "maximum"):
        del version[name]
    version["const"] = 1


def used_by(body, defs):
    """The definitions that an object refers to, directly or through others."""
    found = {}
    rest = [body]
    while rest:
        part = rest.pop()
        if isinstance(part, dict):
            name = part.get("$ref", "").removeprefix("#/$defs/")
            if name and name not in found:
                found[name] = defs[name]
                rest.append(defs[name])
            rest += part.values()
        elif isinstance(part, list):
            rest += part
    return found


def document(name, title, body, defs):
    return {"$schema": DIALECT, "$id": f"urn:orbis:schema:{name}:1", "title": title, **body, "$defs": dict(sorted(defs.items()))}


def documents(protoc, root):
    datatype_files = schema.load(protoc, root)
    names = datatypes_of(datatype_files)
    datatypes = definitions(datatype_files)
    own = definitions(schema.load(protoc, root, schema.DOCUMENTS))

    item = with_data(own.pop("CollectedItem"), names, ["datatype", "itemId", "collectionTime", "data"])
    item["description"] = "One collected item."
    yield "collect-json", document("collect-json", "orbis-host collect --format json", {"type": "array", "items": {"$ref": "#/$defs/Item"}},
                                   {"Item": item, **datatypes})

    insight_files = schema.load(protoc, root, schema.INSIGHT)
    defs = with_message({**datatypes, **definitions(insight_files)}, names)
    report = defs["Report"]
    fix_version(report)
    report["required"] = ["formatVersion", "time", "health"]
    yield "report", document("report", "The document in the page of orbis-host report; what is empty, zero or false is left out", report,
                             used_by(report, defs))

    insight = definitions(insight_files)
    for name, required in REQUIRED.items():
        insight[name]["required"] = required
    for name, (message, title) in INSIGHT.items():
        body = insight[message]
        fix_version(body)
        body["required"] = ["formatVersion"]
        yield name, document(name, title, body, used_by(body, insight))

    line = own.pop("JsonLine")
    fix_version(line)
    line = with_data(line, names, ["formatVersion", "time"])
    line["oneOf"] = [{"required": ["datatype", "itemId", "data"]}, {"required": ["findings"], "not": {"required": ["data"]}}]
    yield "collect-jsonl", document("collect-jsonl", "One line of orbis-host collect --format jsonl", line, {**own, **datatypes})


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="write nothing; fail when a committed file is stale")
    schema.add_arguments(parser)
    arguments = parser.parse_args()

    folder = arguments.root / "docs" / "schema"
    status = 0
    for name, content in documents(arguments.protoc, arguments.root):
        path = folder / f"{name}.schema.json"
        text = json.dumps(content, indent=1, ensure_ascii=False) + "\n"
        if not arguments.check:
            folder.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        elif not path.exists() or path.read_text(encoding="utf-8") != text:
            print(f"docs/schema/{path.name} differs from the schema. Write it again: tools/json-schema.py", file=sys.stderr)
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
