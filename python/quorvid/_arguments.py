"""Arguments as the C functions take them. What C would cut or end the process for is refused."""

from __future__ import annotations

from typing import Optional, Tuple, Union

# "HOST:PORT", or the two.
Server = Union[str, Tuple[str, int]]


def text_of(name: str, value: str, most: Optional[int] = None) -> bytes:
    """UTF-8 without a zero byte, of `most` bytes at most."""
    if not isinstance(value, str):
        raise TypeError(f"{name}: a str is needed, not {type(value).__name__}")
    try:
        text = value.encode("utf-8")
    except UnicodeEncodeError:
        raise ValueError(f"{name} can't be written as UTF-8") from None
    if b"\0" in text:
        raise ValueError(f"{name} contains a zero byte")
    if most is not None and len(text) > most:
        raise ValueError(f"{name} has {len(text)} bytes, {most} at most are possible")
    return text


def server_of(server: Server) -> Tuple[bytes, int]:
    if isinstance(server, str):
        host, colon, digits = server.rpartition(":")
        if not colon or not (digits.isascii() and digits.isdigit()) or len(digits) > 5:
            raise ValueError(f"server: {server!r} is not of the form HOST:PORT")
        port = int(digits)
    else:
        host, port = server
    if not host:
        raise ValueError("server: no host is given")
    if not isinstance(port, int):
        raise TypeError(f"server: a port is an int, not {type(port).__name__}")
    if not 1 <= port <= 65535:
        raise ValueError(f"server: the port {port} is not from 1 to 65535")
    return text_of("server", host), port


def seconds_of(name: str, seconds: Optional[float]) -> Optional[float]:
    """Zero or more; None: for ever."""
    if seconds is not None and not seconds >= 0:  # nor no number
        raise ValueError(f"{name}: {seconds!r} seconds are not possible")
    return seconds
