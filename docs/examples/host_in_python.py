"""A host in Python: does the same as host_in_c.c, with the package orbis_storage.

    host_in_python.py [PLUGIN [SIMULATED_LIBRARY MACHINE_FILE]]

Without a plug-in's file, the installed one is loaded. With a simulated machine, the plug-in sees that machine instead of this one.

The plug-in is used on a separate thread, which may block when a device or a WMI provider hangs. This host just waits for it.
"""

import ctypes
import logging
import sys
from concurrent.futures import ThreadPoolExecutor

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


def enter_apartment():
    """On Windows, enters a multi-threaded apartment for the life of the thread, and sets COM's security before the plug-in's first query."""
    if sys.platform == "win32":
        multithreaded, any_service, default_authentication, impersonate = 0, -1, 0, 3
        ctypes.windll.ole32.CoInitializeEx(None, multithreaded)
        ctypes.windll.ole32.CoInitializeSecurity(None, any_service, None, None, default_authentication, impersonate, None, 0, None)


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
    with ThreadPoolExecutor(max_workers=1, initializer=enter_apartment) as thread:
        thread.submit(main, *sys.argv[1:]).result()
