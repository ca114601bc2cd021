"""Live H.264 video from vehicle cameras, as numpy arrays.

    import quorvid

    with quorvid.Player("fleet.example.com:6602", device="BUS-17", channel=0) as player:
        for picture in player:
            print(picture.number, picture.array.shape)

Player hands out pictures, devices() asks for an account's devices, positions() polls them. The
package loads libquorvid.so.1 and libquorvid-connection.so.1, and their headers are the manual of
what lies below: quorvid/quorvid.h.
"""

from ._errors import (
    ClosedError,
    Error,
    QueryError,
    QueryTimeout,
    ResourceError,
    StreamError,
    StreamTimeout,
    TargetError,
)
from ._library import player as _player_library
from ._library import print_lines, version_text
from ._picture import Picture
from ._player import Player
from ._queries import Poll, Positions, devices, positions
from ._records import Device
from ._values import Figures, Format, Matrix, Path, Reason, State, Status

# The loaded library's.
__version__: str = version_text(_player_library.quorvid_version())

__all__ = [
    "ClosedError",
    "Device",
    "Error",
    "Figures",
    "Format",
    "Matrix",
    "Path",
    "Picture",
    "Player",
    "Poll",
    "Positions",
    "QueryError",
    "QueryTimeout",
    "Reason",
    "ResourceError",
    "State",
    "Status",
    "StreamError",
    "StreamTimeout",
    "TargetError",
    "devices",
    "positions",
    "print_lines",
]
