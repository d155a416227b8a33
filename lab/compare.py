#!/usr/bin/python3
"""Compares the output of orbis-host in the lab's guest with the output of the other tools there.

usage: lab/compare.py REPORT_FOLDER

Prints a table of every comparison; the exit status is 0 when all passed, else 1. It needs Debian's python3-protobuf and
python3-jsonschema, so it runs with the system's own Python.
"""

import sys
from pathlib import Path

from comparison import activity, explain, hang, nvme, recording, smart, static, verdict
from comparison.report import ReadingError, Report
from comparison.schema import Schema
from comparison.table import Table

COMPARISONS = [nvme.compare, smart.compare, static.compare, activity.compare, verdict.compare, explain.compare, recording.compare, hang.compare]
SCHEMA = Path(__file__).resolve().parent.parent / "host-sdk" / "proto"


def main(arguments):
    if len(arguments) != 1 or arguments[0].startswith("-"):
        print(__doc__.strip())
        return 0 if arguments in (["--help"], ["-h"]) else 2
    table = Table()
    try:
        report = Report(arguments[0])
        schema = Schema(SCHEMA)
        for compare in COMPARISONS:
            compare(report, schema, table)
    except ReadingError as error:
        print(f"lab: {error}", file=sys.stderr)
        return 1
    table.summary()
    return 1 if table.failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
