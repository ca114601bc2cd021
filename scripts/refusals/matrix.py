"""Refuses each call once and reports; see scripts/refusals.sh."""

import argparse
import json
import re
import subprocess
import sys
import time
from collections import Counter
from collections.abc import Iterator
from concurrent.futures import ThreadPoolExecutor
from contextlib import contextmanager

from run import BUILD, KINDS, Run, play, wrong

WHO = ["view", "pictures", "frames"]
ALL_OF, MOST, MOST_SHORT = 60, 400, 14  # beyond the first so many calls of a kind they are spaced out


def _arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="refusals.sh")
    parser.add_argument("--short", action="store_true", help="the part that .ci/run runs")
    parser.add_argument("--jobs", type=int, default=12, help="processes at a time (12)")
    parser.add_argument("--only", default="", help="those whose name (WHO KIND) matches this pattern")
    parser.add_argument("--at", type=int, default=0, help="that call alone, with where it was made")
    parser.add_argument("--verbose", action="store_true", help="what was printed, where it is wrong")
    return parser.parse_args()


@contextmanager
def _simulator() -> Iterator[int]:
    """Large pictures, because their memory is mapped."""
    command = [f"{BUILD}/quorvid-sim", "--json", "--size", "1280x720", "--bitrate", "400000", "--seconds", "2",
               "--cache", f"{BUILD}/faults/loops"]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as process:
        assert process.stdout is not None
        try:
            yield int(json.loads(process.stdout.readline())["fleet"])
        finally:
            process.kill()


def _places(count: int, short: bool) -> list[int]:
    first, most = (2, MOST_SHORT) if short else (ALL_OF, MOST)
    if count <= most:
        return list(range(1, count + 1))
    step = (count - first) / (most - first)
    return [*range(1, first + 1), *(first + round(step * (i + 1)) for i in range(most - first))]


def _base(who: str, port: int) -> tuple[Counter[str], dict[str, int]]:
    """What is left, and how much is called, where nothing is refused."""
    rest: Counter[str] = Counter()
    counts: dict[str, int] = {}
    with ThreadPoolExecutor(3) as pool:
        runs = list(pool.map(lambda _: play(who, "", 0, port, Counter()), range(3)))
    for run in runs:
        if problem := wrong(run, rest | run.rest):
            raise RuntimeError(f"{who}, with nothing refused: {problem}\n{run.output}")
        rest |= run.rest
        counts = {kind: max(count, counts.get(kind, 0)) for kind, count in run.counts.items()}
    return rest, counts


def _line(who: str, kind: str, counted: int, runs: list[Run], base: Counter[str]) -> list[str]:
    refused = [run for run in runs if run.refused]
    problems = Counter(problem.split(" ")[0] for run in runs if (problem := wrong(run, base)))
    told = Counter(run.told[0] for run in refused if run.told)
    absorbed = sum(not run.told and bool(run.received) and run.received[0] > 0 for run in refused)
    return [who, kind, str(counted), str(len(refused)), str(absorbed),
            ", ".join(f"{reason} {n}" for reason, n in told.most_common()) or "-",
            ", ".join(f"{problem} {n}" for problem, n in problems.most_common()) or "-"]


def _run_all(cells: list[tuple[str, str, int]], port: int, bases: dict[str, Counter[str]],
             arguments: argparse.Namespace) -> list[Run]:
    """On a busy machine a stream may stand still: what is wrong has a second run, and that one counts. A crash
    has none."""
    def one(cell: tuple[str, str, int]) -> Run:
        run = play(*cell, port, bases[cell[0]], arguments.at > 0)
        problem = wrong(run, bases[cell[0]])
        if problem and not problem.startswith("crashes"):
            run = play(*cell, port, bases[cell[0]], arguments.at > 0)
            problem = wrong(run, bases[cell[0]])
        if problem or arguments.at > 0:
            print(f"{' '.join(map(str, cell))}: {run.refused or 'not reached'}: {problem or 'as expected'}", flush=True)
            if arguments.verbose or arguments.at > 0:
                print(run.output, flush=True)
        return run
    with ThreadPoolExecutor(arguments.jobs) as pool:
        return list(pool.map(one, cells))


def _tell(lines: list[list[str]]) -> None:
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    for line in lines:
        print("  ".join(word.ljust(width) for word, width in zip(line, widths)).rstrip())
    (BUILD / "refusals.md").write_text("\n".join(
        "| " + " | ".join(line) + " |" + ("\n|---|---|--:|--:|--:|---|---|" if not i else "")
        for i, line in enumerate(lines)) + "\n", encoding="utf-8")


def main() -> int:
    arguments = _arguments()
    begin = time.monotonic()
    (BUILD / "faults").mkdir(exist_ok=True)
    with _simulator() as port:
        chosen = [(who, kind) for who in WHO for kind in KINDS if re.search(arguments.only, f"{who} {kind}")]
        found = {who: _base(who, port) for who in dict(chosen)}
        bases = {who: rest for who, (rest, _) in found.items()}
        cells = [(who, kind, at) for who, kind in chosen
                 for at in ([arguments.at] if arguments.at else _places(found[who][1][kind], arguments.short))]
        runs = _run_all(cells, port, bases, arguments)
    lines = [["who", "kind", "calls", "refused", "shown all the same", "told", "wrong"]]
    for who, kind in chosen:
        some = [run for run in runs if (run.who, run.kind) == (who, kind)]
        if some:
            lines.append(_line(who, kind, found[who][1][kind], some, bases[who]))
    _tell(lines)
    bad = sum(bool(wrong(run, bases[run.who])) for run in runs)
    print(f"{len(runs)} runs, {bad} not as expected, in {time.monotonic() - begin:.0f} s; written: {BUILD}/refusals.md")
    return 1 if bad or not runs else 0


if __name__ == "__main__":
    sys.exit(main())
