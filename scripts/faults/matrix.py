"""Runs the matrix of clients and faults, several cells at a time, and reports; see scripts/faults.sh."""

import argparse
import re
import shutil
import signal
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

import table
from cell import Result, run
from clients import BUILD
from table import Cell
from troubles import TROUBLES

SPARE = 64 * 1024  # KiB above what the client has where nothing goes wrong, each session
SESSION = 6 * 1024


def _arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="faults.sh")
    parser.add_argument("--short", action="store_true", help="the part that .ci/run runs")
    parser.add_argument("--jobs", type=int, default=16, help="cells at a time (16)")
    parser.add_argument("--only", default="", help="cells whose name matches this pattern")
    parser.add_argument("--verbose", action="store_true", help="what the client printed, where it is wrong")
    return parser.parse_args()


def _run_some(cells: list[Cell], jobs: int, folder: Path) -> list[Result]:
    results = []
    with ThreadPoolExecutor(jobs) as pool:
        for done in as_completed([pool.submit(run, cell, folder) for cell in cells]):
            results.append(done.result())
            print("." if not results[-1].wrong else "!", end="", flush=True)
    print()
    return results


def _run_all(cells: list[Cell], jobs: int, folder: Path) -> list[Result]:
    """Those that take long go first, so that none is left over at the end. On a busy machine a stream may
    stand still for seconds and its viewer connect anew: what is not as expected has a second run, with
    little beside it, and that one counts. A crash or a sanitizer's message has none."""
    cells = sorted(cells, key=lambda cell: (-cell.seconds, not cell.trouble.sweep))
    results = _run_some(cells, jobs, folder)
    again = [result for result in results if result.wrong and not result.is_fatal]
    if again:
        print(f"again: {', '.join(result.cell.name for result in again)}")
        results = [result for result in results if result not in again]
        second = _run_some([result.cell for result in again], 2, folder)
        for result in second:
            result.is_second = True
        results += second
    return results


def _judge_memory(results: list[Result]) -> None:
    """Against the same client where nothing goes wrong, if that ran."""
    idle = {result.cell.client.name: result.peak for result in results if result.cell.trouble.name == "none"}
    for result in results:
        client = result.cell.client
        sessions = client.many if result.cell.trouble.sweep else 1
        bound = idle.get(client.name, 1 << 30) + SPARE + (sessions - 1) * SESSION
        if result.peak > bound:
            result.add([f"{result.peak >> 10} MiB of memory instead of {bound >> 10} at most"], "")


def _line(result: Result) -> list[str]:
    return [result.cell.client.name, result.cell.trouble.name, result.outcome,
            f"{result.seconds:.1f}", f"{result.peak / 1024:.0f}", str(result.runs),
            "; ".join(result.wrong) or "as expected" + (", the second time" if result.is_second else "")]


def _report(results: list[Result], left_out: list[Cell]) -> list[list[str]]:
    order = list(TROUBLES)
    results.sort(key=lambda result: (result.cell.client.name, order.index(result.cell.trouble.name)))
    lines = [["client", "fault", "outcome", "seconds", "MiB", "runs", "verdict"]]
    lines += [_line(result) for result in results]
    lines += [[cell.client.name, cell.trouble.name, "left out", "", "", "", cell.says] for cell in left_out]
    return lines


def _tell(lines: list[list[str]], results: list[Result], took: float) -> int:
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]) - 1)]
    for line in lines:
        print("  ".join([*(word.ljust(width) for word, width in zip(line, widths)), line[-1]]))
    (BUILD / "faults.md").write_text("\n".join(
        "| " + " | ".join(word.replace("|", "/") for word in line) + " |" + ("\n|---|---|---|---:|---:|---:|---|" if not i else "")
        for i, line in enumerate(lines)) + "\n", encoding="utf-8")
    wrong = sum(bool(result.wrong) for result in results)
    longest = max(results, key=lambda result: result.seconds)
    largest = max(results, key=lambda result: result.peak)
    print(f"\n{len(results)} cells, {sum(result.runs for result in results)} runs, {wrong} not as expected, {sum(result.is_second for result in results)} run twice, in {took:.0f} s; "
          f"longest {longest.seconds:.1f} s ({longest.cell.name}), largest {largest.peak >> 10} MiB ({largest.cell.name})")
    print(f"written: {BUILD}/faults.md")
    return 1 if wrong or not results else 0


def main() -> int:
    arguments = _arguments()
    signal.signal(signal.SIGINT, signal.default_int_handler)  # a job in the background would hand on that it ignores it
    cells = table.read()
    wanted = [cell for cell in cells if re.search(arguments.only, cell.name) and (cell.short or not arguments.short)]
    folder = Path(tempfile.mkdtemp(prefix="quorvid-faults-"))
    (BUILD / "faults").mkdir(exist_ok=True)
    begin = time.monotonic()
    try:
        results = _run_all([cell for cell in wanted if cell.outcomes], arguments.jobs, folder)
    finally:
        shutil.rmtree(folder)
    _judge_memory(results)
    left_out = [cell for cell in wanted if not cell.outcomes]
    status = _tell(_report(results, left_out), results, time.monotonic() - begin)
    for result in results if arguments.verbose else []:
        if result.wrong:
            print(f"\n== {result.cell.name}: {'; '.join(result.wrong)}\n{result.output[-4000:]}")
    return status


if __name__ == "__main__":
    sys.exit(main())
