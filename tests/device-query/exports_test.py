"""Compares what the library exports with what its header declares, both ways."""

import argparse
import re
import subprocess
import sys


def declared(header):
    with open(header, encoding="utf-8") as file:
        return set(re.findall(r"^SX_EXPORT .*\b(\w+)\(", file.read(), re.MULTILINE))


def exported(nm, library):
    listing = subprocess.run([nm, "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    # "address type name", with the version after an @ where there is one
    return {line.split()[-1].split("@")[0] for line in listing.splitlines() if line}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--header", required=True)
    parser.add_argument("--library", required=True)
    parser.add_argument("--nm", default="nm")
    arguments = parser.parse_args()

    wanted, found = declared(arguments.header), exported(arguments.nm, arguments.library)
    for name in sorted(wanted - found):
        print(f"declared, not exported: {name}")
    for name in sorted(found - wanted):
        print(f"exported, not declared: {name}")
    if len(wanted) != 6:
        print(f"the header declares {len(wanted)} functions, not 6")
    return 0 if wanted == found and len(wanted) == 6 else 1


if __name__ == "__main__":
    sys.exit(main())
