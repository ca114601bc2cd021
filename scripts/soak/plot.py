"""Draws what each process held over time, one line each, by gnuplot."""

import shutil
import subprocess
from pathlib import Path

from judge import Line

MOST_POINTS = 1500  # of a line; more would be one blot


def _rates(lines: list[Line]) -> list[float]:
    """Pictures a second, each over about half a minute."""
    rates, begin = [], 0
    for line in lines:
        while line.seconds - lines[begin].seconds > 30:
            begin += 1
        before = lines[begin]
        rates.append((line.pictures - before.pictures) / max(line.seconds - before.seconds, 1))
    return rates


def _block(lines: list[Line]) -> str:
    """Minutes, resident and heap in MB, threads, descriptors, pictures a second, lag in ms; and whether it
    rests."""
    rows = []
    step = -(-len(lines) // MOST_POINTS)
    for number, (line, rate) in enumerate(zip(lines, _rates(lines))):
        if number % step == 0 or line.state == "rest":
            lag = str(line.lag * 1e3) if line.lag >= 0 else "NaN"
            rows.append(f"{line.seconds / 60} {line.resident / 1e6} {line.heap / 1e6} {line.threads} {line.descriptors} "
                        f"{rate} {lag} {int(line.state == 'rest')}")
    return "\n".join(rows)


# Column, title, and whether the values at rest are drawn, as points.
_PANELS = [(2, "resident memory, MB", True), (3, "heap in use, MB", True), (4, "threads", True),
           (5, "descriptors", True), (6, "pictures a second", False), (7, "largest lag, ms", False)]


def draw(path: Path, logs: dict[str, list[Line]]) -> bool:
    """False when gnuplot is not there."""
    if not shutil.which("gnuplot"):
        return False
    if not logs:
        return True
    data = "".join(f"${name} << END\n{_block(lines)}\nEND\n" for name, lines in logs.items())
    panels = []
    for column, title, has_rests in _PANELS:
        style = "lines" if has_rests else "linespoints pt 7 ps 0.3"
        curves = [f"${name} using 1:($8 == 0 ? ${column} : NaN) with {style} lt {number} title '{name}'"
                  for number, name in enumerate(logs, 1)]
        if has_rests:
            curves += [f"${name} using 1:($8 == 1 ? ${column} : NaN) with points lt {number} pt 7 ps 0.5 notitle"
                       for number, name in enumerate(logs, 1)]
        panels.append(f"set title '{title}'; plot " + ", ".join(curves))
    longest = max(lines[-1].seconds for lines in logs.values()) / 60
    script = f"""{data}
        set terminal pngcairo size 1400,1200; set output '{path}'
        set multiplot layout 3,2 title 'lines: at play; points: at rest'
        set xlabel 'minutes'; set yrange [0:*]; set grid; set key bmargin center horizontal
        set xrange [0:{longest}]
        {chr(10).join(panels)}
        unset multiplot"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)
    return True
