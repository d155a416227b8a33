"""Verdicts against nvme-cli's critical warnings and smartctl's health, and every JSON document against its schema."""

import json
import sys
from pathlib import Path

from . import smart

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import documents  # noqa: E402

# Bits of the critical warning, each with its rule (NVM Express Base Specification 1.4, figure 194).
BITS = ["nvme.spare-warning", "nvme.temperature-warning", "nvme.reliability", "nvme.read-only", "nvme.backup", "nvme.persistent-memory"]
DATATYPES = ["NvmeIdentifyControllerData", "SmartNvmeInfo", "SmartStaticInfo", "SmartDynamicInfo", "PhysicalDiskStaticInfo"]


def compare(report, _, table):
    health = report.json("orbis/health", accept=lambda status: status in (0, 4, 6, 7))
    by_serial = {}
    for disk in health["disk"]:
        by_serial.setdefault(disk["serialNumber"], []).append(disk)

    table.title("Verdicts")
    table.header()
    for serial in report.serial_numbers():
        bits = report.json(f"nvme/{serial}/smart-log-json-before")["critical_warning"]
        passed = report.smartctl(f"nvme/{serial}/smartctl-before")["smart_status"]["passed"]
        for disk in by_serial.get(serial, [{"name": "no disk", "verdict": "none", "reason": []}]):
            rules = sorted({reason["rule"] for reason in disk["reason"]} & set(BITS))
            right = sorted(rule for bit, rule in enumerate(BITS) if bits >> bit & 1)
            table.check(f"{serial} {disk['name']}.rules", rules, [("nvme-cli", f"critical_warning {bits}", [right])])
            check(table, serial, disk, passed)
    for disk in smart.sata_disks(report):
        for ours in by_serial.get(disk["serial_number"], [{"name": "no disk", "verdict": "none"}]):
            check(table, disk["serial_number"], ours, disk["smart_status"]["passed"])
    verdicts = {disk["verdict"] for disk in health["disk"]}
    table.require("some disk fails, and others do not", "FAIL" in verdicts and len(verdicts) > 1, verdicts)

    table.title("JSON documents by their schemas")
    lines = report.output("orbis/lines", accept=lambda status: status in (0, 4)).decode().splitlines()
    kinds = [("health", health), ("explain", report.orbis("orbis/explain")), *(("collect-jsonl", json.loads(line)) for line in lines),
             *(("collect-json", report.orbis(f"orbis/{datatype}")) for datatype in DATATYPES)]
    for kind in sorted({kind for kind, _ in kinds}):
        wrong = [error for name, document in kinds if name == kind for error in documents.errors(kind, document)]
        table.require(f"{kind}: {sum(name == kind for name, _ in kinds)} as docs/schema says", not wrong, wrong[:3])


def check(table, serial, disk, passed):
    """smartctl's overall health is the drive's own statement whether it fails."""
    table.check(f"{serial} {disk['name']}.verdict", "FAIL" if disk["verdict"] == "FAIL" else "no failure",
                [("smartctl", "smart_status.passed", ["no failure" if passed else "FAIL"])])
