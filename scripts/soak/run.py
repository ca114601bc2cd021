"""Runs the programs against the simulators, watches them and tells; see scripts/soak.sh."""

import argparse
import signal
import subprocess
import sys
import time
from pathlib import Path

import judge
import plot
import programs
import troubles
from simulators import Simulators

SLACK = 120  # seconds that a program may take beyond its time, on a busy machine
SHORT = 105  # seconds, so that all is done within two minutes
MEMBERS = {"views": 1.0, "players": 1 / 8, "python": 1 / 16, "pipelines": 1 / 16}  # for each view


class CannotRun(Exception):
    """A sentence on what is not there."""


def _arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="scripts/soak.sh")
    parser.add_argument("minutes", type=float, nargs="?")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--views", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--out", type=Path)
    options = parser.parse_args()
    if options.short == (options.minutes is not None):
        parser.error("either MINUTES or --short")
    options.seconds = SHORT if options.short else options.minutes * 60
    options.views = options.views or (16 if options.short else 64)
    options.out = options.out or options.build / "soak"
    return options


def _members(name: str, views: int) -> int:
    return max(2 if name != "players" else 3, round(views * MEMBERS[name]))


def _stop(processes: "dict[str, subprocess.Popen[bytes]]") -> None:
    for process in processes.values():
        if process.poll() is None:
            process.kill()
        process.wait()


def _watch(processes: "dict[str, subprocess.Popen[bytes]]", simulators: Simulators, seconds: float) -> dict[str, str]:
    """To the end of all. By name what is wrong with one that crashed or doesn't end."""
    end = time.monotonic() + seconds + SLACK
    while any(process.poll() is None for process in processes.values()) and time.monotonic() < end:
        time.sleep(1)
        if simulators.have_ended():
            raise CannotRun(f"a simulator ended: {simulators.have_ended()[0]}")
        if any(process.poll() for process in processes.values()):
            break
    wrong = {}
    for name, process in processes.items():
        status = process.poll()
        if status is None and time.monotonic() >= end:
            wrong[name] = "does not end"
        elif status:
            wrong[name] = f"ended with status {status}"
    return wrong


def _run(options: argparse.Namespace) -> tuple[list[str], dict[str, str]]:
    folder = options.out / "programs"
    programs.copy(options.build, folder)
    count = max(4, min(troubles.ALL, options.views * 2 // 3 if options.short else troubles.ALL))
    names = programs.commands(folder)
    for name in names:
        (options.out / f"{name}.log").unlink(missing_ok=True)
    processes: "dict[str, subprocess.Popen[bytes]]" = {}
    with Simulators(folder, options.out / "loops", troubles.draw(options.seed, count), options.seed) as simulators:
        try:
            for number, (name, command) in enumerate(names.items()):
                words = [str(options.seconds), str(_members(name, options.views)), str(options.seed + number),
                         str(options.out / f"{name}.log"), *simulators.servers]
                processes[name] = programs.start(command + words, folder, options.out / f"{name}.err")
            wrong = _watch(processes, simulators, options.seconds)
        finally:
            _stop(processes)
    return list(names), wrong


def _text(rows: list[list[str]]) -> str:
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    numbers = range(2, 6)
    return "\n".join("  ".join(word.rjust(width) if i in numbers else word.ljust(width)
                               for i, (word, width) in enumerate(zip(row, widths))).rstrip() for row in rows)


def _tell(options: argparse.Namespace, names: list[str], wrong: dict[str, str]) -> int:
    """What the logs say, also of a run that ended early."""
    logs = {name: judge.read(options.out / f"{name}.log") for name in names}
    if not plot.draw(options.out / "soak.png", {name: lines for name, lines in logs.items() if lines}):
        print("soak: no plot, gnuplot is not there (package gnuplot-nox)", file=sys.stderr)
    for name, sentence in wrong.items():
        print(f"soak: {name} {sentence}: {options.out / name}.err", file=sys.stderr)
    if wrong:
        return 1
    rows = [row for name, lines in logs.items() for row in judge.rows(name, lines, name == "views", options.short)]
    text = "\n".join([_text([judge.HEAD, *rows]), "", *(judge.summary(*one) for one in logs.items())])
    (options.out / "table.txt").write_text(text + "\n", encoding="utf-8")
    print(text)
    print(f"written: {options.out}/table.txt, soak.png and a log of each process")
    return 1 if any(judge.is_bad(row) for row in rows) else 0


def main() -> int:
    options = _arguments()
    # What was started ends with us, whatever ends us.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("soak: ended from outside"))
    options.build = options.build.resolve()
    options.out = options.out.resolve()
    options.out.mkdir(parents=True, exist_ok=True)
    try:
        names, wrong = _run(options)
        return _tell(options, names, wrong)
    except (CannotRun, RuntimeError, OSError, judge.TooShort) as sentence:
        print(f"soak: {sentence}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
