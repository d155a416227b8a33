"""What a host may know beyond the datatypes: findings, health, and where values came from (orbis_insight.h).

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
                ("free", CFUNCTYPE(None, POINTER(_Result)))]


class Insight:
    """The library of insight, which stands beside the plug-in. It observes the plug-in and sends no request of its own.

    Install it before the first plug-in object is made, and end a pass after the collections: findings, health and explanations tell of that
    pass. They are the JSON documents of orbis/insight/*.proto. Any thread may use it.
    """

    def __init__(self, plugin: Optional[libraries.PathLike] = None):
        file = libraries.beside(libraries.find_plugin() if plugin is None else plugin, "orbis-insight")
        table = libraries.load(file).OrbisInsightTable
        table.restype = POINTER(_Table)
        self._table = table().contents
        if self._table.version != VERSION:
            raise PluginLoadError(f"{file}: version {self._table.version} of insight, this package knows {VERSION}")

    def install(self, capacity: int = 0) -> None:
        """Begins to observe, for the rest of the process. `capacity` bounds what one pass may keep, in bytes; 0 is 64 MiB."""
        self._take(self._table.install(capacity))

    def end_pass(self) -> None:
        self._take(self._table.endPass())

    def findings(self) -> dict[str, Any]:
        """What would be missed: a FindingsReport."""
        return self._document(self._table.findings())

    def health(self) -> dict[str, Any]:
        """A verdict for each disk: a HealthReport."""
        return self._document(self._table.health())

    def explain(self, message: Message, item_id: str) -> dict[str, Any]:
        """Where the values of a message came from that was collected in the pass: a MessageExplanation."""
        name, data = border.Text.of(message.DESCRIPTOR.full_name), border.Text.of(message.SerializeToString())
        return self._document(self._table.explain(ctypes.byref(name), ctypes.byref(data), ctypes.byref(border.Text.of(item_id))))

    def message_json(self, datatype: str, message: bytes) -> dict[str, Any]:
        """A serialised message as protobuf's canonical JSON, by its full name, also where this package has no class for it."""
        return self._document(self._table.messageJson(ctypes.byref(border.Text.of(datatype)), ctypes.byref(border.Text.of(message))))

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
