"""Finds the shared libraries, checks that they are the ones meant, and says whose they are.

Where they are looked for: in the folder that the environment variable QUORVID_LIBRARY_DIR names (a
build folder) and nowhere else; without it in the tree that this package was installed in,
PREFIX/lib/python3/dist-packages/quorvid -> PREFIX/lib; then by name, as for every program.
"""

from __future__ import annotations

import ctypes
import os
import pathlib
from typing import Any, Mapping

from . import _abi

_FOLDER = "QUORVID_LIBRARY_DIR"


def _places(name: str) -> list[str]:
    chosen = os.environ.get(_FOLDER)
    if chosen:
        return [os.path.join(chosen, name)]
    beside = pathlib.Path(__file__).absolute().parents[3:4]
    return [str(place / name) for place in beside if (place / name).exists()] + [name]


def _load(name: str, functions: Mapping[str, tuple[Any, Any]]) -> ctypes.CDLL:
    failures = []
    for place in _places(name):
        try:
            library = ctypes.CDLL(place)
            break
        except OSError as error:
            failures.append(str(error))
    else:
        raise ImportError(
            f"quorvid: {name} can't be loaded ({'; '.join(failures)}). Install the library, or let "
            f"{_FOLDER} name the folder that it lies in"
        )
    if hasattr(library, "quorvid_version"):
        _check_version(name, library.quorvid_version())
    for function, (result, arguments) in functions.items():
        try:
            declared = getattr(library, function)
        except AttributeError:
            raise ImportError(f"quorvid: {name} has no function {function}") from None
        declared.restype, declared.argtypes = result, arguments
    return library


def _check_version(name: str, version: int) -> None:
    wanted = _abi.VERSION
    if version // 10000 != wanted // 10000 or version < wanted:
        raise ImportError(
            f"quorvid: {name} is version {version_text(version)}, and this package needs "
            f"{version_text(wanted)} or a later one of the same major number"
        )


def _check_sizes() -> None:
    if ctypes.sizeof(ctypes.c_void_p) != 8 or ctypes.sizeof(ctypes.c_long) != 8:
        return
    for struct, size in _abi.SIZES.items():
        if ctypes.sizeof(struct) != size:
            raise ImportError(
                f"quorvid: {struct.__name__} has {ctypes.sizeof(struct)} bytes in this Python, "
                f"and {size} in the library"
            )


def version_text(version: int) -> str:
    return f"{version // 10000}.{version // 100 % 100}.{version % 100}"


def print_lines(wanted: bool) -> None:
    """Whether the libraries print their lines on connections to standard output; at first not."""
    if wanted:
        connection.SetConnectionPrinter(None, None)
    else:
        connection.SilenceConnectionPrinter()


class _Process:
    """Which process this is: counts the forks that led to it.

    Threads and locks of the library stay behind in a fork()'s parent, so a child makes no call for
    what it inherited, not even to free it.
    """

    forks = 0

    def note_fork(self) -> None:
        self.forks += 1


_check_sizes()
player = _load("libquorvid.so.1", _abi.PLAYER_FUNCTIONS)
connection = _load("libquorvid-connection.so.1", _abi.CONNECTION_FUNCTIONS)
print_lines(False)
process = _Process()
os.register_at_fork(after_in_child=process.note_fork)
