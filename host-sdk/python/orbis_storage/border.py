"""The structures and constants of the C border of collector plug-ins (HostBorder/orbis_border.h) for ctypes."""

from __future__ import annotations

import ctypes
from ctypes import CFUNCTYPE, POINTER, Structure, c_char_p, c_int32, c_int64, c_size_t, c_uint32, c_void_p
from typing import Iterator, Type, TypeVar, Union

VERSION = 1
LOG_ERROR, LOG_WARNING, LOG_DEBUG, LOG_TRACE = 1, 2, 3, 4
FAILURE_ZEL, FAILURE_NOT_SUPPORTED, FAILURE_CANCELED, FAILURE_ARGUMENT_OUT_OF_RANGE = 2, 3, 4, 7


class Text(Structure):
    """A text, or the bytes of a message; the memory belongs to its creator."""
    _fields_ = [("data", c_void_p), ("length", c_size_t)]

    @classmethod
    def of(cls, text: Union[str, bytes]) -> Text:
        encoded = text.encode("utf-8") if isinstance(text, str) else text
        made = cls(ctypes.cast(c_char_p(encoded), c_void_p), len(encoded))
        made.keep = encoded  # as long as the structure
        return made

    def bytes(self) -> bytes:
        return ctypes.string_at(self.data, self.length) if self.length else b""

    def __str__(self) -> str:
        return self.bytes().decode("utf-8", "replace")


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


Element = TypeVar("Element", bound=Structure)


def elements(kind: Type[Element], array: int, count: int, size: int) -> Iterator[Element]:
    """The elements of an array. The elements of a newer plug-in may be longer than this package's structure."""
    return (kind.from_address(array + index * size) for index in range(count))
