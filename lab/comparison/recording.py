"""The recording of the guest, replayed outside it: the same messages, byte for byte, and the same log lines except their times."""

import re


def compare(report, _schema, table):
    table.title("The recording of the guest, replayed outside it")
    outputs = [report.output(name, accept=lambda status: status in (0, 4)) for name in ("record", "replay")]
    table.require(f"six datatypes, {len(outputs[0])} bytes", outputs[0] and outputs[0] == outputs[1])
    logs = [log_lines(report.folder / name / "messages") for name in ("record", "replay")]
    wrong = [pair for pair in zip(*logs) if pair[0] != pair[1]]
    table.require(f"{len(logs[0])} log lines except their times", logs[0] and len(logs[0]) == len(logs[1]) and not wrong, wrong)


def log_lines(path):
    lines = path.read_text(errors="replace").splitlines()
    return [re.sub(r"^[0-9:.]+ ", "", line) for line in lines if re.match(r"[0-9]{2}:[0-9]{2}:", line)]
