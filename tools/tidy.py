#!/usr/bin/env python3
"""Runs clang-tidy over the product's sources and prints its findings. usage: tools/tidy.py BUILD [FILE...]

BUILD has a compile_commands.json made for Clang. A file without findings is checked again only after its text, a header, its options,
.clang-tidy or the version of clang-tidy has changed. The cache is $XDG_CACHE_HOME/orbis/tidy and may be deleted.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("platform", "host-sdk", "device-query", "cpp", "Plugins", "host")
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "orbis" / "tidy"


def sources(build):
    """Our own sources with the compiler and its options; generated ones stand below the build folder."""
    for entry in json.loads((build / "compile_commands.json").read_text()):
        file = pathlib.Path(entry["file"])
        if not file.is_relative_to(ROOT) or file.is_relative_to(build) or file.suffix != ".cpp":
            continue
        if file.relative_to(ROOT).parts[0] in FOLDERS:
            words = shlex.split(entry["command"])
            compiler = next(i for i, word in enumerate(words) if re.search(r"clang\+\+(-\d+)?$", word))
            yield file, words[compiler:], entry["directory"]


def fingerprint(command, directory, tool):
    """A hash of everything that the findings depend on: including comments, because NOLINT is one, but not the path of the tree."""
    keep = command[: command.index("-o")] + command[command.index("-c") + 1 :]
    seen = subprocess.run([*keep, "-E", "-C", "-dD", "-w"], cwd=directory, capture_output=True, check=True).stdout
    digest = hashlib.sha256(tool)
    for part in (seen, " ".join(keep).encode()):
        digest.update(part.replace(str(ROOT).encode(), b""))
    return digest.hexdigest()


def look(source, build, tool):
    """Returns the findings in one file, and whether the file was checked now."""
    file, command, directory = source
    mark = CACHE / fingerprint(command, directory, tool)
    if mark.exists():
        mark.touch()
        return "", False
    ran = subprocess.run(["clang-tidy", "-p", build, "--quiet", file], capture_output=True, text=True)
    if ran.returncode == 0 and "warning:" not in ran.stdout:
        mark.touch()
        return "", True
    return (ran.stdout or ran.stderr).replace(f"{ROOT}/", ""), True


def forget_old():
    """Deletes cache entries that were not used for 30 days."""
    for mark in CACHE.iterdir():
        if mark.stat().st_mtime < time.time() - 30 * 86400:
            mark.unlink()


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    named = {pathlib.Path(name).resolve() for name in sys.argv[2:]}
    CACHE.mkdir(parents=True, exist_ok=True)
    forget_old()
    tool = subprocess.run(["clang-tidy", "--version"], capture_output=True, check=True).stdout + (ROOT / ".clang-tidy").read_bytes()
    todo = [source for source in sources(build) if not named or source[0] in named]
    start, looked, found = time.monotonic(), 0, 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for findings, fresh in pool.map(lambda source: look(source, build, tool), todo):
            looked += fresh
            found += bool(findings)
            print(findings, end="", flush=True)
    print(f"        {len(todo)} files, {looked} of them looked at now, {found} with findings, {time.monotonic() - start:.0f} s")
    return 1 if found or not todo else 0


if __name__ == "__main__":
    sys.exit(main())
