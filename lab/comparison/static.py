"""PhysicalDiskStaticInfo against lsblk, blkid, sgdisk and smartctl: every disk of the guest with its partitions."""

import re

from .schema import ABSENT, value_at

DATATYPE = "PhysicalDiskStaticInfo"
FIELDS = ["name", "description", "makeModel", "size", "type", "capability", "eppid", "guid", "firmwareRevision",
          "namespaceMarketedSizeInGB", "OEMType208SystemID", "deviceInstanceId"]
PARTITION_FIELDS = ["name", "size", "index", "guid", "serialNumber", "isBootVolume", "isPageFilePresent", "isCrashDump"]
SYSTEM_ID = "LAB-SYSTEM-ID-0042"  # the second of the OEM strings that lab/boot gives to the guest
EXTENDED = 5  # MBR partition type
NO_IDENTIFIER = "00000000-0000-0000-0000-000000000000"
CAPABILITIES = {"DISK_TYPE_HDD": ["HardDrive", "HDD"], "DISK_TYPE_SSD": ["HardDrive", "SSD"], "DISK_TYPE_UNKNOWN": ["Unknown"]}
MEBIBYTE = 1 << 20
TOOLS = ("lsblk, blkid", "another")
LSBLK, OTHER = TOOLS


def compare(report, schema, table):
    items = report.collected(DATATYPE)
    disks = [disk for disk in report.json("disks/lsblk")["blockdevices"] if disk["type"] == "disk"]
    for disk in disks:
        disk["blkid"] = blkid(report, disk["name"])
    swaps = [line.split()[0] for line in report.output("disks/swaps").decode().splitlines()[1:]]

    table.title(f"The items of {DATATYPE}")
    in_schema = schema.fields(DATATYPE)
    listed = {*FIELDS, *(f"partitions[].{name}" for name in PARTITION_FIELDS)}
    table.require("exactly the fields of the schema are listed", set(in_schema) == listed, sorted(set(in_schema) ^ listed))
    table.require("one item for each disk", len(items) == len(disks), len(items))
    names = [item["data"].get("name") for item in items]
    table.require("disks are numbered from 0 in order", names == [f"DISK{number}" for number in range(len(items))], names)
    table.require("the tables of the disks are GPT, MBR and none", {style(disk) for disk in disks} == {"gpt", "dos", None})

    # The sizes of the guest's disks all differ.
    by_size = {geometry_size(disk): disk for disk in disks}
    for item in items:
        disk = by_size.get(int(item["data"].get("size", -1)))
        table.title(f"{DATATYPE} of {disk and disk['name']}\n{item['itemId']}")
        table.require("there is a disk of its size", disk is not None, item["data"].get("size"))
        if disk is not None:
            table.header(TOOLS)
            compare_disk(item, disk, report, in_schema, table)
            compare_partitions(item["data"], disk, report, swaps, in_schema, table)


def blkid(report, reading):
    """The output of blkid, which is empty for an empty device."""
    printed = report.output(f"disks/{reading}/blkid", accept=lambda status: status in (0, 2)).decode()
    return dict(line.split("=", 1) for line in printed.splitlines())


def style(disk):
    return disk["blkid"].get("PTTYPE")


def geometry_size(disk):
    """The size in whole cylinders of 255 tracks of 63 sectors; a partial cylinder does not count."""
    cylinder = 255 * 63 * disk["log-sec"]
    return disk["size"] // cylinder * cylinder // MEBIBYTE


def compare_disk(item, disk, report, in_schema, table):
    data, folder = item["data"], f"disks/{disk['name']}"
    identity = report.smartctl(f"{folder}/smartctl")
    is_partitioned = style(disk) is not None
    # Only an ATA disk answers IDENTIFY DEVICE; the 40 bytes of the model are sent unchanged.
    is_ata = identity["device"]["protocol"] == "ATA"
    model = identity["model_name"].ljust(40) if is_ata else identity["model_name"]
    disk_type = media(identity)

    def check(path, *theirs):
        table.check(path, value_at(data, path, in_schema[path]), [(tool, place, [right]) for tool, place, right in theirs])

    check("description", (OTHER, "always so", "Storage"))
    check("makeModel", (OTHER, "smartctl, as the drive pads it", model))
    check("size", (LSBLK, "size, whole cylinders", geometry_size(disk)),
          (OTHER, "smartctl, less than a cylinder above", geometry_size({**disk, "size": identity["user_capacity"]["bytes"]})))
    check("type", (OTHER, "smartctl, rotation_rate", disk_type))
    table.check("capability", data.get("capability"), [(OTHER, "smartctl, rotation_rate", [CAPABILITIES[disk_type]])])
    check("eppid", (OTHER, "no log 9Ah", ""))
    check("guid", *guids(disk, report, folder))
    for path, tool, place, right in (
            ("firmwareRevision", OTHER, "smartctl", identity["firmware_version"]),
            ("namespaceMarketedSizeInGB", LSBLK, "size, whole cylinders", geometry_size(disk) * MEBIBYTE // 10**9),
            ("OEMType208SystemID", OTHER, "what the guest was given", SYSTEM_ID)):
        check(path, (tool, place if is_partitioned else "not for a disk without partitions", right if is_partitioned else ABSENT))
    table.check("deviceInstanceId", data.get("deviceInstanceId"), [(OTHER, "the item's id", [item["itemId"]])])


def media(identity):
    """Unknown for a disk that does not report its rotation rate; lsblk calls such a disk rotating."""
    rotation_rate = 0 if identity["device"]["protocol"] == "NVMe" else identity.get("rotation_rate")
    return {None: "DISK_TYPE_UNKNOWN", 0: "DISK_TYPE_SSD"}.get(rotation_rate, "DISK_TYPE_HDD")


def guids(disk, report, folder):
    if style(disk) != "gpt":
        return [(LSBLK, "no GPT", "")]
    printed = report.output(f"{folder}/sgdisk").decode()
    return [(LSBLK, "PTUUID", disk["blkid"]["PTUUID"].upper()),
            (OTHER, "sgdisk", re.search(r"Disk identifier \(GUID\): (\S+)", printed).group(1))]


def compare_partitions(data, disk, report, swaps, in_schema, table):
    entries = data.get("partitions", [])
    partitions = {number_of(partition, disk): partition for partition in disk.get("children", [])}
    is_mbr = style(disk) == "dos"
    # The entries of an MBR are reported in groups of four, including unused ones.
    expected = sorted(partitions) + [0] * (-len(partitions) % 4 if is_mbr else 0)
    table.check("partitions.index", [int(entry["index"]) for entry in entries], [(LSBLK, "name", [expected])])
    for position, entry in enumerate(entries):
        partition = partitions.get(int(entry["index"]))
        if partition is None:
            unused = {"name": "Not Used", "size": "0", "index": "0", "guid": NO_IDENTIFIER,
                      "isBootVolume": False, "isPageFilePresent": False, "isCrashDump": False}
            table.check(f"partitions[{position}].all", entry, [(LSBLK, "an unused entry", [unused])])
            continue
        partition["blkid"] = blkid(report, f"{disk['name']}/{entry['index']}")
        right = {**of_table(partition, disk, report, is_mbr), **of_volume(partition, swaps, is_mbr)}
        for field in PARTITION_FIELDS:
            path = f"partitions[{position}].{field}"
            table.check(path, value_at(data, path, in_schema[f"partitions[].{field}"]),
                        [(tool, place, [value]) for tool, place, value in right[field]])


def number_of(partition, disk):
    return int(partition["name"].removeprefix(disk["name"]).removeprefix("p"))


def of_table(partition, disk, report, is_mbr):
    """A partition's entry in the partition table, from lsblk, blkid and (for a GPT) sgdisk."""
    entry = partition["blkid"]
    size = [(LSBLK, "PART_ENTRY_SIZE", int(entry["PART_ENTRY_SIZE"]) * 512 // MEBIBYTE)]
    if not is_mbr or int(entry["PART_ENTRY_TYPE"], 16) != EXTENDED:  # the kernel shows an extended partition with one kilobyte
        size.append((LSBLK, "size", partition["size"] // MEBIBYTE))
    of_both = {"index": [(LSBLK, "PART_ENTRY_NUMBER", int(entry["PART_ENTRY_NUMBER"]))], "size": size}
    if is_mbr:
        none = "an MBR partition has no identifier"
        return {**of_both, "name": [(LSBLK, none, "Not Used")], "guid": [(LSBLK, none, NO_IDENTIFIER)]}

    printed = report.output(f"disks/{disk['name']}/{entry['PART_ENTRY_NUMBER']}/sgdisk").decode()

    def sgdisk(pattern):
        return re.search(pattern, printed).group(1)

    size.append((OTHER, "sgdisk", int(sgdisk(r"Partition size: (\d+) sectors")) * disk["log-sec"] // MEBIBYTE))
    return {
        **of_both,
        "name": [(OTHER, "sgdisk", sgdisk(r"Partition name: '(.*)'"))],
        "guid": [(LSBLK, "PART_ENTRY_UUID", entry["PART_ENTRY_UUID"].upper()),
                 (OTHER, "sgdisk", sgdisk(r"Partition unique GUID: (\S+)"))],
    }


def of_volume(partition, swaps, is_mbr):
    """The data of the volume on a partition: none when it is not mounted, and none for an MBR partition, which has no identifier to
    join by."""
    mounts = [] if is_mbr else [mount for mount in partition["mountpoints"] if mount and mount.startswith("/")]
    serial = partition["blkid"]["UUID"].replace("-", "").upper()[:8] if mounts else ABSENT
    # The swap file and the folder for crash dumps are in the root file system, with no other mount on their paths.
    is_root = "/" in mounts
    has_swap_file = any(not swap.startswith("/dev/") for swap in swaps)
    return {
        "serialNumber": [(LSBLK, "UUID, eight digits of a mounted one", serial)],
        "isBootVolume": [(LSBLK, "mountpoints", is_root)],
        "isPageFilePresent": [(OTHER, "/proc/swaps", is_root and has_swap_file)],
        "isCrashDump": [(LSBLK, "mountpoints", is_root)],
    }
