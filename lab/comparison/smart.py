"""Both SMART datatypes against smartctl: the disks' names and models, and the SMART attribute table of each SATA disk."""

from . import sources
from .schema import ABSENT, value_at

STATIC, DYNAMIC = "SmartStaticInfo", "SmartDynamicInfo"

ATTRIBUTES = sources.attributes(DYNAMIC)
VALUES = {"rawValue": "raw.value", "normal": "value", "worst": "worst", "threshold": "thresh"}
TEMPERATURE = 194
LOW_32_BITS = {3, 9, 240}  # the bits above are vendor specific


def compare(report, schema, table):
    statics, dynamics = report.collected(STATIC), report.collected(DYNAMIC)
    disks = {reading["model_name"]: reading for reading in sata_disks(report)}
    nvme = {serial: report.smartctl(f"nvme/{serial}/smartctl-before")["model_name"] for serial in report.serial_numbers()}
    namespaces = sum(len(report.json(f"nvme/{serial}/list-ns")["nsid_list"]) for serial in nvme)

    table.title("The items of both SMART datatypes")
    table.require("the guest has SATA disks", bool(disks))
    table.require("one item for each SATA disk and NVMe namespace", len(statics) == len(disks) + namespaces, len(statics))
    table.require("the same item ids in both datatypes",
                  [item["itemId"] for item in statics] == [item["itemId"] for item in dynamics])
    models = {item["itemId"]: item["data"].get("modelName", ABSENT) for item in statics}
    table.require("each SATA disk is there, by its model", set(disks) <= {model.strip() for model in models.values()}, models)
    in_schema = {STATIC: schema.fields(STATIC), DYNAMIC: schema.fields(DYNAMIC)}
    listed = {STATIC: {"name", "modelName", "eppid"},
              DYNAMIC: {"name"} | {f"{field}.{value}" for field in ATTRIBUTES for value in VALUES}}
    for datatype, paths in listed.items():
        table.require(f"{datatype}: exactly the fields of the schema are listed", set(in_schema[datatype]) == paths,
                      sorted(set(in_schema[datatype]) ^ paths))

    numbered = [f"SMART{number}" for number in range(len(statics))]
    for identity, state in zip(statics, dynamics):
        model = models[identity["itemId"]]
        disk = disks.get(model.strip())
        table.title(f"{STATIC} and {DYNAMIC} of {model.strip()}\n{identity['itemId']}")
        table.header()
        if disk is None:
            # An NVMe drive has neither IDENTIFY DEVICE nor a SMART table, so no source shows that it is solid-state.
            table.check("name", state["data"].get("name", ABSENT), [("smartctl", "not an ATA disk", numbered)])
            table.check("modelName", model, [("smartctl", "model_name", list(nvme.values()))])
            table.check("attributes", sorted(set(state["data"]) - {"name"}), [("smartctl", "not an ATA disk", [[]])])
            continue
        table.check("modelName", model, [("smartctl", "model_name, as the drive pads it", [disk["model_name"].ljust(40)])])
        names = ["SSD"] if disk.get("rotation_rate") == 0 else numbered
        for data in (identity["data"], state["data"]):
            table.check("name", data.get("name", ABSENT), [("smartctl", "rotation_rate", names)])
        table.check("eppid", identity["data"].get("eppid", ABSENT), [("smartctl", "no log 9Ah", [ABSENT])])
        compare_attributes(state["data"], disk, in_schema[DYNAMIC], table)


def sata_disks(report):
    for folder in sorted((report.folder / "sata").iterdir()):
        # Bit 2 means that the disk refused a command; QEMU's disks refuse to read logs that they lack.
        yield report.json(f"sata/{folder.name}/smartctl", accept=lambda status: status & 0b11 == 0)


def compare_attributes(data, disk, in_schema, table):
    known = {attribute["id"]: attribute for attribute in disk["ata_smart_attributes"]["table"]}
    table.note(f"smartctl's attributes without a field: {sorted(set(known) - set(ATTRIBUTES.values())) or 'none'}")
    for field, number in ATTRIBUTES.items():
        for value, key in VALUES.items():
            path = f"{field}.{value}"
            right = expected(known.get(number), number, key)
            table.check(path, value_at(data, path, in_schema[path]), [("smartctl", f"attribute {number}, {key}", [right])],
                        show=number in known)


def expected(attribute, number, key):
    if attribute is None or (number == TEMPERATURE and key != "raw.value"):
        return ABSENT
    if key != "raw.value":
        return attribute[key]
    raw = attribute["raw"]["value"]
    return raw & 0xFF if number == TEMPERATURE else raw & 0xFFFFFFFF if number in LOW_32_BITS else raw
