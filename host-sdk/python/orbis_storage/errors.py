"""The exceptions of this package. All derive from OrbisError."""

from __future__ import annotations

from typing import Iterator, Optional

from . import border


class OrbisError(Exception):
    """Root of this package's exceptions."""


class PluginLoadError(OrbisError):
    """The plug-in or another library cannot be loaded, or has a version that this package does not support."""


class MachineFileError(OrbisError):
    """A file does not describe a simulated machine; the text names file, line, column and field."""


class CollectionError(OrbisError):
    """The plug-in reported a failure. Its cause is `inner`, which is also the exception's __cause__."""

    def __init__(self, message: str, type_name: str, kind: int, inner: Optional[CollectionError] = None):
        super().__init__(message)
        self.type_name = type_name  #: the host's full type name, for example "Veyra.Orbis.Sdk.Exceptions.ZelException"
        self.kind = kind            #: one of ORBIS_FAILURE_ of the border's header
        self.inner = inner
        self.__cause__ = inner

    def chain(self) -> Iterator[CollectionError]:
        """This failure and its causes, outermost first."""
        error: Optional[CollectionError] = self
        while error is not None:
            yield error
            error = error.inner


class CanceledError(CollectionError):
    """The collection was cancelled before it began."""


class NotSupportedError(CollectionError):
    """The machine does not support the request."""


class ItemNotFoundError(CollectionError):
    """There is no item with the requested id."""


_CLASSES = {border.FAILURE_CANCELED: CanceledError, border.FAILURE_NOT_SUPPORTED: NotSupportedError,
            border.FAILURE_ARGUMENT_OUT_OF_RANGE: ItemNotFoundError}


def from_failure(failure: border.Failure) -> CollectionError:
    """The exception for a failure record. A failed collection is raised as the class of its cause, if it has one."""
    inner = from_failure(failure.inner.contents) if failure.inner else None
    kind = failure.kind
    cause = inner.kind if kind == border.FAILURE_ZEL and inner is not None else kind
    return _CLASSES.get(cause, CollectionError)(str(failure.message), str(failure.typeName), kind, inner)
