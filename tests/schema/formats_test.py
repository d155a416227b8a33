"""What orbis-host prints of the example machines is what docs/schema says, property by property.

usage: formats_test.py ORBIS_HOST
"""

import copy
import json
import pathlib
import subprocess
import sys

try:
    import jsonschema
except ModuleNotFoundError:
    sys.exit("This test needs jsonschema for Python: apt install python3-jsonschema.")

REPOSITORY = pathlib.Path(__file__).resolve().parent.parent.parent


def validator(name):
    """Of the schema, with every object closed: what it does not name must not be printed."""
    schema = json.loads((REPOSITORY / "docs" / "schema" / f"{name}.schema.json").read_text(encoding="utf-8"))
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


def printed(host, machine, form):
    done = subprocess.run([host, "collect", "--machine", machine.name, "--format", form, "--log-level", "off"], cwd=machine.parent,
                          capture_output=True, encoding="utf-8")
    if done.returncode not in (0, 1, 4):
        sys.exit(f"orbis-host ended with {done.returncode} for {machine.name} as {form}: {done.stderr}")
    return done.stdout


def spoiled(item):
    """The item, wrong in one way each."""
    for change in ({"datatype": None}, {"data": []}, {"data": {"noSuchField": 1}}, {"itemId": 5}, {"unknown": 1}):
        yield {**copy.deepcopy(item), **change}
    without = copy.deepcopy(item)
    del without["data"]
    yield without


def main():
    host = pathlib.Path(sys.argv[1]).resolve()
    array, line = validator("collect-json"), validator("collect-jsonl")
    failures, items, findings = [], [], 0
    for machine in sorted((REPOSITORY / "machines").glob("*.txtpb")):
        lines = [json.loads(text) for text in printed(host, machine, "jsonl").splitlines()]
        items += [one for one in lines if "data" in one]
        findings += sum("findings" in one for one in lines)
        documents = [(array, json.loads(printed(host, machine, "json")))] + [(line, one) for one in lines]
        for schema, document in documents:
            failures += [f"{machine.name}: {error.json_path}: {error.message[:200]}" for error in schema.iter_errors(document)]
    if len({one["datatype"] for one in items}) != 6 or not findings:
        failures.append("the example machines do not show all datatypes and a finding")
    for wrong in spoiled(next(one for one in items if one["datatype"] == "SmartNvmeInfo")):
        if line.is_valid(wrong):
            failures.append(f"the schema takes {str(wrong)[-200:]}")
    print("\n".join(failures) if failures else f"{len(items)} items")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
