"""Measures the cases and tells; see scripts/bench.sh."""
import argparse
import os
import signal
import sys
import time

import cases
import table
from surroundings import Missing


class Run:
    def __init__(self, build, is_short, rounds):
        self.build, self.is_short = build, is_short
        self.rounds, self.seconds = (1, 1.5) if is_short else (rounds, 3)
        self.notes, self.points = {}, []

    def program(self, name):
        return os.path.join(self.build, name)


def measure(run, names):
    sections = {}
    for name in names:
        begin = time.monotonic()
        print(f"{name} ...", end=" ", file=sys.stderr, flush=True)
        sections[name] = cases.ALL[name](run)
        print(f"{time.monotonic() - begin:.0f} s", file=sys.stderr)
    return sections


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench.sh")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--build", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("case", nargs="*")
    options = parser.parse_args()
    unknown = [name for name in options.case if name not in cases.ALL]
    if unknown:
        parser.error(f"there is no case {unknown[0]}; there are {', '.join(cases.ALL)}")
    # What was started ends with us, whatever ends us.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("bench: ended from outside"))
    run = Run(options.build, options.short, max(options.rounds, 1))
    try:
        left_out = {"method"} if options.short else set()
        sections = measure(run, options.case or [name for name in cases.ALL if name not in left_out])
    except Missing as sentence:
        sys.exit(f"bench: {sentence}")
    rows = [row for section in sections.values() for row in section]
    print(table.text_of(rows))
    os.makedirs(options.out, exist_ok=True)
    table.write_markdown(os.path.join(options.out, "bench.md"), sections)
    table.write_json(os.path.join(options.out, "bench.json"), rows, run.notes)
    if run.points and not table.write_plot(os.path.join(options.out, "streams.png"), run.points):
        print("bench: no plot, gnuplot is not there (package gnuplot-nox)", file=sys.stderr)
    far = [row.name for row in rows if row.is_far_over()]
    if options.short and far:
        sys.exit(f"bench: more than {table.FAR_OVER} times over budget: {'; '.join(far)}")


if __name__ == "__main__":
    main()
