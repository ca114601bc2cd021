"""Whether what a process holds grows: its log's figures early in the run and late, side by side."""

import statistics
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

# Parts of the time. The first fifth is for what is made once: caches, pools, drivers' threads.
EARLY, LATE = (0.2, 0.5), (0.7, 1.0)
# What each call of a video worker leaves by intention: 64 bytes, 80 with what the allocator adds.
BLOCK = 80


@dataclass(frozen=True)
class Line:
    state: str
    seconds: float
    resident: int
    heap: int
    heap_free: int
    threads: int
    descriptors: int
    pictures: int
    starts: int
    restarts: int
    queries: int
    lag: float


def read(path: Path) -> list[Line]:
    """None where the program never came to write one; without a last line that is cut."""
    lines: list[Line] = []
    if not path.exists():
        return lines
    for text in path.read_text(encoding="ascii").split("\n")[:-1]:
        state, seconds, *counts, lag = text.split()
        resident, heap, free, threads, descriptors, pictures, starts, restarts, queries = map(int, counts)
        lines.append(Line(state, float(seconds), resident, heap, free, threads, descriptors, pictures, starts,
                          restarts, queries, float(lag)))
    return lines


@dataclass(frozen=True)
class Rule:
    """At rest the least value counts: a rest that was cut short, with a thread or a picture still there, has
    more. At play members come and go at random, so the median counts."""
    name: str
    state: str
    value: Callable[[Line], float]
    pick: Callable[[list[float]], float]
    allowed: float
    allowed_short: float | None = None  # of two minutes


_RULES = [
    # What pools keep for later. A picture for each start would be megabytes.
    Rule("heap in use at rest, kB, starts deducted", "rest", lambda line: (line.heap - BLOCK * line.starts) / 1e3, min, 100),
    # With what is mapped and not of the heap. The allocator's own pages come and go, and a picture of
    # 640x480 has 1843 kB. Within two minutes pages of libraries and stacks are still touched for the first
    # time, 6 MB in all.
    Rule("resident at rest but for free heap, kB", "rest", lambda line: (line.resident - line.heap_free) / 1e3, min, 3000,
         8000),
    Rule("threads at rest", "rest", lambda line: line.threads, min, 0),
    Rule("descriptors at rest", "rest", lambda line: line.descriptors, min, 0),
    # Free heap is handed back late and in parts.
    Rule("resident at rest, median, kB", "rest", lambda line: line.resident / 1e3, statistics.median, 40000),
    Rule("resident at play, median, kB", "play", lambda line: line.resident / 1e3, statistics.median, 40000),
    # As many members as happen to wait for a server.
    Rule("threads at play, median", "play", lambda line: line.threads, statistics.median, 6),
    Rule("descriptors at play, median", "play", lambda line: line.descriptors, statistics.median, 8),
]


class TooShort(Exception):
    """A part of the time has no rest."""


def _within(lines: list[Line], part: tuple[float, float]) -> list[Line]:
    last = lines[-1].seconds
    return [line for line in lines if part[0] * last <= line.seconds <= part[1] * last]


def _row(process: str, rule: Rule, lines: list[Line], is_short: bool) -> list[str]:
    early, late = ([rule.value(line) for line in _within(lines, part) if line.state == rule.state]
                   for part in (EARLY, LATE))
    if not early or not late:
        raise TooShort(f"{process}: {rule.name}: nothing to compare")
    before, after = rule.pick(early), rule.pick(late)
    allowed = rule.allowed_short if is_short and rule.allowed_short is not None else rule.allowed
    verdict = "level" if after - before <= allowed else "GROWS"
    return [process, rule.name, f"{before:.0f}", f"{after:.0f}", f"{after - before:+.0f}", f"{allowed:.0f}", verdict]


def _liveliness(process: str, lines: list[Line], what: str, value: Callable[[Line], int]) -> list[str]:
    """What plays nothing holds nothing: that it goes on to the end is part of the verdict."""
    early, late = (value(some[-1]) - value(some[0]) for some in (_within(lines, EARLY), _within(lines, (EARLY[1], 1))))
    return [process, f"{what}; late: the second half", str(early), str(late), "", "", "goes on" if late > 0 else "STOPS"]


def rows(process: str, lines: list[Line], asks: bool, is_short: bool) -> list[list[str]]:
    """asks: it has lists and polls."""
    table = [_row(process, rule, lines, is_short) for rule in _RULES]
    table.append(_liveliness(process, lines, "pictures", lambda line: line.pictures))
    if asks:
        table.append(_liveliness(process, lines, "lists and polls", lambda line: line.queries))
    return table


def summary(process: str, lines: list[Line]) -> str:
    last, lags = lines[-1], sorted(line.lag for line in lines if line.lag >= 0)
    lag = f"; lag in the middle {lags[len(lags) // 2] * 1e3:.0f} ms, at most {lags[-1] * 1e3:.0f} ms" if lags else ""
    queries = f", {last.queries} lists and polls" if last.queries else ""
    return (f"{process}: {last.pictures} pictures, {last.starts} starts, {last.restarts} of them of stalled streams{queries}, "
            f"{sum(line.state == 'rest' for line in lines)} rests in {last.seconds:.0f} s{lag}")


HEAD = ["process", "figure", "early", "late", "growth", "allowed", "verdict"]


def is_bad(row: list[str]) -> bool:
    return row[-1] in ("GROWS", "STOPS")
