"""Device lists and positions, over the C workers of libquorvid-connection.

A worker blocks its thread, so it runs on one of its own, with all that it writes to. Whoever no
longer waits leaves both behind; the worker ends by itself when the server has answered or gone.
"""

from __future__ import annotations

import ctypes
import dataclasses
import os
import signal
import socket
import threading
import time
from types import TracebackType
from typing import List, Optional, Type

from . import _abi
from ._arguments import Server, seconds_of, server_of, text_of
from ._errors import ClosedError, Error, QueryError, QueryTimeout, ResourceError
from ._library import connection as _library
from ._library import process
from ._records import Device, device_of

_MOST_RECORDS = 200
_LONGEST_TEXT = 31  # a longer one would end the process
_LOOK = 0.05
_REACH = 2.0
_LONGEST_PAUSE = 30.0
_NO_POLL_YET = -1


class _Account:
    def __init__(self, server: Server, account: str, password: str) -> None:
        self.host, self.port = server_of(server)
        self.account = text_of("account", account, _LONGEST_TEXT)
        self.password = text_of("password", password, _LONGEST_TEXT)

    def __str__(self) -> str:
        return f"{self.host.decode()}:{self.port}"


class _Worker:
    """A C worker on a daemon thread of its own, and the memory that it writes to."""

    def __init__(self, target: _Account) -> None:
        self.target = target
        self.items = (_abi.DevInfoItem * _MOST_RECORDS)()
        self.count = ctypes.c_int32()
        self.done = ctypes.c_int32()
        self.result = -1
        self.ended = threading.Event()

    def start(self) -> None:
        try:
            threading.Thread(target=self._run, name="quorvid query", daemon=True).start()
        except RuntimeError as error:
            raise ResourceError(f"the system gives no thread for the query: {error}") from None

    def call(self) -> int:
        raise NotImplementedError

    def devices(self, count: int) -> List[Device]:
        return [device_of(item) for item in self.items[: max(0, min(count, _MOST_RECORDS))]]

    def _run(self) -> None:
        # A signal breaks the connection while the reply is searched for.
        signal.pthread_sigmask(signal.SIG_BLOCK, signal.valid_signals())
        try:
            self.result = self.call()
        finally:
            self.ended.set()


class _List(_Worker):
    def call(self) -> int:
        to = self.target
        result: int = _library.ThreadGetListForCar(
            self.items, self.count, to.host, to.port, 0, to.account, to.password, b"", self.done
        )
        return result


def devices(
    server: Server, account: str = "", password: str = "", *, timeout: Optional[float] = 30.0
) -> List[Device]:
    """The devices that an account may see, 200 at most.

    QueryTimeout when the list isn't whole in `timeout` seconds (None: waits for ever), QueryError
    when the server can't be reached or answers otherwise; both have the devices that came.
    """
    query = _List(_Account(server, account, password))
    query.start()
    if not query.ended.wait(seconds_of("timeout", timeout)):
        came = query.devices(query.count.value)
        raise QueryTimeout(
            f"no complete list from {query.target} within {timeout:g} s ({len(came)} devices came)",
            came,
        )
    found = query.devices(query.count.value)
    if query.result == 0:
        return found
    if found:
        raise QueryError(
            f"the list of {query.target} broke off after {len(found)} devices", found
        )
    raise QueryError(
        _why_unreachable(query.target)
        or f"{query.target} accepts connections but did not answer with a device list (account, "
        "password, or port?)"
    )


def _why_unreachable(target: _Account) -> Optional[str]:
    """A sentence; None when the server accepts connections."""
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as probe:
        probe.settimeout(_REACH)
        try:
            probe.connect((target.host.decode(), target.port))
        except ConnectionRefusedError:
            return f"nothing listens at {target} (connection refused)"
        except TimeoutError:
            return f"no answer from {target} (address, network or firewall)"
        except socket.gaierror as error:
            return f"the name {target.host.decode()} can't be resolved: {error.strerror}"
        except (OSError, UnicodeError) as error:
            return f"{target} can't be reached: {error}"
    return None


@dataclasses.dataclass(frozen=True)
class Poll:
    """The records of one poll."""

    number: int  # from 1
    date: float  # time.time() when it was taken
    devices: List[Device]


class _Poller(_Worker):
    """The poller stores the number of records in `count` when a poll is complete, and rests for 4 s
    before it touches them again; `done` is 0 then. Nobody else writes `count`, so -1 is put there to
    see the next poll. The interpreter takes locks between these looks, which keeps them in order.
    """

    def __init__(self, target: _Account) -> None:
        super().__init__(target)
        self.count.value = _NO_POLL_YET
        self.run = ctypes.c_uint8(1)

    def call(self) -> int:
        to, table = self.target, self.items
        result: int = _library.ThreadGetCarGPS(
            table, self.count, to.host, to.port, 0, to.account, to.password, b"", self.done, self.run
        )
        return result

    def new_poll(self) -> Optional[List[Device]]:
        records = self.count.value
        if records == _NO_POLL_YET or self.done.value != 1:
            return None
        found = self.devices(records)
        is_whole = self.done.value == 1
        self.count.value = _NO_POLL_YET
        return found if is_whole else None

    def end(self) -> None:
        _library.StopCarGPS(self.run)


class _OnePoller:
    """The library has one count of records for all pollers, so that one runs at a time. One that
    was ended takes some seconds until it has returned."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._running: Optional[_Poller] = None
        self._forks = process.forks

    def start(self, target: _Account) -> Optional[_Poller]:
        """None while an ended one has not returned."""
        with self._lock:
            former = self._running if self._forks == process.forks else None
            if former is not None and not former.ended.is_set():
                if former.run.value & 1:
                    raise Error("positions() is running in this process already: stop it first")
                return None
            poller = _Poller(target)
            poller.start()
            self._running, self._forks = poller, process.forks
            return poller

    def forget_lock(self) -> None:
        self._lock = threading.Lock()  # its holder stayed in the parent


_one_poller = _OnePoller()
os.register_at_fork(after_in_child=_one_poller.forget_lock)


class Positions:
    """An endless iterator over the polls of an account's devices, about one in 4 s.

    A server that can't be reached is tried again, after 1, 2, 4 ... 30 s. QueryTimeout, with the
    reason, when no poll was complete for `timeout` seconds; the next one may be asked for all the same.
    """

    def __init__(self, target: _Account, timeout: Optional[float]) -> None:
        self._target = target
        self._timeout = timeout
        self._poller: Optional[_Poller] = None
        self._polls = 0
        self._pause = 1.0
        self._reason = ""
        self._stopped = threading.Event()
        self._forks = process.forks

    def __iter__(self) -> Positions:
        return self

    def __next__(self) -> Poll:
        if self._forks != process.forks:
            raise ClosedError("the positions are the parent process's: ask in this process")
        start = time.monotonic()
        while not self._stopped.wait(_LOOK):
            found = self._look()
            if found is not None:
                self._polls += 1
                self._pause, self._reason = 1.0, ""
                return Poll(self._polls, time.time(), found)
            if self._timeout is not None and time.monotonic() - start >= self._timeout:
                self._end_poller()
                reason = self._reason or "the server does not answer with a whole list"
                raise QueryTimeout(f"no complete poll within {self._timeout:g} s ({reason})")
        self._end_poller()
        raise StopIteration

    def stop(self) -> None:
        """Ends the iteration, on whichever thread. Returns at once."""
        self._stopped.set()
        self._end_poller()

    def __enter__(self) -> Positions:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.stop()

    def __del__(self) -> None:
        if getattr(self, "_poller", None) is not None:
            self._end_poller()

    def _look(self) -> Optional[List[Device]]:
        poller = self._poller
        if poller is None:
            poller = self._poller = _one_poller.start(self._target)
        if poller is None:
            return None
        found = poller.new_poll()
        if found is None and poller.ended.is_set():
            self._poller = None
            self._reason = _why_unreachable(self._target) or f"{self._target} broke off"
            self._stopped.wait(self._pause)
            self._pause = min(2 * self._pause, _LONGEST_PAUSE)
        return found

    def _end_poller(self) -> None:
        poller, self._poller = self._poller, None
        if poller is not None and self._forks == process.forks:
            poller.end()


def positions(
    server: Server, account: str = "", password: str = "", *, timeout: Optional[float] = 30.0
) -> Positions:
    """Polls an account's devices until stop(): `for poll in quorvid.positions(...)`.

    One at a time in a process. timeout: seconds; None: waits for ever.
    """
    return Positions(_Account(server, account, password), seconds_of("timeout", timeout))
