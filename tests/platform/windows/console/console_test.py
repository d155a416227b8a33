"""Runs orbis-host in a console of another code page: it shows what that page does not hold, and leaves the page as it was.

usage: console_test.py PROGRAM RUN...     RUN runs a program of Windows in the console of a pseudo-terminal, as Wine does
"""

import os
import pty
import re
import shutil
import subprocess
import sys
import tempfile

FILE = "Łódź.txtpb"


def in_console(command, folder):
    """What a console shows while `command` runs, without escape sequences."""
    console, terminal = pty.openpty()
    with subprocess.Popen(command, cwd=folder, stdin=terminal, stdout=terminal, stderr=terminal, start_new_session=True,
                          env={**os.environ, "LC_ALL": "C.UTF-8", "TERM": "xterm"}):
        os.close(terminal)
        shown = b""
        try:
            while part := os.read(console, 4096):
                shown += part
        except OSError:  # the last program has closed its end
            pass
        os.close(console)
    text = re.sub(r"\x1b\[1C", " ", shown.decode("utf-8", "replace"))  # the cursor goes over a space
    return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", text)


def main(program, *run):
    with tempfile.TemporaryDirectory() as folder:
        name = os.path.basename(program)
        for file in (name, "orbis-platform.dll", "code-page.exe"):
            shutil.copy(os.path.join(os.path.dirname(program), file), folder)
        shown = in_console([*run, "cmd", "/c", f"code-page 850 & {name} machine show {FILE} & {name} --version >NUL & code-page"], folder)
    if f"{FILE}: error" not in shown or shown.count("code page 850") != 2:
        sys.exit(f"a console of code page 850 shows:\n{shown}")


if __name__ == "__main__":
    main(*sys.argv[1:])
