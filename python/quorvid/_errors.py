"""What can go wrong, each with a sentence for a person."""

from __future__ import annotations

from typing import TYPE_CHECKING, Sequence

if TYPE_CHECKING:
    from ._records import Device
    from ._values import Status


class Error(Exception):
    """All that this package raises, but for arguments of a wrong type or value."""


class ClosedError(Error):
    """A call for a player that was closed, or that is another process's."""


class ResourceError(Error):
    """The system gives no memory or thread."""


class StreamError(Error):
    """Nothing more comes by itself; `status` says why."""

    def __init__(self, sentence: str, status: Status) -> None:
        super().__init__(sentence)
        self.status = status


class TargetError(StreamError, ValueError):
    """An impossible target: a text too long, a port or channel out of range."""


class StreamTimeout(StreamError, TimeoutError):
    """No picture came in time. The player goes on trying."""


class QueryError(Error):
    """A server gave no whole list; `devices` are those that came."""

    def __init__(self, sentence: str, devices: Sequence[Device] = ()) -> None:
        super().__init__(sentence)
        self.devices = list(devices)


class QueryTimeout(QueryError, TimeoutError):
    """It took too long."""
