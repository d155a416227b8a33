"""PhysicalDiskDynamicInfo against /proc/diskstats, while a disk is read and written at a steady pace and another one is plugged in.

A collection takes its sample between its collection time and the time when it is printed, and the kernel's counters are known before and
after each chunk that is read or written. A rate is correct when it fits some pair of moments in these windows; there is no other tolerance
except the rounding of 32-bit floats.
"""

import json
import re
from dataclasses import dataclass
from datetime import datetime

from . import static
from .report import ReadingError

DATATYPE = "PhysicalDiskDynamicInfo"
PERCENTAGES = ["idleTimePercentage", "readTimePercentage", "writeTimePercentage"]
RATES = ["byteReadPerSecInMB", "byteWritePerSecInMB"]
LATENCIES = ["avgDiskMSPerRead", "avgDiskMSPerWrite"]
TOTALS = ["byteReadInMB", "byteWriteInMB"]
FIELDS = [*PERCENTAGES, *RATES, *LATENCIES, *TOTALS, *(f"OBSOLETE{name[0].upper()}{name[1:]}" for name in PERCENTAGES + RATES)]
INSERTED = ("it seems the number of disk names is greater than the number of PDH counters, which means the disk might be "
            "inserted. Refresh PDH query now.")
NO_LETTER = re.compile(r'GetDynamicDiskData: the "\d+" name is invalid, skipping to the next one\.')
# Columns of /proc/diskstats, after the name.
READS, READ_SECTORS, READ_MS, WRITES, WRITTEN_SECTORS, WRITE_MS, BUSY_MS = 0, 2, 3, 4, 6, 7, 9
MEBIBYTE, SECTOR, CHUNK = 1 << 20, 512, 256 << 10
FLOAT = 1e-6
UPTIME = 0.01  # its resolution in seconds
TOOLS = ("diskstats", "")


def compare(report, schema, table):
    in_schema = schema.fields(DATATYPE)
    table.title(f"The items of {DATATYPE}")
    table.require("exactly the fields of the schema are listed", set(in_schema) == set(FIELDS), sorted(set(in_schema) ^ set(FIELDS)))
    by_id, disks = disks_by_id(report)
    mounted = {name: volumes for name, volumes in disks.items() if volumes}
    steady, hotplug = Watch(report, "activity/steady", disks), Watch(report, "activity/hotplug", disks)

    for watch in steady, hotplug:
        table.title(f"While {watch.volume} is read")
        table.require("three passes", len(watch.passes) == 3, len(watch.passes))
        for number, one in enumerate(watch.passes, 1):
            names = sorted(by_id.get(item["itemId"], item["itemId"]) for item in one.items)
            is_before = watch is steady or number == 1
            expected = sorted(name for name in mounted if name != hotplug.disk or not is_before)
            table.require(f"pass {number} has the disks with a letter, {', '.join(expected)}", names == expected, names)
        inserted = sum(INSERTED in line for line in watch.messages)
        expected = "once" if watch is hotplug else "never"
        table.require(f"an inserted disk is warned of {expected}", inserted == (watch is hotplug), inserted)
        nameless = sum(bool(NO_LETTER.search(line)) for line in watch.messages)
        expected = 3 * (len(disks) - len(mounted))
        table.require(f"each disk without a letter is warned of in each pass: {expected}", nameless == expected, nameless)
        # The kernel itself reads a little, the file system does when it is mounted, and it writes blocks of its own with every chunk.
        for what, column, chunks in (("read", READ_SECTORS, watch.chunks), ("written", WRITTEN_SECTORS, watch.written)):
            asked, most = chunks * CHUNK, 2 * MEBIBYTE + (chunks * CHUNK // 2 if what == "written" else 0)
            first, last = (watch.snapshots[end].of(watch.volume)[column] * SECTOR for end in (0, -1))
            table.require(f"the kernel counts the {asked} bytes that were {what}, and at most {most} besides",
                          (asked > 0 or (watch is hotplug and what == "written")) and asked <= last - first <= asked + most, last - first)
        # After a disk was plugged in, rates are counted from the new counters, which are made during the second pass.
        for number in range(2 if watch is steady else 3, len(watch.passes) + 1):
            compare_pass(watch, number, by_id, disks, in_schema, table)


def disks_by_id(report):
    """The kernel's names of the disks by item id, and of their mounted volumes in the order of letters, where "/" is C:."""
    disks = [disk for disk in report.json("activity/lsblk")["blockdevices"] if disk["type"] == "disk"]
    by_size = {static.geometry_size(disk): disk["name"] for disk in disks}  # their sizes all differ
    sizes = {item["itemId"]: int(item["data"].get("size", -1)) for item in report.orbis("activity/static")}
    by_id = {item_id: by_size[size] for item_id, size in sizes.items() if size in by_size}
    return by_id, {disk["name"]: volumes(disk) for disk in disks}


def volumes(disk):
    mounted = [partition for partition in disk.get("children", [])
               if any(mount and mount.startswith("/") for mount in partition["mountpoints"])]
    mounted.sort(key=lambda partition: ("/" not in partition["mountpoints"], static.number_of(partition, disk)))
    return [partition["name"] for partition in mounted]


@dataclass
class Snapshot:
    """The kernel's counters, read at some time between two uptimes."""

    first: float
    last: float
    counters: dict

    def of(self, device):
        return self.counters.get(device, [0] * 10)


@dataclass
class Pass:
    """One collection, whose sample was taken at some time between two uptimes."""

    items: list
    first: float
    last: float


class Watch:
    def __init__(self, report, name, disks):
        folder = report.folder / name
        output = report.output(name, accept=lambda status: status in (0, 4)).decode()
        self.messages = (folder / "messages").read_text().splitlines()
        self.volume = (folder / "volume").read_text().strip()
        self.disk = next((disk for disk, volumes_of_it in disks.items() if self.volume in volumes_of_it), None)
        self.snapshots, self.chunks, self.written = snapshots((folder / "counters").read_text())
        second, uptime = (float(word) for word in (folder / "clock").read_text().split()[:2])
        printed = [float(line) + UPTIME for line in (folder / "printed").read_text().split()]
        arrays = [json.loads(array) for array in re.findall(r"^\[$.*?^\]$", output, re.MULTILINE | re.DOTALL)]
        if len(arrays) != len(printed) or not all(arrays):
            raise ReadingError(f"{name} has {len(arrays)} passes and {len(printed)} times, or an empty pass")
        self.passes = [Pass(items, uptime + seconds(items[0]["collectionTime"]) - second, last)
                       for items, last in zip(arrays, printed)]

    def spans(self, disk, one):
        """The intervals in which the sample may have been taken, with the lowest and highest values of the counters in each."""
        for before, after in zip(self.snapshots, self.snapshots[1:]):
            first, last = max(before.first, one.first), min(after.last, one.last)
            if first <= last:
                yield first, last, before.of(disk), after.of(disk)


def seconds(timestamp):
    whole, _, fraction = timestamp.removesuffix("Z").partition(".")
    return datetime.fromisoformat(f"{whole}+00:00").timestamp() + float(f"0.{fraction or 0}")


def snapshots(text):
    found, chunks, written = [], 0, 0
    for line in text.splitlines():
        words = line.split()
        if words[0] == "from":
            found.append(Snapshot(float(words[1]), 0, {}))
        elif words[0] == "to":
            found[-1].last = float(words[1]) + UPTIME
        elif words[0] == "chunks":
            chunks, written = int(words[1]), int(words[2])
        else:
            found[-1].counters[words[2]] = [int(word) for word in words[3:]]
    return found, chunks, written


class Bounds:
    """The lowest and highest values that the counters of one disk allow for the interval that ends with a pass."""

    def __init__(self, watch, number, disk):
        self.watch, self.end = watch, watch.passes[number - 1]
        self.pairs = [(start, end) for start in watch.spans(disk, watch.passes[number - 2])
                      for end in watch.spans(disk, self.end)]

    def over(self, column, divide):
        """The column's growth, divided by the time or by the growth of another column."""
        least, most = [], []
        for start, end in self.pairs:
            shortest, longest = divide(start, end)
            least.append(max(0, end[2][column] - start[3][column]) / longest if longest else 0.0)
            grown = end[3][column] - start[2][column]
            most.append(grown / shortest if shortest else float("inf") if grown else 0.0)
        return min(least), max(most)

    def per_second(self, column):
        return self.over(column, lambda start, end: (end[0] - start[1], end[1] - start[0]))

    def per_count(self, column, count):
        return self.over(column, lambda start, end: (max(0, end[2][count] - start[3][count]), end[3][count] - start[2][count]))

    def total(self, volume, column):
        """Whole megabytes of a volume at the end."""
        spans = list(self.watch.spans(volume, self.end))
        return spans[0][2][column] * SECTOR // MEBIBYTE, spans[-1][3][column] * SECTOR // MEBIBYTE


def compare_pass(watch, number, by_id, disks, in_schema, table):
    for item in watch.passes[number - 1].items:
        disk = by_id.get(item["itemId"])
        if disk is None or not disks[disk]:
            continue  # failed above
        table.title(f"{DATATYPE} of {disk}, pass {number}, while {watch.volume} is read")
        table.header(TOOLS)
        data = {name: convert(item["data"][name]) for name, convert in in_schema.items() if name in item["data"]}
        for name, (low, high) in allowed(Bounds(watch, number, disk), disks[disk][-1]).items():
            between(table, name, data.get(name), low, high)
        for name in PERCENTAGES + RATES:
            twin = f"OBSOLETE{name[0].upper()}{name[1:]}"
            table.check(twin, data.get(twin), [("", f"{name} without its fraction", [int(data.get(name, -1))])])
        if disk == watch.disk:
            moved = ["byteReadPerSecInMB", *(["byteWritePerSecInMB"] if watch.written else [])]
            table.require(f"{' and '.join(moved)} tell of it, and it was idle in between",
                          all(data.get(name, 0) > 0.1 for name in moved) and data.get("byteReadInMB", 0) > 0
                          and 0 < data.get("idleTimePercentage", 0) < 100, data)


def allowed(bounds, last_volume):
    """Totals are those of the disk's last letter only."""
    busy = [min(100.0, rate / 10) for rate in bounds.per_second(BUSY_MS)]  # of 1000 ms in each second
    megabytes = {name: [rate * SECTOR / MEBIBYTE for rate in bounds.per_second(column)]
                 for name, column in zip(RATES, (READ_SECTORS, WRITTEN_SECTORS))}
    return {
        "idleTimePercentage": (100 - busy[1], 100 - busy[0]),
        "readTimePercentage": [min(100.0, rate / 10) for rate in bounds.per_second(READ_MS)],
        "writeTimePercentage": [min(100.0, rate / 10) for rate in bounds.per_second(WRITE_MS)],
        **megabytes,
        "avgDiskMSPerRead": bounds.per_count(READ_MS, READS),
        "avgDiskMSPerWrite": bounds.per_count(WRITE_MS, WRITES),
        "byteReadInMB": bounds.total(last_volume, READ_SECTORS),
        "byteWriteInMB": bounds.total(last_volume, WRITTEN_SECTORS),
    }


def between(table, name, ours, low, high):
    """Any value between the bounds is correct; the value is shown between them."""
    fits = ours is not None and low * (1 - FLOAT) <= ours <= high * (1 + FLOAT)
    shown = [round(bound, 2) if isinstance(bound, float) else bound for bound in (low, high)]
    table.check(name, ours, [(TOOLS[0], "at any two moments of the samples", [shown[0], ours, shown[1]] if fits else shown)])
