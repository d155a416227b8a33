#!/usr/bin/env python3
"""Watches a machine of which one disk never answers: hung_soak.py ORBIS-HOST MACHINE-FILE PASSES. Status 1 when processes, open files or
memory grow."""
import pathlib
import subprocess
import sys
import tempfile


def tree(pid):
    """The process and all that descend from it."""
    children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
    return [pid] + [below for child in children for below in tree(int(child))]


def usage(pid):
    """Processes, open files and resident pages."""
    pids = tree(pid)
    files = sum(len(list(pathlib.Path(f"/proc/{one}/fd").iterdir())) for one in pids)
    return len(pids), files, sum(int(pathlib.Path(f"/proc/{one}/statm").read_text().split()[1]) for one in pids)


def main():
    host, machine, passes = sys.argv[1], pathlib.Path(sys.argv[2]), int(sys.argv[3])
    slack = 512  # pages
    with tempfile.TemporaryDirectory() as folder:
        hung = pathlib.Path(folder) / "hung.txtpb"
        hung.write_text(machine.read_text().replace("  number: 3\n", "  number: 3\n  exchange { usual: true never: true }\n", 1))
        process = subprocess.Popen([host, "collect", "all", "--machine", hung, "--watch", "0.1", "--count", str(passes), "--deadline", "1",
                                    "--log-level", "off"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        done, samples = 0, {}
        for line in process.stdout:
            if len(line) == 21 and line.endswith("Z\n"):
                done += 1
                if done == max(passes // 10, 2) or done == passes - 1:
                    samples[done] = usage(process.pid)
                    print(f"after {done} passes: {samples[done][0]} processes, {samples[done][1]} open files, {samples[done][2]} pages")
        status = process.wait()
    first, last = samples.values()
    flat = first[:2] == last[:2] and last[2] <= first[2] + slack
    print("flat" if flat else "NOT FLAT")
    return 0 if flat and status == 4 and done == passes else 1


if __name__ == "__main__":
    sys.exit(main())
