#!/usr/bin/env python3
"""Runs the lines of docs/HOSTS.md as they stand, section by section, against an installed tree.

A section "## In LANGUAGE" has shell lines in ```sh blocks; the last thing that they print is two_drives.txt of the examples. A plain
block of the section is a part of that.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys


def sections(document):
    for section in re.split(r"^## ", document, flags=re.M)[1:]:
        title, _, text = section.partition("\n")
        yield title, re.findall(r"^```(\w*)\n(.*?)^```$", text, flags=re.M | re.S)


def try_section(blocks, source, work, environment):
    shutil.rmtree(work, ignore_errors=True)
    # Where the lines name the source tree, they run in a copy of what they name.
    shutil.copytree(source / "host-sdk", work / "host-sdk", ignore=shutil.ignore_patterns("build", "*.egg-info", "__pycache__"))
    shutil.copy(source / "VERSION", work)
    lines = "".join(text for kind, text in blocks if kind == "sh")
    run = subprocess.run(["bash", "-euo", "pipefail", "-c", lines], cwd=work, env=environment, capture_output=True, text=True,
                         stdin=subprocess.DEVNULL)
    expected = (source / "docs/examples/two_drives.txt").read_text()
    if run.returncode or not run.stdout.endswith(expected):
        return f"exit status {run.returncode} of\n{lines}\nwhich printed\n{run.stdout}\n{run.stderr}\nand should end with\n{expected}"
    shown = [text for kind, text in blocks if kind == ""]
    return "".join(f"the document shows what is not printed:\n{text}" for text in shown if text not in expected)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--prefix", type=pathlib.Path, help="where it is installed; without this, where packages install")
    parser.add_argument("--source", type=pathlib.Path, required=True)
    parser.add_argument("--work", type=pathlib.Path, required=True)
    parser.add_argument("languages", nargs="*")
    arguments = parser.parse_args()

    # The system's Python before others: the lines speak of its packages. Compilers through ccache where Debian's package of it has put them.
    environment = {**os.environ, "PATH": "/usr/lib/ccache:/usr/bin:" + os.environ["PATH"], "PYTHONDONTWRITEBYTECODE": "1"}
    environment.pop("PYTHONPATH", None)
    if arguments.prefix:
        environment["PKG_CONFIG_PATH"] = str(arguments.prefix / "lib/pkgconfig")
        environment["CMAKE_PREFIX_PATH"] = str(arguments.prefix)
        environment["PATH"] = f"{arguments.prefix}/bin:{environment['PATH']}"
    found = {title: blocks for title, blocks in sections((arguments.source / "docs/HOSTS.md").read_text())
             if title.startswith("In ")}
    failed = 0
    for language in arguments.languages or [title.removeprefix("In ") for title in found]:
        wrong = try_section(found[f"In {language}"], arguments.source.resolve(), arguments.work / language, environment)
        print(f"{'FAILED' if wrong else 'ok'}: {language}\n{wrong}".rstrip())
        failed += bool(wrong)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
