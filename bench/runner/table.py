"""The rows that a run ends in: a table, a file of JSON, a plot."""
import json
import math
import shutil
import statistics
import subprocess

FAR_OVER = 2  # times its budget: what a short run on a busy machine must not hide


class Row:
    """A figure beside its limit.

    budget: what the ratio may be at most; with `least`, at least; with `most`, what the figure
    itself may be at most (or the limit, if that is more); None: only told.
    """

    def __init__(self, name, unit, ours, limit=None, budget=None, least=False, most=None):
        self.name, self.unit = name, unit
        self.ours = middle(ours)
        self.limit = None if limit is None else middle(limit)
        self.ratio = self.ours / self.limit if self.limit else None
        self.budget, self.least, self.most = budget, least, most

    def use(self):
        """How much of its budget it takes: 1 is all of it. None: it has no budget."""
        if self.most is not None:
            most = max(self.most, self.limit or 0)
            return self.ours / most if most else math.inf if self.ours else 0
        if self.budget is None or self.ratio is None:
            return None
        return self.budget / self.ratio if self.least else self.ratio / self.budget

    def held(self):
        return None if self.use() is None else self.use() <= 1

    def is_far_over(self):
        return self.use() is not None and self.use() > FAR_OVER

    def budget_text(self):
        if self.most is not None:
            return f"<= {self.most:g} {self.unit}".strip()
        return "" if self.budget is None else f"{'>=' if self.least else '<='} {self.budget:.2f}x"

    def cells(self):
        limit = "" if self.limit is None else brief(self.limit)
        ratio = "" if self.ratio is None else f"{self.ratio:.2f}x"
        held = {None: "", True: "held", False: "NOT HELD"}[self.held()]
        return [self.name, self.unit, brief(self.ours), limit, ratio, self.budget_text(), held]

    def record(self):
        return {"case": self.name, "unit": self.unit, "ours": self.ours, "limit": self.limit,
                "ratio": self.ratio, "budget": self.budget_text(), "held": self.held()}


def brief(value):
    return f"{value:.0f}" if abs(value) >= 1000 else f"{value:.4g}"


def middle(values):
    return statistics.median(values) if isinstance(values, list) else values


def text_of(rows):
    cells = [["case", "unit", "ours", "limit", "ratio", "budget", ""], *(r.cells() for r in rows)]
    widths = [max(len(line[i]) for line in cells) for i in range(len(cells[0]))]
    numbers = range(2, 5)
    return "\n".join("  ".join(c.rjust(w) if i in numbers else c.ljust(w)
                               for i, (c, w) in enumerate(zip(line, widths))).rstrip()
                     for line in cells)


def write_markdown(path, sections):
    """sections: rows by case; what docs/performance.md shows."""
    with open(path, "w", encoding="utf-8") as file:
        for name, rows in sections.items():
            file.write(f"## {name}\n\n| case | unit | ours | limit | ratio | budget | |\n"
                       "|---|---|---:|---:|---:|---|---|\n")
            for row in rows:
                cells = [c.replace("<=", "at most").replace(">=", "at least") for c in row.cells()]
                file.write("| " + " | ".join(cells).replace("NOT HELD", "**not held**") + " |\n")
            file.write("\n")


def write_json(path, rows, notes):
    with open(path, "w", encoding="utf-8") as file:
        json.dump({"rows": [r.record() for r in rows], "notes": notes}, file, indent=2)
        file.write("\n")


def write_plot(path, points):
    """points: (streams, our cores, the limits' cores). False when gnuplot is not there."""
    if not shutil.which("gnuplot"):
        return False
    data = "\n".join(f"{n} {ours} {limit}" for n, ours, limit in [(0, 0, 0), *sorted(points)])
    script = f"""
        set terminal pngcairo size 800,500; set output '{path}'
        set xlabel 'streams of 704x576 at 25 a second, in one window of 1280x960'
        set ylabel 'processors needed to show every picture'; set yrange [0:*]; set grid; set key left top
        $points << END\n{data}\nEND
        plot $points using 1:2 with linespoints lw 2 title 'live views', \\
             $points using 1:3 with linespoints lw 2 title 'sum of the limits'"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)
    return True
