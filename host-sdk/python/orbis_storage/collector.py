"""The plug-in as a Python object."""

from __future__ import annotations

import contextlib
import ctypes
import importlib
import logging
import pkgutil
import threading
from dataclasses import dataclass
from datetime import datetime, timedelta, timezone
from types import TracebackType
from typing import Callable, Optional, Type

import orbis.datatypes
from google.protobuf import symbol_database
from google.protobuf.message import DecodeError, Message

from . import border, libraries
from .errors import MachineFileError, OrbisError, PluginLoadError, from_failure

logger = logging.getLogger("orbis_storage")
_LEVELS = {border.LOG_ERROR: logging.ERROR, border.LOG_WARNING: logging.WARNING, border.LOG_DEBUG: logging.DEBUG,
           border.LOG_TRACE: logging.DEBUG - 5}
_EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


@dataclass(frozen=True)
class Operation:
    """One collection operation of a plug-in."""
    name: str         #: for example "CollectSmartNvmeInfo"
    datatype: str     #: full name of the message
    description: str


@dataclass(frozen=True)
class CollectedItem:
    """One collected item. No message and an empty message are different things."""
    item_id: str
    collection_time_ns: int  #: nanoseconds since 1970, UTC
    message: Optional[Message]

    @property
    def collection_time(self) -> datetime:
        """UTC, to the microsecond."""
        return _EPOCH + timedelta(microseconds=self.collection_time_ns // 1000)


def _message_class(datatype: str) -> Type[Message]:
    for module in pkgutil.iter_modules(orbis.datatypes.__path__):
        importlib.import_module(f"orbis.datatypes.{module.name}")
    try:
        return symbol_database.Default().GetSymbol(datatype)
    except KeyError:
        raise OrbisError(f"{datatype}: the plug-in is newer than this package, which has no class for it") from None


class Plugin:
    """A plug-in object. Use it as a context manager, or close() it. Its methods may be called on any thread."""

    def __init__(self, file: Optional[libraries.PathLike] = None, log: logging.Logger = logger):
        self.file = libraries.find_plugin() if file is None else file
        try:
            register = libraries.load(self.file).OrbisPluginRegistration
        except AttributeError:
            raise PluginLoadError(f"{self.file} is no plug-in: it has no function OrbisPluginRegistration") from None
        register.restype = ctypes.POINTER(border.Registration)
        self._table = table = register().contents
        if table.version != border.VERSION:
            raise PluginLoadError(f"{self.file}: version {table.version} of the border, this package knows {border.VERSION}")
        self.id, self.name, self.description = str(table.id), str(table.name), str(table.description)
        self.operations = [Operation(str(operation.name), str(operation.datatype), str(operation.description))
                           for operation in border.elements(border.Operation, table.operations, table.operationCount,
                                                            table.operationSize)]
        # The same operation of an object must not run twice at the same time.
        self._locks = [threading.Lock() for _ in self.operations]

        def on_log(_: object, line_pointer: ctypes._Pointer[border.LogLine]) -> None:
            line = line_pointer.contents
            level = _LEVELS.get(line.level, logging.INFO)
            if log.isEnabledFor(level):
                log.handle(log.makeRecord(log.name, level, str(line.file), line.line, "%s", (str(line.message),), None,
                                          str(line.function)))

        # ctypes' function objects must exist as long as the plug-in may call them.
        self._host = border.Host(ctypes.sizeof(border.Host), border.LogFunction(on_log), None)
        self._object = ctypes.c_void_p()
        self._take(table.create(ctypes.byref(self._host), ctypes.byref(self._object)))

    def close(self) -> None:
        """Destroys the plug-in object as soon as no collection uses it; the library stays loaded."""
        with contextlib.ExitStack() as stack:
            for lock in self._locks:
                stack.enter_context(lock)
            plugin, self._object = self._object, ctypes.c_void_p()
        self._table.destroy(plugin)

    def __enter__(self) -> Plugin:
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]) -> None:
        self.close()

    def collect(self, datatype: str, item_id: Optional[str] = None,
                is_cancelled: Optional[Callable[[], bool]] = None) -> Optional[list[CollectedItem]]:
        """Collects all items of a datatype, or one. `datatype` is a full name ("veyra.orbis.datatypes.SmartNvmeInfo") or its last part.

        Returns None if the plug-in returns no list, which differs from an empty list. Raises CollectionError and its subclasses.
        """
        index = self._index(datatype)
        text = border.Text.of(item_id) if item_id is not None else None
        raised: list[BaseException] = []

        def ask(_: object) -> int:
            try:
                return int(bool(is_cancelled and is_cancelled()))
            except BaseException as error:  # raised again below, because no exception may pass through C
                raised.append(error)
                return 1

        cancellation = border.Cancellation(ctypes.sizeof(border.Cancellation), border.CancellationFunction(ask), None)
        with self._locks[index]:
            if not self._object:
                raise OrbisError("the plug-in object is closed")
            answer = self._table.collect(self._object, index, ctypes.byref(text) if text else None, ctypes.byref(cancellation))
        try:
            items = self._take(answer)
        except OrbisError:
            if raised:
                raise raised[0] from None
            raise
        return None if items is None else [self._decode(index, *item) for item in items]

    def _index(self, datatype: str) -> int:
        for index, operation in enumerate(self.operations):
            if datatype in (operation.datatype, operation.datatype.rpartition(".")[2]):
                return index
        known = ", ".join(operation.datatype.rpartition(".")[2] for operation in self.operations)
        raise OrbisError(f"{self.name} does not collect {datatype}, but {known}")

    def _decode(self, index: int, item_id: str, time: int, serialized: Optional[bytes]) -> CollectedItem:
        if serialized is None:
            return CollectedItem(item_id, time, None)
        datatype = self.operations[index].datatype
        try:
            return CollectedItem(item_id, time, _message_class(datatype).FromString(serialized))
        except DecodeError as error:
            raise OrbisError(f"{datatype} of {item_id} is malformed: {error}") from error

    def _take(self, pointer: ctypes._Pointer[border.Result]) -> Optional[list[tuple[str, int, Optional[bytes]]]]:
        """The contents of a result as Python objects; frees the result."""
        try:
            result = pointer.contents
            if result.failure:
                raise from_failure(result.failure.contents)
            if not result.hasList:
                return None
            return [(str(item.itemId), item.collectionTime, item.message.bytes() if item.hasMessage else None)
                    for item in border.elements(border.Item, result.items, result.itemCount, result.itemSize)]
        finally:
            self._table.free(pointer)


_shared: dict[str, Plugin] = {}
_shared_lock = threading.Lock()


def collect(datatype: str, item_id: Optional[str] = None, *, plugin: Optional[libraries.PathLike] = None,
            is_cancelled: Optional[Callable[[], bool]] = None) -> list[CollectedItem]:
    """Collects a datatype with a plug-in object that is created once and kept. `plugin` is the file to use instead of the installed one."""
    file = str(plugin) if plugin is not None else str(libraries.find_plugin())
    with _shared_lock:
        if file not in _shared:
            _shared[file] = Plugin(file)
    return _shared[file].collect(datatype, item_id, is_cancelled) or []


def use_machine(machine_file: libraries.PathLike, library: Optional[libraries.PathLike] = None) -> None:
    """Replaces this machine by the simulated machine of a file, for the whole process. Call it before the first plug-in object is created.

    `library` is the library of simulated machines; the default is the one beside the installed plug-in.
    """
    if library is None:
        library = libraries.beside(libraries.find_plugin(), "orbis-simulated")
    error = ctypes.create_string_buffer(1024)
    if libraries.load(library).OrbisSimulatedUseMachineFile(str(machine_file).encode("utf-8"), error, ctypes.c_size_t(len(error))):
        raise MachineFileError(error.value.decode("utf-8"))
