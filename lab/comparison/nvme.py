"""Both NVMe datatypes against nvme-cli and smartctl."""

from . import health, identify
from .schema import ABSENT, every_index, value_at


def compare(report, schema, table):
    serials = report.serial_numbers()
    drives = {serial: (readings(report, serial, "before"), readings(report, serial, "after")) for serial in serials}
    identified = report.collected(identify.DATATYPE)
    healths = report.collected(health.DATATYPE)

    table.title("The items of both NVMe datatypes")
    serial_of = {item["itemId"]: item["data"].get("serialNumber", ABSENT) for item in identified}
    table.require("the guest has two NVMe controllers", len(serials) == 2, serials)
    for serial in serials:
        disks = [item_id for item_id, its_serial in serial_of.items() if its_serial == serial]
        namespaces = len(report.json(f"nvme/{serial}/list-ns")["nsid_list"])
        table.require(f"{serial}: one item for each of its {namespaces} namespaces", len(disks) == namespaces, disks)
    table.require("no item of another disk", set(serial_of.values()) <= set(serials), serial_of)
    table.require("no item twice", len(serial_of) == len(identified) and len(healths) == len(identified))
    table.require("the same item ids in both datatypes",
                  [item["itemId"] for item in identified] == [item["itemId"] for item in healths])
    table.require("item ids are Disk_ and a device id",
                  all(item_id.startswith("Disk_") and len(item_id) > 5 for item_id in serial_of), list(serial_of))

    for module, items in ((identify, identified), (health, healths)):
        compare_datatype(module, items, serial_of, drives, schema.fields(module.DATATYPE), table)


def readings(report, serial, when):
    """The output of the other tools for one drive, before or after orbis-host read its health log."""
    folder = f"nvme/{serial}"
    return {
        "id-ctrl-json": report.json(f"{folder}/id-ctrl-json"),
        "id-ctrl-raw": report.output(f"{folder}/id-ctrl-raw"),
        "smart-log-json": report.json(f"{folder}/smart-log-json-{when}"),
        "smart-log-raw": report.output(f"{folder}/smart-log-raw-{when}"),
        "smartctl": report.smartctl(f"{folder}/smartctl-{when}"),
    }


def compare_datatype(module, items, serial_of, drives, in_schema, table):
    name = module.DATATYPE
    compared = {every_index(path) for before, _ in drives.values() for path in module.fields(before)}
    listed = compared | set(module.ABSENT)
    table.title(f"{name}: the schema's {len(in_schema)} fields")
    table.require("each is listed", set(in_schema) <= listed, f"not {sorted(set(in_schema) - listed)}")
    table.require("each listed field exists", listed <= set(in_schema), f"not {sorted(listed - set(in_schema))}")
    table.note("not compared, and required to be absent:")
    table.note(f"  {module.ABSENT_BECAUSE}")
    for path in module.ABSENT:
        table.note(f"    {path}")

    shown = set()
    for item in items:
        serial = serial_of.get(item["itemId"])
        if serial not in drives:
            continue  # counted as failed where the items are counted
        # The disks of one controller share all these values; they are printed for the first one.
        show = serial not in shown
        shown.add(serial)
        table.title(f"{name} of {serial}\n{item['itemId']}")
        if show:
            table.header()
        else:
            table.note("another disk of the same controller: compared as above, only differences are shown")
        compare_item(module, item["data"], *drives[serial], in_schema, table, show)


def compare_item(module, data, before, after, in_schema, table, show):
    fields = module.fields(before)
    for path, peers in fields.items():
        convert = in_schema.get(every_index(path))
        if convert is None:
            continue  # counted as failed where the lists are compared
        table.check(path, value_at(data, path, convert),
                    [(peer.tool, peer.place, peer.acceptable(before, after)) for peer in peers], show)
    for array in {path.split("[")[0] for path in fields if "[" in path}:
        entries = len({path.split(".")[0] for path in fields if path.startswith(f"{array}[")})
        table.check(f"{array}.length", len(data.get(array, [])), [("nvme-cli", "npss + 1", [entries])], show)
    for message in dict.fromkeys(path.split(".")[0] for path in module.ABSENT):
        table.check(f"{message}.all", data.get(message, ABSENT), [("nvme-cli", module.ABSENT_BECAUSE, [ABSENT])], show)
