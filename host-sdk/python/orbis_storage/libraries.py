"""Default locations of the libraries."""

from __future__ import annotations

import ctypes
import os
import pathlib
import sys
from typing import Union

from .errors import PluginLoadError

PathLike = Union[str, "os.PathLike[str]"]

_SUFFIX = ".dll" if os.name == "nt" else ".so"
_PREFIX = "" if os.name == "nt" else "lib"
_SEARCH = 0x100 | 0x800  # LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32; other systems ignore it


def _folders() -> list[pathlib.Path]:
    if os.name == "nt":
        return [pathlib.Path(os.environ.get("ProgramW6432", r"C:\Program Files")) / "Orbis"]
    prefixes = dict.fromkeys([sys.prefix, sys.base_prefix, "/usr/local", "/usr"])
    return [pathlib.Path(prefix) / "lib" / "orbis" for prefix in prefixes]


def find_plugin() -> pathlib.Path:
    """The installed plug-in: of this Python's prefix first, then of /usr/local and /usr; on Windows of Program Files."""
    name = "StorageCollector" + _SUFFIX
    for folder in _folders():
        if (folder / name).is_file():
            return folder / name
    raise PluginLoadError(f"{name} is in none of {', '.join(map(str, _folders()))}: install it, or name its file")


def beside(plugin: PathLike, name: str) -> pathlib.Path:
    """Another library of this project, in the folder of the plug-in."""
    return pathlib.Path(plugin).resolve().parent / f"{_PREFIX}{name}{_SUFFIX}"


def load(library: PathLike) -> ctypes.CDLL:
    """Loads a library, for the rest of the process. On Windows, what it needs is looked for beside it and in the system's folder alone."""
    try:
        return ctypes.CDLL(str(pathlib.Path(library).resolve()), winmode=_SEARCH)
    except OSError as error:
        raise PluginLoadError(f"{library}: {error}") from error
