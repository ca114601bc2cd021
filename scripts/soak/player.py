"""player.py SECONDS PLAYERS SEED LOG SERVER...: a program of players of the Python package that plays and
rests by turns, as bench/soak/Course.h says, with the same arguments and log."""

import ctypes
import gc
import os
import random
import sys
import time
from dataclasses import dataclass
from typing import Optional, TextIO

import quorvid

MEAN_STAY, FIRST_STAY = 40, 15
LONGEST_PLAY, LONGEST_REST, QUIET = 60, 15, 0.3
PATHS = ["fleet", "car", "relay"]


class _Heap(ctypes.Structure):
    """What mallinfo2() returns: the C heap, not what the interpreter keeps for its objects."""
    _fields_ = [(name, ctypes.c_size_t) for name in
                ("arena", "ordblks", "smblks", "hblks", "hblkhd", "usmblks", "fsmblks", "uordblks", "fordblks", "keepcost")]


_mallinfo2 = ctypes.CDLL(None).mallinfo2
_mallinfo2.restype = _Heap


def _threads() -> int:
    return len(os.listdir("/proc/self/task"))


@dataclass
class Member:
    servers: list[list[int]]
    chance: random.Random
    player: Optional[quorvid.Player] = None
    move_at: float = 0
    pictures: int = 0
    starts: int = 0
    restarts: int = 0

    def play(self, is_first: bool) -> None:
        self.rest()
        fleet, car, relay, *_ = self.servers[0] if is_first else self.chance.choice(self.servers)
        drawn = 7 if is_first else self.chance.randrange(8)
        path = 2 if drawn == 0 and relay else 1 if drawn < 3 else 0
        self.player = quorvid.Player(("127.0.0.1", (fleet, car, relay)[path]), device="TRUCK-7", path=PATHS[path],
                                     channel=self.chance.randrange(8), every=self.chance.random() < 0.5)
        self.move_at = time.monotonic() + self.chance.expovariate(1 / MEAN_STAY) + is_first * FIRST_STAY

    def look(self) -> None:
        if self.player is None:
            return
        while (picture := self.player.wait(0)) is not None:
            picture.array[-1, -1]  # made, and looked at
            self.pictures += 1
        if time.monotonic() >= self.move_at:
            self.play(False)

    def rest(self) -> None:
        if self.player is not None:
            _, self.starts, self.restarts, _ = self.counts()
            self.player.close()
            self.player = None

    def counts(self) -> tuple[int, int, int, float]:
        if self.player is None:
            return self.pictures, self.starts, self.restarts, -1
        figures = self.player.figures
        since = figures.since_last_picture
        lag = figures.lag if figures.lag is not None and since is not None and since < 2 else -1
        return self.pictures, self.starts + 1 + figures.restarts, self.restarts + figures.restarts, lag


def _tell(log: TextIO, state: str, seconds: float, members: list[Member]) -> None:
    pages = int(open("/proc/self/statm", encoding="ascii").read().split()[1])
    heap = _mallinfo2()
    counts = [member.counts() for member in members]
    values = [pages * os.sysconf("SC_PAGESIZE"), heap.uordblks + heap.hblkhd, heap.fordblks, _threads(),
              len(os.listdir("/proc/self/fd")) - 1, *(sum(count[i] for count in counts) for i in range(3)), 0]
    log.write(f"{state} {seconds:.1f} {' '.join(map(str, values))} {max(count[3] for count in counts):.4f}\n")
    log.flush()


def _rest(members: list[Member], idle: int) -> None:
    for member in members:
        member.rest()
    gc.collect()
    end = time.monotonic() + LONGEST_REST
    while time.monotonic() < end and _threads() > idle:
        time.sleep(0.01)
    time.sleep(QUIET)


def main() -> int:
    seconds, count, seed = float(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
    servers = [[int(port) for port in server.split(",")] for server in sys.argv[5:]]
    chance = random.Random(seed)
    members = [Member(servers, chance) for _ in range(count)]
    idle, start, is_first = _threads(), time.monotonic(), True
    with open(sys.argv[4], "w", encoding="ascii") as log:
        while time.monotonic() < start + seconds:
            for member in members:
                member.play(is_first)
            is_first = False
            next_rest = min(time.monotonic() + min(LONGEST_PLAY, seconds / 12), start + seconds)
            next_line = time.monotonic()
            while time.monotonic() < next_rest:
                time.sleep(0.01)
                for member in members:
                    member.look()
                if time.monotonic() >= next_line:
                    _tell(log, "play", time.monotonic() - start, members)
                    next_line = time.monotonic() + 1
            _rest(members, idle)
            idle = max(idle, _threads())
            _tell(log, "rest", time.monotonic() - start, members)
    return 0


if __name__ == "__main__":
    sys.exit(main())
