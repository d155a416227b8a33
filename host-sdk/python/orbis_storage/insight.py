"""What a host can learn beyond the datatypes: findings, health, and where values came from (orbis_insight.h).

    insight = orbis_storage.Insight()
    insight.install()
    disks = orbis_storage.collect("SmartNvmeInfo")
    insight.end_pass()
    for finding in insight.findings().get("finding", []):
        print(finding["text"], finding.get("remedy", ""))
"""

from __future__ import annotations

import ctypes
import json
from ctypes import CFUNCTYPE, POINTER, Structure, c_int32, c_size_t, c_uint32
from typing import Any, Optional

from google.protobuf.message import Message

from . import border, libraries
from .errors import OrbisError, PluginLoadError

VERSION = 1


class _Result(Structure):
    _fields_ = [("structSize", c_uint32), ("isFailure", c_int32), ("text", border.Text)]


_Answer = CFUNCTYPE(POINTER(_Result))


class _Table(Structure):
    _fields_ = [("structSize", c_uint32), ("version", c_uint32), ("install", CFUNCTYPE(POINTER(_Result), c_size_t)), ("endPass", _Answer),
                ("findings", _Answer), ("health", _Answer),
                ("explain", CFUNCTYPE(POINTER(_Result), POINTER(border.Text), POINTER(border.Text), POINTER(border.Text))),
                ("messageJson", CFUNCTYPE(POINTER(_Result), POINTER(border.Text), POINTER(border.Text))),
                ("free", CFUNCTYPE(None, POINTER(_Result))),
                # Later than release 0.1, so an older library's table ends before them.
                ("hideDisk", CFUNCTYPE(POINTER(_Result), c_uint32, c_int32)), ("waits", _Answer), ("skipSleepingDisks", _Answer)]


class Insight:
    """The library orbis-insight, from the folder of the plug-in. It observes the plug-in; only skip_sleeping_disks sends requests of its own.

    Install it before the first plug-in object is made, and end each pass after its collections. Findings, health and explanations are about
    the last pass that ended. They are the JSON documents of orbis/insight/*.proto. Every method may be called on any thread.
    """

    def __init__(self, plugin: Optional[libraries.PathLike] = None):
        file = libraries.beside(libraries.find_plugin() if plugin is None else plugin, "orbis-insight")
        table = libraries.load(file).OrbisInsightTable
        table.restype = POINTER(_Table)
        self._table = table().contents
        if self._table.version != VERSION:
            raise PluginLoadError(f"{file}: version {self._table.version} of insight, this package knows {VERSION}")

    def install(self, capacity: int = 0) -> None:
        """Starts to observe, for the rest of the process. `capacity` limits what is kept of one pass, in bytes; 0 is 64 MiB."""
        self._take(self._table.install(capacity))

    def end_pass(self) -> None:
        """Ends a pass. Call it after the collections of each pass."""
        self._take(self._table.endPass())

    def findings(self) -> dict[str, Any]:
        """Everything that was left out or needs attention, with the remedy: a FindingsReport."""
        return self._document(self._table.findings())

    def health(self) -> dict[str, Any]:
        """A verdict for each disk: a HealthReport."""
        return self._document(self._table.health())

    def explain(self, message: Message, item_id: str) -> dict[str, Any]:
        """Where the values of a message of the last pass came from: a MessageExplanation."""
        name, data = border.Text.of(message.DESCRIPTOR.full_name), border.Text.of(message.SerializeToString())
        return self._document(self._table.explain(ctypes.byref(name), ctypes.byref(data), ctypes.byref(border.Text.of(item_id))))

    def message_json(self, datatype: str, message: bytes) -> dict[str, Any]:
        """A serialised message as protobuf's canonical JSON. `datatype` is its full name; this package need not have a class for it."""
        return self._document(self._table.messageJson(ctypes.byref(border.Text.of(datatype)), ctypes.byref(border.Text.of(message))))

    def hide_disk(self, number: int, hidden: bool = True) -> None:
        """Leaves the disk with this drive number out of every collection from now on, or includes it again. It gets no requests."""
        self._take(self._later("hideDisk")(number, int(hidden)))

    def waits(self) -> dict[str, Any]:
        """What the collections wait for at this moment, and how long: a WaitsReport. Call it on another thread than theirs."""
        return self._document(self._later("waits")())

    def skip_sleeping_disks(self) -> dict[str, Any]:
        """Leaves out the disks that are asleep until the next call, without waking them: a SleepReport. Call it before each pass."""
        return self._document(self._later("skipSleepingDisks")())

    def _later(self, name: str) -> Any:
        """A function that was added to the table after release 0.1."""
        field = getattr(_Table, name)
        if self._table.structSize < field.offset + field.size:
            raise OrbisError(f"the installed orbis-insight has no {name}; a later release has it")
        return getattr(self._table, name)

    def _document(self, answer: ctypes._Pointer[_Result]) -> dict[str, Any]:
        document: dict[str, Any] = json.loads(self._take(answer))
        return document

    def _take(self, answer: ctypes._Pointer[_Result]) -> str:
        try:
            result = answer.contents
            if result.isFailure:
                raise OrbisError(str(result.text))
            return str(result.text)
        finally:
            self._table.free(answer)
