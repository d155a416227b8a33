"""A disk whose driver loses every command: it is named, and the data of the other disks is as before."""

import json
import re

MODEL = "ST380013AS"  # in the ATA Information page of the kernel's scsi_debug


def items(report, name, accept):
    """The collected data of each disk (number, datatype and data), and the models by number."""
    lines = [json.loads(line) for line in report.output(name, accept=accept).decode().splitlines()]
    lines = [line for line in lines if "number" in line.get("disk", {}) and "data" in line]
    models = {line["disk"]["number"]: line["disk"].get("model", "") for line in lines}
    return {(line["disk"]["number"], line["datatype"]): line["data"] for line in lines}, models


def compare(report, _, table):
    table.title("A disk that does not answer")
    before, models = items(report, "hung/before", lambda status: status in (0, 4))
    hung = [number for number, model in models.items() if model == MODEL]
    table.require("one disk belongs to the driver that loses commands", len(hung) == 1, models)
    others = {key: data for key, data in before.items() if key[0] not in hung}
    after, _ = items(report, "hung/collect", lambda status: status == 4)
    table.require(f"the {len(others)} messages of the other disks are complete", after == others, sorted(set(others) ^ set(after)))
    for reading in ("hung/collect", "hung/health"):
        said = (report.folder / reading / "messages").read_text(errors="replace")
        named = re.findall(r"DISK(\d+): no answer to ", said)
        table.require(f"{reading} names it", [int(number) for number in named] == hung, said[:300])
    verdicts = {disk["number"]: disk["verdict"] for disk in report.json("hung/health", accept=lambda status: status in (4, 6, 7))["disk"]}
    table.require("its health is unknown", all(verdicts.get(number) == "UNKNOWN" for number in hung), verdicts)
