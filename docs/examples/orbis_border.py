"""The C border of collector plug-ins (HostBorder/orbis_border.h) for Python: ctypes and nothing else."""

import ctypes
import sys
from ctypes import CFUNCTYPE, POINTER, Structure, c_char_p, c_int32, c_int64, c_size_t, c_uint32, c_void_p

VERSION = 1
LEVELS = {1: "error", 2: "warning", 3: "debug", 4: "trace"}


class Text(Structure):
    _fields_ = [("data", c_void_p), ("length", c_size_t)]

    def bytes(self):
        return ctypes.string_at(self.data, self.length) if self.length else b""

    def __str__(self):
        return self.bytes().decode("utf-8")


class LogLine(Structure):
    _fields_ = [("structSize", c_uint32), ("level", c_int32), ("logId", Text), ("message", Text), ("file", Text), ("function", Text),
                ("line", c_int32)]


LogFunction = CFUNCTYPE(None, c_void_p, POINTER(LogLine))
CancellationFunction = CFUNCTYPE(c_int32, c_void_p)


class Host(Structure):
    _fields_ = [("structSize", c_uint32), ("log", LogFunction), ("logContext", c_void_p)]


class Cancellation(Structure):
    _fields_ = [("structSize", c_uint32), ("isCancellationRequested", CancellationFunction), ("context", c_void_p)]


class Failure(Structure):
    pass


Failure._fields_ = [("structSize", c_uint32), ("kind", c_int32), ("typeName", Text), ("message", Text), ("inner", POINTER(Failure))]


class Item(Structure):
    _fields_ = [("hasMessage", c_int32), ("itemId", Text), ("collectionTime", c_int64), ("message", Text)]


class Result(Structure):
    _fields_ = [("structSize", c_uint32), ("hasList", c_int32), ("failure", POINTER(Failure)), ("items", c_void_p),
                ("itemCount", c_size_t), ("itemSize", c_size_t)]


class Operation(Structure):
    _fields_ = [("name", Text), ("datatype", Text), ("description", Text)]


class Registration(Structure):
    _fields_ = [("structSize", c_uint32), ("version", c_uint32), ("id", Text), ("name", Text), ("description", Text), ("logId", Text),
                ("operations", c_void_p), ("operationCount", c_size_t), ("operationSize", c_size_t),
                ("create", CFUNCTYPE(POINTER(Result), POINTER(Host), POINTER(c_void_p))),
                ("collect", CFUNCTYPE(POINTER(Result), c_void_p, c_size_t, POINTER(Text), POINTER(Cancellation))),
                ("free", CFUNCTYPE(None, POINTER(Result))),
                ("destroy", CFUNCTYPE(None, c_void_p))]


def _elements(kind, array, count, size):
    """The elements of an array, which a newer plug-in may have made longer than they are known here."""
    return [kind.from_address(array + index * size) for index in range(count)]


class CollectionError(Exception):
    """What a collection failed with: the host's type name, the message, and what caused it."""

    def __init__(self, failure):
        super().__init__(str(failure.message))
        self.type_name = str(failure.typeName)
        self.kind = failure.kind
        self.inner = CollectionError(failure.inner.contents) if failure.inner else None


class Plugin:
    """A plug-in library with one plug-in object. Use it as a context manager."""

    def __init__(self, path, log=lambda level, message, file, function, line: None):
        self._library = ctypes.CDLL(path)  # never unloaded
        self._library.OrbisPluginRegistration.restype = POINTER(Registration)
        self._table = self._library.OrbisPluginRegistration().contents
        if self._table.version != VERSION:
            raise RuntimeError(f"{path}: version {self._table.version} of the border, not {VERSION}")
        self.name = str(self._table.name)
        self.id = str(self._table.id)
        self.operations = [(str(operation.name), str(operation.datatype))
                           for operation in _elements(Operation, self._table.operations, self._table.operationCount,
                                                      self._table.operationSize)]

        def on_log(_, line):
            line = line.contents
            log(LEVELS.get(line.level, "?"), str(line.message), str(line.file), str(line.function), line.line)

        # ctypes' function objects must live as long as the plug-in may call them.
        self._host = Host(ctypes.sizeof(Host), LogFunction(on_log), None)
        self._object = c_void_p()
        self._take(self._table.create(ctypes.byref(self._host), ctypes.byref(self._object)))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._table.destroy(self._object)
        self._object = c_void_p()

    def collect(self, operation, item_id=None, is_cancelled=None):
        """Runs an operation by its index and returns None for no list, else (item id, nanoseconds, serialised message or None)."""
        text = cancellation = None
        if item_id is not None:
            encoded = item_id.encode("utf-8")
            text = Text(ctypes.cast(c_char_p(encoded), c_void_p), len(encoded))
        if is_cancelled is not None:
            cancellation = Cancellation(ctypes.sizeof(Cancellation), CancellationFunction(lambda _: bool(is_cancelled())), None)
        return self._take(self._table.collect(self._object, operation, text and ctypes.byref(text),
                                              cancellation and ctypes.byref(cancellation)))

    def _take(self, pointer):
        """The contents of a result as objects of Python; frees it."""
        try:
            result = pointer.contents
            if result.failure:
                raise CollectionError(result.failure.contents)
            if not result.hasList:
                return None
            return [(str(item.itemId), item.collectionTime, item.message.bytes() if item.hasMessage else None)
                    for item in _elements(Item, result.items, result.itemCount, result.itemSize)]
        finally:
            self._table.free(pointer)


def use_machine(library, file):
    """Puts a simulated machine in the place of this one; before the first plug-in object."""
    error = ctypes.create_string_buffer(512)
    if ctypes.CDLL(library).OrbisSimulatedUseMachineFile(file.encode("utf-8"), error, c_size_t(len(error))):
        sys.exit(error.value.decode("utf-8"))
