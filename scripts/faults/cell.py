"""Runs one cell: a client, or one after the other, against a simulator with a fault."""

import re
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from pathlib import Path

from child import SANITIZER, Child
from clients import BENCH, environment
from simulator import Simulator
from table import Cell
from troubles import INSIDE, PLACES

HANG = 45  # seconds that an outcome may come later than it is expected
EARLY = 0.3  # seconds that a time may be shorter: clocks are read at different ends
POLLERS = 24  # at once, where each waits 4 s between two polls


@dataclass
class Result:
    cell: Cell
    outcome: str = ""
    wrong: list[str] = field(default_factory=list)
    seconds: float = 0
    peak: int = 0  # KiB
    runs: int = 0
    output: str = ""  # of the first run that was not as expected
    is_fatal: bool = False  # a crash or a sanitizer's message
    is_second: bool = False

    def add(self, wrong: list[str], output: str) -> None:
        if wrong and not self.wrong:
            self.output = output
        self.wrong += [one for one in wrong if one not in self.wrong]


class _Run:
    """One process of the client."""

    def __init__(self, cell: Cell, simulator: Simulator, sessions: int, folder: Path) -> None:
        self.cell, self.simulator, self.sessions = cell, simulator, sessions
        self.folder = folder
        self.service = cell.client.service
        self.before = simulator.connections(self.service)

    def go(self, result: Result, until: int = 0) -> None:
        """until: connections in all after which it is stopped; 0: as the cell says."""
        file = self.folder / f"{self.cell.name.replace(' ', '-')}-{time.monotonic_ns()}.h264"
        words = self.cell.client.words(self.cell.trouble.host, self.simulator.port(self.service), self.sessions, str(file))
        child = Child(words, self._environment())
        self.ended = self._watch(child, until)
        at_stop = child.seconds()
        child.stop()
        seen = self._outcome(child)
        result.runs += 1
        result.seconds = max(result.seconds, at_stop)
        result.peak = max(result.peak, child.peak)
        result.outcome = seen if result.outcome in ("", seen) else "different ones"
        result.add(self._wrong(child, seen, at_stop), child.output)
        result.is_fatal |= child.status < 0 or SANITIZER.search(child.output) is not None
        file.unlink(missing_ok=True)

    def _environment(self) -> dict[str, str]:
        if self.cell.trouble.clock == 0:
            return environment()
        return environment() | {"LD_PRELOAD": str(BENCH / "libfault_clock.so"),
                                "FAULT_CLOCK": str(self.cell.trouble.clock)}

    def _watch(self, child: Child, until: int) -> bool:
        """Until it has ended by itself (true), or has shown what is to be seen."""
        while not child.has_ended():
            if child.seconds() > self.cell.seconds + HANG or self._has_shown(child, until):
                return False
            time.sleep(0.02)
        return True

    def _has_shown(self, child: Child, until: int) -> bool:
        if until > 0:
            return self.simulator.connections(self.service) >= until
        first = self.cell.outcomes[0]
        if first.startswith("ends") or not self._says(child):
            return False
        return self._reconnects(child) if first == "reconnects" else child.seconds() >= self.cell.seconds

    def _says(self, child: Child) -> bool:
        return re.search(self.cell.says, child.output, re.DOTALL) is not None

    def _reconnects(self, child: Child) -> bool:
        """Where nothing reaches the server: it has said twice why."""
        made = self.simulator.connections(self.service) - self.before
        said = len(re.findall(self.cell.says, child.output)) if self.cell.says and made == 0 else 0
        return max(made, said) >= 2 * self.sessions

    def _outcome(self, child: Child) -> str:
        if child.hangs:
            return "hangs"
        if child.status < 0:
            return f"crashes by signal {-child.status}"
        if self.ended:
            return f"ends {child.status}"
        received = self.cell.client.count(child.output)
        if self.cell.client.name.endswith("gps") and received > 0:
            return "goes on"
        if self._reconnects(child):
            return "reconnects"
        return "goes on" if received > 0 else "waits"

    def _wrong(self, child: Child, seen: str, at_stop: float) -> list[str]:
        wrong = []
        if seen not in self.cell.outcomes:
            wrong.append(f"{seen} instead of {' or '.join(self.cell.outcomes)}")
        if not self._says(child):
            wrong.append(f"does not say '{self.cell.says}'")
        if seen.startswith(("ends", "reconnects")) and at_stop + EARLY < self.cell.seconds:
            wrong.append(f"after {at_stop:.1f} s instead of {self.cell.seconds:g} s")
        if SANITIZER.search(child.output):
            wrong.append("a sanitizer's message")
        return wrong


def run(cell: Cell, folder: Path) -> Result:
    result = Result(cell)
    service = cell.client.service
    options = cell.trouble.options.format(s=service, inside=INSIDE[service])
    places = PLACES[service] if cell.trouble.sweep else 1
    if cell.trouble.sweep:
        options += f" --fault-sweep {places}"
    with Simulator(options) as simulator:
        if cell.trouble.sweep and cell.client.name.endswith("gps"):
            runs = [_Run(cell, simulator, 1, folder) for _ in range(POLLERS)]
            with ThreadPoolExecutor(POLLERS) as pool:
                for done in [pool.submit(one.go, result, places + POLLERS) for one in runs]:
                    done.result()
            return result
        left = places
        while left > 0 and not result.wrong:
            sessions = min(left, cell.client.many)
            _Run(cell, simulator, sessions, folder).go(result)
            left -= sessions
    return result
