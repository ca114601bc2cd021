"""States, reasons and figures as Python values. The numbers are those of quorvid/quorvid.h."""

from __future__ import annotations

import ctypes
import dataclasses
import enum
from typing import Optional, Type, TypeVar

from . import _abi
from ._library import player as _library

_Number = TypeVar("_Number", bound="_Known")


class _Known(enum.IntEnum):
    """Numbers to which a later library may add: an unknown one becomes UNKNOWN."""

    @classmethod
    def of(cls: Type[_Number], number: int) -> _Number:
        try:
            return cls(number)
        except ValueError:
            return cls(-1)


class State(_Known):
    UNKNOWN = -1  # of a later library: not live
    IDLE = 0  # nothing was played yet
    RESOLVING = 1  # the server's name is looked up
    CONNECTING = 2  # a connection is opened, or a relay asked for
    WAITING_FOR_KEY = 3  # connected; nothing that can be decoded has come yet
    LIVE = 4  # pictures come
    LATE = 5  # decoding doesn't keep pace
    STALLED = 6  # none came for stall_after seconds; tried again in next_try
    RECONNECTING = 7  # the connection is lost or can't be had; again in next_try
    REFUSED = 8  # the server answered with answer_status; again in next_try
    STOPPED = 9  # by stop() or close()
    FAILED = 10  # nothing is tried

    def __str__(self) -> str:
        return _text(_library.quorvid_state_name(self))


class Reason(_Known):
    UNKNOWN = -1  # of a later library
    NONE = 0
    TARGET_IMPOSSIBLE = 1  # a text too long, a port or channel out of range
    NAME_NOT_FOUND = 2
    CONNECTION_REFUSED = 3  # nobody listens at that port
    UNREACHABLE = 4  # no way to the server, or no answer
    CONNECTION_LOST = 5  # reset or closed
    SILENT = 6  # connected, but nothing comes
    REFUSED_BY_SERVER = 7
    NO_RELAY = 8  # no place is known where the device is served
    BROKEN_STREAM = 9  # bytes that are not of the protocol
    NO_KEY_FRAME = 10  # frames come, but none to begin with
    OUT_OF_ORDER = 11  # frames are missing between those that came
    UNDECODABLE = 12
    TOO_SLOW = 13
    NO_RESOURCES = 14
    NO_GRAPHICS = 15  # a view's alone

    def __str__(self) -> str:
        return _text(_library.quorvid_reason_name(self))


class Path(enum.IntEnum):
    """How a stream is reached."""

    FLEET = 0  # from the fleet server itself
    CAR = 1  # from the recorder, or what stands for it
    RELAY = 2  # from where the server says that the recorder's stream is served


class Format(enum.Enum):
    """What Picture.array holds: bytes (numpy.uint8), rows from the top down."""

    RGB = "rgb"  # (height, width, 3), converted by the picture's own matrix
    GREY = "grey"  # (height, width), the decoder's Y': no conversion, no copy
    I420 = "i420"  # (height * 3 / 2, width): Y', Cb, Cr; no conversion, one copy
    NV12 = "nv12"  # (height * 3 / 2, width): Y', then Cb and Cr in turn; video range


class Matrix(_Known):
    """Of which Y', Cb and Cr are made."""

    UNKNOWN = -1  # of a later library
    BT601 = 0
    BT709 = 1
    SMPTE240 = 2
    BT2020 = 3


@dataclasses.dataclass(frozen=True)
class Status:
    """How it goes. str() gives all of it in one line."""

    state: State
    reason: Reason
    answer_status: int  # what a server said that refused
    next_try: float  # seconds from then; STALLED, RECONNECTING and REFUSED
    sentence: str  # the reason for a person; may be empty

    @property
    def is_live(self) -> bool:
        return self.state in (State.LIVE, State.LATE)

    def __str__(self) -> str:
        return f"{self.state}: {self.sentence}" if self.sentence else str(self.state)


@dataclasses.dataclass(frozen=True)
class Figures:
    """Since playing began, over all reconnections. Times in seconds."""

    stream_width: int  # what the stream states; 0 until a key frame came
    stream_height: int
    shape: float  # width / height as shown; 0 until a key frame came
    playing: float
    first_picture: Optional[float]  # from the beginning to the first picture; None: none yet
    since_last_picture: Optional[float]
    lag: Optional[float]  # from a frame's arrival to its picture, the last one
    longest_pause: Optional[float]  # between two pictures, or since the last
    picture_rate: float  # a second, of late
    bit_rate: float
    received: int  # frames
    bytes: int
    decoded: int  # pictures
    converted: int  # of them, made ready to be handed out
    shown: int  # of them, handed out
    overwritten: int  # that a newer one overtook
    held: int  # frames that gave no picture: damaged, or built on lost ones
    lost: int  # frames dropped before decoding
    reconnections: int  # attempts after the first
    restarts: int  # of them, because pictures stayed away


def _text(text: bytes) -> str:
    return text.decode("utf-8", "replace")


def read_status(handle: ctypes.c_void_p) -> Status:
    status = _abi.Status(size=ctypes.sizeof(_abi.Status))
    _library.quorvid_player_status(handle, ctypes.byref(status))
    return Status(
        State.of(status.state),
        Reason.of(status.reason),
        status.answer_status,
        status.next_try,
        _text(status.sentence),
    )


def read_figures(handle: ctypes.c_void_p) -> Figures:
    figures = _abi.Figures(size=ctypes.sizeof(_abi.Figures))
    _library.quorvid_player_figures(handle, ctypes.byref(figures))
    values = {field.name: getattr(figures, field.name) for field in dataclasses.fields(Figures)}
    for name in ("first_picture", "since_last_picture", "lag", "longest_pause"):
        values[name] = values[name] if values[name] >= 0 else None
    return Figures(**values)
