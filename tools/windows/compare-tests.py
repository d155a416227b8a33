#!/usr/bin/env python3
"""Compares the lists of tests of the builds that exist (debug, windows-x64, windows-arm64), each listed by CTest.

A test belongs to every target, except what looks at one operating system's own things: its name says so in front (see OWN).
"""

import json
import re
import subprocess
import sys
from pathlib import Path

BUILDS = ("debug", "windows-x64", "windows-arm64")
# Tests that only one side has: the ports' own, the checks of ELF and of PE files, and those that run programs of the build machine.
OWN = {
    "debug": re.compile(r"^(Linux|schema\.|examples\.host_in_python\.|.*\.exports$)"),
    "windows": re.compile(r"^(Windows|windows\.)"),
}


def tests_of(build):
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True, text=True).stdout
    own = OWN["windows" if "windows" in build.name else "debug"]
    names = [test["name"] for test in json.loads(listing)["tests"]]
    return {name for name in names if not own.match(name)}, sum(1 for name in names if own.match(name))


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else "build")
    builds = [root / name for name in BUILDS if (root / name / "CTestTestfile.cmake").exists()]
    lists = {build.name: tests_of(build) for build in builds}
    for name, (common, own) in lists.items():
        print(f"windows: {name}: {len(common)} tests for every target, {own} of its own", file=sys.stderr)
    if len(builds) < len(BUILDS):
        print(f"windows: not compared, because not built: {', '.join(name for name in BUILDS if name not in lists)}", file=sys.stderr)
    everything = set().union(*(common for common, _ in lists.values()))
    missing = [(name, test) for name, (common, _) in lists.items() for test in sorted(everything - common)]
    for name, test in missing:
        print(f"windows: {name} lacks the test {test}", file=sys.stderr)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
