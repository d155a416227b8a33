"""Storage telemetry of this machine's disks, through the storage collector plug-in.

    import orbis_storage

    for disk in orbis_storage.collect("SmartNvmeInfo"):
        print(disk.item_id, disk.message.health_info.available_spare.value)
"""

from .collector import CollectedItem, Operation, Plugin, collect, use_machine
from .errors import (CanceledError, CollectionError, ItemNotFoundError, MachineFileError, NotSupportedError, OrbisError,
                     PluginLoadError)
from .insight import Insight

__all__ = ["CanceledError", "CollectedItem", "CollectionError", "Insight", "ItemNotFoundError", "MachineFileError", "NotSupportedError",
           "Operation", "OrbisError", "Plugin", "PluginLoadError", "collect", "use_machine"]
