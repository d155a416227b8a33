"""A host in Python: loads a collector plug-in, lists what it collects, and collects NVMe Identify Controller data in four ways.

    host_in_python.py PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]

Needs protobuf for Python and the classes that protoc makes of the schema (protoc --python_out) on PYTHONPATH.
"""

import sys
from datetime import datetime, timezone

from orbis.datatypes.nvme_identify_pb2 import NvmeIdentifyControllerData

import orbis_border


def print_failure(error):
    print(f"  failed: {error.type_name}: {error}")
    while error := error.inner:
        print(f"    because of {error.type_name}: {error}")


def describe(message):
    if message is None:
        return "no message"
    drive = NvmeIdentifyControllerData.FromString(message)
    return f"{drive.model_number}, serial {drive.serial_number}"


def collect(plugin, operation, title, **how):
    print(title)
    try:
        items = plugin.collect(operation, **how)
    except orbis_border.CollectionError as error:
        print_failure(error)
        return []
    if items is None:
        print("  no list")
        return []
    for item_id, nanoseconds, message in items:
        when = datetime.fromtimestamp(nanoseconds // 10**9, timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
        print(f"  {item_id}, collected {when}: {describe(message)}")
    return items


def main(plugin_path, *machine):
    if machine:
        orbis_border.use_machine(*machine)

    def log(level, message, *_):
        print(f"{level}: {message}", file=sys.stderr)

    with orbis_border.Plugin(plugin_path, log) as plugin:
        print(plugin.name, plugin.id)
        for name, datatype in plugin.operations:
            print(f"  {name}: {datatype}")
        identify = [name for name, _ in plugin.operations].index("CollectNvmeIdentifyControllerData")

        items = collect(plugin, identify, "All disks:")
        if items:
            collect(plugin, identify, "The first of them:", item_id=items[0][0])
        collect(plugin, identify, "Cancelled:", is_cancelled=lambda: True)
        collect(plugin, identify, "A disk that is not there:", item_id="Disk_that is not there")


if __name__ == "__main__":
    if len(sys.argv) not in (2, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
