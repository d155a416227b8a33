"""The comparison of a try-out, on a made-up one: what agrees, and each kind of disagreement."""

import contextlib
import copy
import io
import json
import runpy
import sys
import tempfile
import zipfile
from pathlib import Path

GUID = "3C9F27A1-5D14-4C0B-9A7E-61B5D2F08E43"
ID = "SCSI\\DISK&VEN_NVME\\5&1"
RIGHT = {
    "collect.out": [
        {"datatype": "PhysicalDiskStaticInfo", "itemId": "Disk_" + ID, "data": {
            "makeModel": "Fast 1TB", "firmwareRevision": "12", "size": "953869", "type": "DISK_TYPE_SSD", "guid": GUID,
            "partitions": [{"index": "1", "size": "100", "guid": GUID}]}},
        {"datatype": "NvmeIdentifyControllerData", "itemId": "Disk_" + ID, "data": {"firmwareRevision": "12"}},
        {"datatype": "SmartNvmeInfo", "itemId": "Disk_" + ID, "data": {"healthInfo": {
            "compositeTemperature": 33, "percentageUsed": 2, "powerOnHours": "AwAAAAAAAAAAAAAAAAAAAA=="}}}],
    "Win32_DiskDrive.json": {"rows": [{"Index": 0, "PNPDeviceID": ID, "Model": "Fast 1TB ", "FirmwareRevision": "12"}]},
    "PhysicalDisk.json": {"rows": [{"DeviceId": "0", "Size": 1000204886016, "MediaType": "SSD", "FirmwareVersion": "12"}]},
    "Disk.json": {"rows": [{"Number": 0, "Guid": "{" + GUID.lower() + "}"}]},
    "Partition.json": {"rows": [{"DiskNumber": 0, "PartitionNumber": 1, "Size": 104857600, "Guid": "{" + GUID + "}"}]},
    "StorageReliabilityCounter.json": {"rows": [{"DeviceId": "0", "Temperature": 35, "Wear": 2, "PowerOnHours": 3}]},
    "runs.json": [{"arguments": "collect", "status": 0, "milliseconds": 700}],
}
# Where one value is changed, to what, and what the comparison says then.
WRONG = [
    (("collect.out", 0, "data", "makeModel"), "Other", "makeModel: collected Other, PowerShell Fast 1TB"),
    (("collect.out", 0, "data", "size"), "900000", "size in MiB"),
    (("collect.out", 0, "data", "type"), "DISK_TYPE_HDD", "type: collected HDD, PowerShell SSD"),
    (("collect.out", 0, "data", "partitions"), [{"index": "2", "size": "100"}], "partitions: collected [2], PowerShell [1]"),
    (("Partition.json", "rows", 0, "Size"), 1048576, "partition 1: size in MiB: collected 100, PowerShell 1"),
    (("Disk.json", "rows", 0, "Guid"), "{0}", "guid"),
    (("PhysicalDisk.json", "rows", 0, "FirmwareVersion"), "13", "firmware: collected 12, PowerShell 13"),
    (("StorageReliabilityCounter.json", "rows", 0, "PowerOnHours"), 9, "power-on hours: collected 3, PowerShell 9"),
    (("StorageReliabilityCounter.json", "rows", 0, "Temperature"), 60, "temperature: collected 33, PowerShell 60"),
    (("Win32_DiskDrive.json", "rows", 0, "PNPDeviceID"), "OTHER", "no Win32_DiskDrive has this id"),
]


def compare(script, files, folder):
    archive = Path(folder) / "tryout.zip"
    with zipfile.ZipFile(archive, "w") as written:
        for name, document in files.items():
            written.writestr("elevated\\" + name, json.dumps(document).encode("utf-8-sig"))
    output = io.StringIO()
    before, sys.argv = sys.argv, [script, str(archive)]
    try:
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            runpy.run_path(script, run_name="__main__")
        status = 0
    except SystemExit as end:
        status = end.code
    finally:
        sys.argv = before
    return status, output.getvalue()


def main():
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        status, output = compare(sys.argv[1], RIGHT, folder)
        if status != 0 or "12 values compared, 0 differences" not in output:
            failures.append(f"what agrees: status {status}\n{output}")
        for path, value, expected in WRONG:
            files = copy.deepcopy(RIGHT)
            place = files
            for step in path[:-1]:
                place = place[step]
            place[path[-1]] = value
            status, output = compare(sys.argv[1], files, folder)
            if status != 1 or expected not in output:
                failures.append(f"{path}: status {status}, without {expected!r}\n{output}")
        status, output = compare(sys.argv[1], {}, folder)
        if status != 2:
            failures.append(f"nothing: status {status}\n{output}")
    print("\n".join(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
