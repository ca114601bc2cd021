"""Pictures, and numpy's views on the memory that the library keeps for them.

  array -> _Memory -> _Held -> quorvid_picture

Each holds the next, so the memory goes with the last array that shows it, whatever was closed or
dropped before.
"""

from __future__ import annotations

import ctypes
import threading
from typing import Any, Optional, Tuple

import numpy
from numpy.typing import NDArray

from . import _abi
from ._errors import ResourceError
from ._library import player as _library
from ._library import process
from ._values import Format, Matrix

Array = NDArray[numpy.uint8]

_I420, _NV12, _RGB = 0, 1, 2
_NATIVE = {Format.RGB: _RGB, Format.NV12: _NV12, Format.I420: _I420, Format.GREY: _I420}


class Held:
    """A quorvid_picture, or none yet: quorvid_player_wait() writes it straight into `handle`, so
    that no exception of a signal comes between."""

    __slots__ = ("handle", "_forks")

    def __init__(self) -> None:
        self.handle = ctypes.c_void_p()
        self._forks = process.forks

    # The names last until the interpreter's end because the function holds them.
    def __del__(self, free: Any = _library.quorvid_picture_free, process: Any = process) -> None:
        if self.handle and self._forks == process.forks:
            free(self.handle)


class _Memory:
    """What numpy asks for the place of an array; it stays the array's base."""

    __slots__ = ("__array_interface__", "_held")

    def __init__(self, held: Held, address: int, shape: Tuple[int, ...], row: int) -> None:
        self._held = held
        strides = (row, shape[2], 1) if len(shape) == 3 else (row, 1)
        self.__array_interface__ = {
            "version": 3,
            "typestr": "|u1",
            "data": (address, True),
            "shape": shape,
            "strides": strides,
        }


class Picture:
    """A decoded picture in the stream's own size.

    Arrays are views on the library's memory: read-only, shared by all who have them, and valid for
    as long as anybody holds one, also when picture and player are gone. `.copy()` gives one to
    write to. Any thread.
    """

    __slots__ = ("_held", "_lock", "_array", "_about", "format")

    def __init__(self, held: Held, format: Format) -> None:
        self._held = held
        self._lock = threading.Lock()
        self._array: Optional[Array] = None
        self._about = self._image(_I420)  # costs nothing
        self.format = format  # of `array`

    @property
    def number(self) -> int:
        """Of the frame, from 1; a gap: what was lost, held back or overtaken."""
        return int(self._about.number)

    @property
    def arrival(self) -> float:
        """Of the frame, by time.monotonic()."""
        return float(self._about.arrival)

    @property
    def arrival_date(self) -> float:
        """The same, by time.time()."""
        return float(self._about.arrival_date)

    @property
    def width(self) -> int:
        return int(self._about.width)

    @property
    def height(self) -> int:
        return int(self._about.height)

    @property
    def shape(self) -> float:
        """Width / height where it is shown: pixels need not be square."""
        return float(self._about.shape)

    @property
    def matrix(self) -> Matrix:
        return Matrix.of(self._about.matrix)

    @property
    def full_range(self) -> bool:
        """GREY and I420: values from 0 to 255, else from 16 to 235 (chroma 240)."""
        return bool(self._about.full_range)

    @property
    def array(self) -> Array:
        """The picture in the player's format, made when it is asked for first."""
        if self._array is None:
            self._array = self.read(self.format)
        return self._array

    def read(self, format: Format) -> Array:
        """The picture in that format. ValueError: an odd size has no NV12 or I420 in one array."""
        planes = self.planes(format)
        if len(planes) == 1:
            return planes[0]
        if self.width % 2 or self.height % 2:
            raise ValueError(
                f"a picture of {self.width} x {self.height} is no single {format.value} array, as "
                "its chroma has other rows: take planes()"
            )
        if format is Format.NV12 and planes[1].ctypes.data == self._end(planes[0]):
            address = planes[0].ctypes.data
            return self._view(address, (self.height * 3 // 2, self.width), planes[0].strides[0])
        whole: Array = numpy.empty((self.height * 3 // 2, self.width), numpy.uint8)
        at = 0
        for plane in planes:
            whole.reshape(-1)[at : at + plane.size] = plane.reshape(-1)
            at += plane.size
        return whole

    def planes(self, format: Format) -> Tuple[Array, ...]:
        """RGB and GREY: the one. I420: Y', Cb, Cr. NV12: Y', and CbCr of (rows, columns, 2).

        Chroma has half the size, odd ones rounded up. Nothing is copied.
        """
        # What is read here is there already, but for RGB and NV12 the first time.
        native = _NATIVE[format]
        image = self._about if native == _I420 else self._image(native)
        return tuple(
            self._view(image.plane[i], shape, image.stride[i])
            for i, shape in enumerate(self._shapes(format))
        )

    def __repr__(self) -> str:
        return f"<quorvid.Picture {self.number}: {self.width} x {self.height}>"

    def _shapes(self, format: Format) -> Tuple[Tuple[int, ...], ...]:
        luma = (self._about.height, self._about.width)
        if format is Format.GREY:
            return (luma,)
        if format is Format.RGB:
            return ((*luma, 3),)
        half = ((luma[0] + 1) // 2, (luma[1] + 1) // 2)
        return (luma, half, half) if format is Format.I420 else (luma, (*half, 2))

    def _view(self, address: int, shape: Tuple[int, ...], row: int) -> Array:
        return numpy.asarray(_Memory(self._held, address, shape, row))

    @staticmethod
    def _end(plane: Array) -> int:
        return int(plane.ctypes.data + plane.shape[0] * plane.strides[0])

    def _image(self, format: int) -> _abi.Image:
        image = _abi.Image(size=ctypes.sizeof(_abi.Image))
        with self._lock:  # one thread at a time reads a picture
            result = _library.quorvid_picture_read(self._held.handle, format, ctypes.byref(image))
        if result != _abi.OK:
            raise ResourceError(f"the picture can't be had as {format}: no memory")
        return image
