#!/usr/bin/env python3
"""Compares what orbis-host and PowerShell reported on a tester's PC, from the zip that tryout.cmd made there.

usage: tools/windows/tryout-compare.py ZIP|FOLDER     status 1 when something differs, 2 when there is nothing to compare
"""

import base64
import json
import sys
import zipfile
from pathlib import Path

MIB = 1 << 20
MEDIA = {"DISK_TYPE_SSD": "SSD", "DISK_TYPE_HDD": "HDD", "DISK_TYPE_SCM": "SCM"}


class Store:
    """The files of a try-out in a zip or a folder."""

    def __init__(self, path):
        if path.is_dir():
            self.files = {file.relative_to(path).as_posix(): file.read_bytes() for file in path.rglob("*") if file.is_file()}
        else:
            with zipfile.ZipFile(path) as archive:
                self.files = {name.replace("\\", "/"): archive.read(name) for name in archive.namelist()}

    def json(self, name):
        # Windows PowerShell writes a byte order mark.
        return json.loads(self.files[name].decode("utf-8-sig") or "null") if name in self.files else None

    def rows(self, name):
        document = self.json(name) or {}
        rows = document.get("rows") or []
        return rows if isinstance(rows, list) else [rows]


def text(value):
    return str(value if value is not None else "").strip()


def guid(value):
    return text(value).strip("{}").upper()


def number(value):
    """A counter of the drive: base64 of a little-endian number, empty when its lowest byte is zero."""
    return int.from_bytes(base64.b64decode(value), "little") if value else None


class Comparison:
    def __init__(self):
        self.differences, self.compared, self.notes = [], 0, []

    def same(self, where, field, ours, theirs, alike=lambda ours, theirs: ours == theirs):
        if ours in (None, "") or theirs in (None, ""):
            return
        self.compared += 1
        if not alike(ours, theirs):
            self.differences.append(f"{where}: {field}: collected {ours}, PowerShell {theirs}")


def by(rows, key):
    return {text(row.get(key)): row for row in rows}


def compare_static(result, where, data, drive, disk, physical, partitions):
    near = lambda ours, theirs: abs(ours - theirs) <= 8  # whole cylinders against whole sectors
    result.same(where, "makeModel", text(data.get("makeModel")), text(drive.get("Model")))
    result.same(where, "firmwareRevision", text(data.get("firmwareRevision")), text(drive.get("FirmwareRevision")))
    result.same(where, "size in MiB", int(data.get("size", 0)) or None, int(physical.get("Size") or 0) // MIB or None, near)
    result.same(where, "type", MEDIA.get(data.get("type")), {"Unspecified": ""}.get(physical.get("MediaType"), physical.get("MediaType")))
    result.same(where, "guid", guid(data.get("guid")), guid(disk.get("Guid")))
    theirs = {int(row["PartitionNumber"]): row for row in partitions if text(row.get("DiskNumber")) == text(disk.get("Number"))}
    ours = {int(partition["index"]): partition for partition in data.get("partitions", [])}
    result.same(where, "partitions", sorted(ours) or None, sorted(theirs) or None)
    for index in sorted(set(ours) & set(theirs)):
        place = f"{where}, partition {index}"
        result.same(place, "guid", guid(ours[index].get("guid")), guid(theirs[index].get("Guid")))
        result.same(place, "size in MiB", int(ours[index].get("size", 0)), int(theirs[index].get("Size") or 0) // MIB)


def compare_health(result, where, health, reliability):
    close = lambda margin: lambda ours, theirs: abs(ours - theirs) <= margin
    result.same(where, "temperature", health.get("compositeTemperature"), reliability.get("Temperature") or None, close(5))
    result.same(where, "percentage used", health.get("percentageUsed"), reliability.get("Wear"), close(0))
    result.same(where, "power-on hours", number(health.get("powerOnHours")), reliability.get("PowerOnHours"), close(1))


def compare_pass(store, rights):
    result = Comparison()
    items = store.json(f"{rights}/collect.out")
    drives = {("Disk_" + text(row.get("PNPDeviceID"))).upper(): row for row in store.rows(f"{rights}/Win32_DiskDrive.json")}
    disks, physical = by(store.rows(f"{rights}/Disk.json"), "Number"), by(store.rows(f"{rights}/PhysicalDisk.json"), "DeviceId")
    reliability = by(store.rows(f"{rights}/StorageReliabilityCounter.json"), "DeviceId")
    collected = set()
    for item in items or []:
        datatype, data, drive = item["datatype"], item["data"], drives.get(item["itemId"].upper())
        where = f"{rights}, {datatype}, {item['itemId']}"
        if drive is None:
            result.differences.append(f"{where}: no Win32_DiskDrive has this id")
            continue
        index = text(drive.get("Index"))
        if datatype == "PhysicalDiskStaticInfo":
            collected.add(item["itemId"].upper())
            compare_static(result, where, data, drive, disks.get(index, {}), physical.get(index, {}), store.rows(f"{rights}/Partition.json"))
        elif datatype == "NvmeIdentifyControllerData":
            result.same(where, "firmware", text(data.get("firmwareRevision")), text(physical.get(index, {}).get("FirmwareVersion")))
        elif datatype == "SmartNvmeInfo":
            compare_health(result, where, data.get("healthInfo", {}), reliability.get(index, {}))
    result.notes += [f"{rights}: PhysicalDiskStaticInfo lacks {drives[key].get('PNPDeviceID')} ({drives[key].get('Model')})"
                     for key in sorted(set(drives) - collected)] if items is not None else [f"{rights}: nothing was collected"]
    for run in store.json(f"{rights}/runs.json") or []:
        result.notes.append(f"{rights}: {run['arguments']}: status {run['status']}, {run['milliseconds']} ms")
    return result


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    store = Store(Path(sys.argv[1]))
    passes = [compare_pass(store, rights) for rights in ("not-elevated", "elevated") if any(name.startswith(rights + "/") for name in store.files)]
    compared, differences = sum(one.compared for one in passes), [line for one in passes for line in one.differences]
    print("\n".join([line for one in passes for line in one.notes] + differences))
    print(f"{compared} values compared, {len(differences)} differences")
    return 1 if differences else 2 if compared == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
