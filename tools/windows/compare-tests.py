#!/usr/bin/env python3
"""Compares the lists of tests of the builds that exist (debug, windows-x64, windows-arm64), each listed by CTest.

Every test runs on every target, except the tests that are listed here with a reason.
usage: compare-tests.py [FOLDER OF THE BUILDS]     status 1 when a list lacks a test, or when an entry below matches no test
"""

import json
import re
import subprocess
import sys
from pathlib import Path

BUILDS = {"debug": "Linux", "windows-x64": "Windows", "windows-arm64": "Windows"}
# Tests of one system only: system, pattern of the name, reason.
OWN = [
    ("Linux", r"Linux.*", "the Linux port, on this machine's disks and on captured ones"),
    ("Linux", r"schema\..*", "sources of the schema, the same for every target; Python and protoc of the build machine"),
    ("Linux", r"(hosts|insight\.Python).*|examples\.(C#|Python)_.*", "installed trees, and hosts in Python and C# of the build machine; Wine has neither"),
    ("Linux", r"tryout\..*", "a script of the build machine, the same for every target"),
    ("Linux", r"(border|device-query)\.exports", "exports of ELF files; windows.image.* is the same for PE files"),
    ("Windows", r"Windows.*", "the Windows port, on the services of the Windows that runs it"),
    ("Windows", r"windows\.image\..*", "machine, exports, imports, hardening and program databases of PE files"),
    ("Windows", r"windows\.(loading|stack-guard)", "where the system looks for DLLs; what mingw-w64 lacks of the stack protector"),
    ("Windows", r"windows\.console", "code pages of consoles"),
]


def tests_of(build):
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True, text=True).stdout
    tests = json.loads(listing)["tests"]
    disabled = [test["name"] for test in tests if any(p["name"] == "DISABLED" and p["value"] for p in test.get("properties", []))]
    return {test["name"] for test in tests}, disabled


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else "build")
    builds = {name: system for name, system in BUILDS.items() if (root / name / "CTestTestfile.cmake").exists()}
    common, faults = {}, []
    for name, system in builds.items():
        tests, disabled = tests_of(root / name)
        faults += [f"{name}: the test {test} is disabled" for test in disabled]
        common[name] = set(tests)
        print(f"windows: {name}: {len(tests)} tests", file=sys.stderr)
        for owner, pattern, reason in OWN:
            matching = {test for test in tests if re.fullmatch(pattern, test)}
            if owner != system:
                continue
            if not matching:
                faults.append(f"{name}: no test is named {pattern}; compare-tests.py is behind")
            common[name] -= matching
            print(f"windows:     {len(matching):3} for {system} alone: {reason}", file=sys.stderr)
        print(f"windows:     {len(common[name]):3} for every target", file=sys.stderr)

    everything = set().union(*common.values())
    faults += [f"{name}: lacks the test {test}" for name in builds for test in sorted(everything - common[name])]
    for fault in faults:
        print(f"windows: {fault}", file=sys.stderr)
    if faults:
        print("windows: a list may be of an older build: ./dev build and ./dev windows make all three anew", file=sys.stderr)
    absent = [name for name in BUILDS if name not in builds]
    if absent:
        print(f"windows: not compared, because not built: {', '.join(absent)}", file=sys.stderr)
    elif not faults:
        print(f"windows: the lists of {', '.join(builds)} are equal: {len(everything)} tests", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
