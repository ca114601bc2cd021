"""Device records: the fields that a server fills in, as Python values."""

from __future__ import annotations

import bisect
import ctypes
import dataclasses
from typing import Dict, Mapping

from . import _abi

# Characters that draw nothing of their own, or turn the direction of writing around: first, last.
_INVISIBLE = [
    (0x00AD, 0x00AD),
    (0x034F, 0x034F),
    (0x061C, 0x061C),
    (0x115F, 0x1160),
    (0x17B4, 0x17B5),
    (0x180B, 0x180F),
    (0x200B, 0x200F),
    (0x2028, 0x202E),
    (0x2060, 0x206F),
    (0x3164, 0x3164),
    (0xFE00, 0xFE0F),
    (0xFEFF, 0xFEFF),
    (0xFFA0, 0xFFA0),
    (0xFFF0, 0xFFFB),
    (0x1BCA0, 0x1BCA3),
    (0x1D173, 0x1D17A),
    (0xE0000, 0xE0FFF),
]


@dataclasses.dataclass(frozen=True)
class Device:
    """A record. What a field means is between the server and whoever reads it; the names are those
    of DevInfoItem in quorvid/connection/VehicleConnection.h.

    A text is UTF-8 up to the block's first zero byte. What could steer a terminal or hide in the
    text (control characters, marks of direction), and what is no UTF-8, is a dot for each byte.
    """

    item_len: int  # of the record on the wire
    blk64: str
    blk_a32: str
    blk_b32: str
    num_a: int
    num_b: int
    byte_a: int
    byte_b: int
    byte_c: int
    blk9: str
    blk128: str
    # The text blocks as they came, whole, by the names above.
    raw: Mapping[str, bytes] = dataclasses.field(repr=False, hash=False)


_BLOCKS = {
    "blk64": "blk64",
    "blk_a32": "blkA32",
    "blk_b32": "blkB32",
    "blk9": "blk9",
    "blk128": "blk128",
}


def device_of(item: _abi.DevInfoItem) -> Device:
    raw: Dict[str, bytes] = {name: bytes(getattr(item, c)) for name, c in _BLOCKS.items()}
    texts = {name: visible_text(block) for name, block in raw.items()}
    return Device(
        item_len=_wire_value(item.itemLen),
        num_a=_wire_value(item.numA),
        num_b=_wire_value(item.numB),
        byte_a=item.byteA,
        byte_b=item.byteB,
        byte_c=item.byteC,
        raw=raw,
        **texts,
    )


def _wire_value(number: int) -> int:
    return ctypes.c_int32(number).value  # the low half of a long


def visible_text(block: bytes) -> str:
    text = block.split(b"\0", 1)[0].decode("utf-8", "surrogateescape")
    return "".join(_visible(character) for character in text)


def _visible(character: str) -> str:
    code = ord(character)
    if 0xDC80 <= code <= 0xDCFF:
        return "."  # a byte of no character
    at = bisect.bisect_right(_INVISIBLE, (code, 0x110000)) - 1
    is_invisible = at >= 0 and code <= _INVISIBLE[at][1]
    if code < 0x20 or 0x7F <= code < 0xA0 or is_invisible:
        return "." * len(character.encode("utf-8"))
    return character
