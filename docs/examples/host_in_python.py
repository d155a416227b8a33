"""A host in Python: what host_in_c.c does, over the package orbis_storage.

    host_in_python.py [PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]]

Without a plug-in's file, the installed one is loaded. With a simulated machine, the plug-in sees that machine instead of this one.
"""

import logging
import sys

import orbis_storage


def collect(plugin, title, **how):
    print(title)
    try:
        items = plugin.collect("NvmeIdentifyControllerData", **how)
    except orbis_storage.CollectionError as error:
        for failure in error.chain():
            print("  failed:" if failure is error else "    because of", f"{failure.type_name}: {failure}")
        return []
    if items is None:
        print("  no list")
        return []
    print(f"  items: {len(items)}")
    for item in items:
        print(f"  {item.item_id}, collected {item.collection_time:%Y-%m-%dT%H:%M:%SZ},",
              "without a message" if item.message is None else "with a message")
        if item.message is not None:
            drive = item.message
            print(f"    {drive.model_number}, serial number {drive.serial_number}, firmware {drive.firmware_revision}")
    return items


def main(plugin_file=None, *machine):
    logging.basicConfig(format="%(levelname)s: %(message)s", level=logging.DEBUG, stream=sys.stderr)
    if machine:
        library, machine_file = machine
        orbis_storage.use_machine(machine_file, library)

    with orbis_storage.Plugin(plugin_file) as plugin:
        print(plugin.name, plugin.id)
        for operation in plugin.operations:
            print(f"  {operation.name}: {operation.datatype}")
        items = collect(plugin, "All disks:")
        if items:
            collect(plugin, "The first of them:", item_id=items[0].item_id)
        collect(plugin, "Cancelled:", is_cancelled=lambda: True)
        collect(plugin, "A disk that is not there:", item_id="Disk_that is not there")


if __name__ == "__main__":
    if len(sys.argv) not in (1, 2, 4):
        sys.exit(__doc__)
    main(*sys.argv[1:])
