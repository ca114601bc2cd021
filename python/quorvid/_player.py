"""The player: pictures of one camera, without a window."""

from __future__ import annotations

import atexit
import ctypes
import threading
import time
import weakref
from types import TracebackType
from typing import Any, Callable, Iterator, List, Optional, Type, Union

from . import _abi
from ._arguments import Server, seconds_of, server_of, text_of
from ._errors import ClosedError, ResourceError, StreamError, StreamTimeout, TargetError
from ._library import player as _library
from ._library import process
from ._picture import Held, Picture
from ._values import Figures, Format, Path, State, Status, read_figures, read_status

# Between two looks at Python's signals, while the library waits for a picture.
_SLICE = 0.1


class _Native:
    """A quorvid_player. Every call under way holds it, and the last to let go frees it: a call
    never meets one that was freed."""

    def __init__(self, options: _abi.PlayerOptions) -> None:
        self.handle = ctypes.c_void_p()
        self.forks = process.forks
        self.handle.value = _library.quorvid_player_create(ctypes.byref(options))
        if not self.handle:
            raise ResourceError("the system gives no thread or memory for a player")
        _playing.add(self)

    def stop(self) -> None:
        _library.quorvid_player_stop(self.handle)

    def __del__(self, free: Any = _library.quorvid_player_free, process: Any = process) -> None:
        if self.handle and self.forks == process.forks:
            free(self.handle)


_playing: "weakref.WeakSet[_Native]" = weakref.WeakSet()


@atexit.register
def _stop_all() -> None:
    for native in list(_playing):
        if native.forks == process.forks:
            native.stop()  # waits for nothing


class Player:
    """Plays the stream of one camera and hands out its pictures.

        with quorvid.Player("fleet.example.com:6602", device="BUS-17") as player:
            for picture in player:
                use(picture.array)

    It plays from the beginning, connects again by itself whenever the stream breaks, and goes on
    until stop() or close(), or until nobody holds it. Any thread makes any call.

    server: "HOST:PORT" or (host, port). channel: the camera, 0 to 7. format: what Picture.array
    holds. every: each picture in order, of which `most_waiting` decoded ones may wait; else the
    newest, if it is not late by more than `most_lag` seconds. stall_after: seconds without a picture
    until the stream is started again; 0: never. timeout: seconds that the iteration waits for a
    picture; None: for ever.

    Raises TargetError with a sentence when the target is impossible.
    """

    def __init__(
        self,
        server: Server,
        *,
        device: str,
        channel: int = 0,
        account: str = "",
        password: str = "",
        path: Union[Path, str] = Path.FLEET,
        format: Union[Format, str] = Format.RGB,
        every: bool = False,
        most_waiting: int = 8,
        most_lag: float = 1.0,
        stall_after: float = 5.0,
        timeout: Optional[float] = 30.0,
    ) -> None:
        host, port = server_of(server)
        target = _abi.Target(
            size=ctypes.sizeof(_abi.Target),
            path=_path_of(path),
            host=host,
            port=port,
            channel=_int32_of("channel", channel),
            device=text_of("device", device),
            account=text_of("account", account),
            password=text_of("password", password),
        )
        self.timeout = seconds_of("timeout", timeout)
        self.format = Format(format)
        self._followers: List[threading.Thread] = []
        self._native: Optional[_Native] = _Native(
            _abi.PlayerOptions(
                size=ctypes.sizeof(_abi.PlayerOptions),
                every_picture=every,
                most_waiting=_int32_of("most_waiting", most_waiting),
                most_lag=most_lag,
                stall_after=stall_after,
            )
        )
        self._check(_library.quorvid_player_connect(self._native.handle, ctypes.byref(target)))

    # ---- Pictures

    def __iter__(self) -> Iterator[Picture]:
        """Pictures until stop() or close(), on whichever thread.

        StreamTimeout when none came for `timeout` seconds, with the reason: the player goes on, and
        a new iteration as well. StreamError when it has failed for good.
        """
        while self._native is not None:
            try:
                taken = self._take(self.timeout)
            except ClosedError:
                if self._native is not None:
                    raise  # another process's
                return
            if isinstance(taken, Picture):
                yield taken
                del taken  # its memory, before the next one is waited for
            elif not self._goes_on(taken):
                return

    def wait(self, seconds: Optional[float] = None) -> Optional[Picture]:
        """The next picture. None when none came in so many seconds (None: for ever; 0: at once), or
        when nothing is played, or no longer: `status` tells."""
        taken = self._take(seconds_of("seconds", seconds))
        return taken if isinstance(taken, Picture) else None

    def follow(
        self,
        on_picture: Optional[Callable[[Picture], object]] = None,
        on_status: Optional[Callable[[Status], object]] = None,
    ) -> threading.Thread:
        """Calls the handlers on a thread of its own, one at a time, until stop() or close().

        on_status: when state, reason or sentence is another than before, and at the end; one that
        doesn't last may be left out. Handlers may make any call. One that raises ends the
        following and stops the player; threading.excepthook is told. Pictures are shared with whoever
        else takes some. Returns the thread, a daemon: the program doesn't wait for it at its end.
        """
        self._ours()
        thread = threading.Thread(
            target=self._follow, args=(on_picture, on_status), name="quorvid", daemon=True
        )
        self._followers = [former for former in self._followers if former.is_alive()] + [thread]
        thread.start()
        return thread

    # ---- How it goes

    @property
    def status(self) -> Status:
        return read_status(self._ours().handle)

    @property
    def figures(self) -> Figures:
        return read_figures(self._ours().handle)

    # ---- Playing

    def stop(self) -> None:
        """Ends the stream, and iterations and waits under way. Returns at once."""
        self._ours().stop()

    def play(self) -> None:
        """Plays again after stop(). Iterate or follow anew."""
        self._check(_library.quorvid_player_play(self._ours().handle))

    def restart(self) -> None:
        """Connects anew; iterations go on."""
        self._check(_library.quorvid_player_restart(self._ours().handle))

    def close(self) -> None:
        """Stops for good. Waits for handlers that run, unless called by one. Pictures stay."""
        native, self._native = self._native, None
        if native is None or native.forks != process.forks:
            return
        native.stop()
        for thread in self._followers:
            if thread is not threading.current_thread() and thread.ident is not None:
                thread.join()

    def __enter__(self) -> Player:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    # ---- Inside

    def _ours(self) -> _Native:
        native = self._native
        if native is None:
            raise ClosedError("the player is closed")
        if native.forks != process.forks:
            raise ClosedError("the player is the parent process's: make one in this process")
        return native

    def _take(self, seconds: Optional[float]) -> Union[Picture, int]:
        """A picture, or why there is none. In slices, between which Python's signals are seen."""
        native = self._ours()
        end = None if seconds is None else time.monotonic() + seconds
        while True:
            left = _SLICE if end is None else min(_SLICE, end - time.monotonic())
            held = Held()
            result: int = _library.quorvid_player_wait(
                native.handle, max(left, 0.0), ctypes.byref(held.handle)
            )
            if result == _abi.OK:
                return Picture(held, self.format)
            if result != _abi.TIMED_OUT or left < _SLICE:
                return result

    def _goes_on(self, result: int) -> bool:
        """After an iteration without a picture. False at its end."""
        native = self._native
        if native is None:
            return False
        status = read_status(native.handle)
        if result == _abi.TIMED_OUT:
            raise StreamTimeout(f"no picture came in {self.timeout:g} s ({status})", status)
        if result == _abi.NO_RESOURCES or status.state == State.FAILED:
            raise StreamError(str(status), status)
        return status.state not in (State.STOPPED, State.IDLE)  # else it was started anew

    def _follow(
        self,
        on_picture: Optional[Callable[[Picture], object]],
        on_status: Optional[Callable[[Status], object]],
    ) -> None:
        told: Optional[Status] = None
        native = self._ours()
        try:
            while True:
                status = read_status(native.handle)
                if on_status is not None and not _is_same(told, status):
                    told = status
                    on_status(status)
                if self._native is None or status.state in (State.STOPPED, State.FAILED):
                    return
                if on_picture is None:
                    time.sleep(_SLICE)
                    continue
                taken = self._take(_SLICE)
                if isinstance(taken, Picture):
                    on_picture(taken)
                    del taken
        except ClosedError:
            pass  # between two calls
        except BaseException:
            native.stop()
            raise

    def _check(self, result: int) -> None:
        if result == _abi.OK:
            return
        status = self.status
        if result == _abi.TARGET_REFUSED:
            raise TargetError(status.sentence, status)
        name: bytes = _library.quorvid_result_name(result)
        raise ResourceError(f"playing is not possible: {name.decode()}")


def _is_same(told: Optional[Status], now: Status) -> bool:
    return told is not None and (told.state, told.reason, told.answer_status, told.sentence) == (
        now.state,
        now.reason,
        now.answer_status,
        now.sentence,
    )


def _path_of(path: Union[Path, str]) -> Path:
    names = {known.name.lower(): known for known in Path}
    if isinstance(path, str):
        if path not in names:
            raise ValueError(f"path: {path!r} is none of {', '.join(names)}")
        return names[path]
    return Path(path)


def _int32_of(name: str, value: int) -> int:
    if not isinstance(value, int):
        raise TypeError(f"{name}: an int is needed, not {type(value).__name__}")
    return max(-(2**31), min(value, 2**31 - 1))  # ctypes would cut it
