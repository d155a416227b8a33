#!/usr/bin/env python3
"""Prints the measurements of lab/guest/cost, and compares orbis-host with the cheapest tool that gets the same data.

usage: lab/cost.py REPORT_FOLDER
"""

import sys
from itertools import groupby
from pathlib import Path

NANOSECONDS = 16  # of the guest's clock for each instruction, see lab/boot


def rows(report):
    for line in (Path(report) / "cost").read_text().splitlines():
        data, tool, runs, user, system, memory = line.split("|")
        instructions = [float(seconds) / int(runs) / NANOSECONDS * 1e3 for seconds in (user, system)]  # millions
        yield data, tool, *instructions, int(memory) / 4 / 1024


def main(report):
    print("Millions of instructions in user and kernel mode, and memory of the largest process,\nfor the same data of all disks of the guest:\n")
    print(f"{'data':27}{'tool':19}{'user':>7}{'kernel':>8}{'total':>7}{'MiB':>6}")
    print("-" * 79)
    for data, measured in groupby(rows(report), lambda row: row[0]):
        measured = list(measured)
        _, _, *ours, our_memory = measured[0]
        for index, (_, tool, user, kernel, memory) in enumerate(measured):
            print(f"{data if index == 0 else '':27}{tool:19}{user:7.1f}{kernel:8.1f}{user + kernel:7.1f}{memory:6.1f}")
        cheapest = min(user + kernel for _, _, user, kernel, _ in measured[1:])
        smallest = min(memory for *_, memory in measured[1:])
        print(f"{'':27}orbis-host: x{sum(ours) / cheapest:.2f} the instructions, x{our_memory / smallest:.1f} the memory")


if __name__ == "__main__":
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        print(__doc__.strip())
        sys.exit(0 if sys.argv[1:] in (["--help"], ["-h"]) else 2)
    main(sys.argv[1])
