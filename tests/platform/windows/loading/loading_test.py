"""Loads the plug-in by its path from another current folder, with planted libraries of its names there, in PATH and beside the host."""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

LIBRARIES = ("StorageCollector.dll", "sondix.dll", "orbis-platform.dll")
PLANTED = 99  # the status of a program that loaded a planted library


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--run", nargs="+", required=True, help="runs a program")
    parser.add_argument("--bin", type=Path, required=True)
    parser.add_argument("--planted", type=Path, required=True)
    arguments = parser.parse_args()
    failures = []

    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder)
        plugin, elsewhere, path, host = (root / name for name in ("plug-in", "elsewhere", "path", "host"))
        for made in (plugin, elsewhere, path, host):
            made.mkdir()
        for name in LIBRARIES:
            shutil.copy(arguments.bin / name, plugin)
        shutil.copy(arguments.bin / "host-in-c.exe", host)
        shutil.copy(arguments.bin / "loads-plainly.exe", host)
        environment = {**os.environ, "WINEPATH": str(path), "PATH": f"{path}{os.pathsep}{os.environ['PATH']}"}

        def run(program, *more):
            return subprocess.run([*arguments.run, str(host / program), str(plugin / LIBRARIES[0]), *more], cwd=elsewhere,
                                  env=environment, capture_output=True, text=True, check=False)

        def expect(condition, text, result):
            if not condition:
                failures.append(f"{text}: status {result.returncode}\n{result.stdout}{result.stderr}")

        result = run("host-in-c.exe")
        expect(result.returncode == 0 and "CollectNvmeIdentifyControllerData" in result.stdout, "from another folder", result)
        for place in (elsewhere, path, host):
            for name in LIBRARIES[1:]:
                shutil.copy(arguments.planted, place / name)
            result = run("host-in-c.exe")
            expect(result.returncode == 0 and "CollectNvmeIdentifyControllerData" in result.stdout, f"planted in {place.name}", result)
            # Without flags, an image's own are in force on Windows. Wine has none: what it does shows that the planted one works.
            result = run("loads-plainly.exe")
            print(f"LoadLibrary alone, planted in {place.name}: status {result.returncode}")
            expect(result.returncode in (0, PLANTED), f"LoadLibrary alone, planted in {place.name}", result)
            for name in LIBRARIES[1:]:
                (place / name).unlink()

    print("\n".join(failures), file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
